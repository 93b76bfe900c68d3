# The caffeinate that runs on each power source, and while a watched program runs.
. /scenarios/mac.bash

# Always: on the mains, on battery, on the mains.
beginRun --always --cutoff none
expectCalls "/usr/bin/caffeinate -i -s"
setPower battery 60
reevaluate
expectCalls "/usr/bin/caffeinate ends
/usr/bin/caffeinate -i"
setPower ac 61
reevaluate
expectCalls "/usr/bin/caffeinate ends
/usr/bin/caffeinate -i -s"

# A caffeinate killed from outside: the run says so at once, and starts a new one a second later by itself.
expectContains "$(tail -n 1 /rehearsal/out)" "holding idle:sleep (caffeinate)" "what is held"
kill -s KILL "$(tail -n 1 /rehearsal/caffeinates)"
expectWithin 10 grep -q "not awake: the lock was lost and is being taken again; holding nothing" /rehearsal/out
expectCalls "/usr/bin/caffeinate -i -s"
saysHeld() { tail -n 1 /rehearsal/out | grep -q "keeping mac awake: always on; holding idle:sleep (caffeinate)"; }
expectWithin 10 saysHeld

# The list of held assertions comes from the system's own tool.
control status >/dev/null
expectCalls "/usr/bin/pmset -g assertions"
endRun
expectCalls "/usr/bin/caffeinate ends"

# A program that appears and ends, in a table as ps prints it: long command lines, names with spaces, days, other
# letters.
table() {
    cat <<'PS'
1|0|0:12.50|launchd|/sbin/launchd
301|1|3-04:05:06.78|WindowServer|/System/Library/PrivateFrameworks/SkyLight.framework/Resources/WindowServer -daemon
512|1|1:02:03.04|Größe & Maß|/Applications/Größe & Maß.app/Contents/MacOS/Größe & Maß --フラグ
777|512|0:00.10|Google Chrome Helper (Renderer)|/Applications/Google Chrome.app/Contents/Frameworks/Google Chrome Helper (Renderer) --type=renderer --field-trial-handle=1718379636,r,1234567890123456789,9876543210987654321,262144 --lang=de
PS
    printf '%s' "${1-}"
}
table >/rehearsal/processes
beginRun --preset codex
expectWithin 10 stateSays noMatchingProcess
expectContains "$(cat /rehearsal/log)" "/bin/ps -axwwc -o pid=PID,ppid=PPID,time=TIME,command=EXECUTABLE_" "how the table is asked for"
expectCalls ""
table '900|301|0:01.00|codex|/opt/homebrew/bin/codex --yes "a b"
' >/rehearsal/processes
reevaluate
expectCalls "/usr/bin/caffeinate -i -s"
expectWithin 10 stateSays active
expectContains "$(cat "$root/state.json")" '/opt/homebrew/bin/codex --yes \"a b\"' "the process that matched"
table >/rehearsal/processes
reevaluate
expectCalls "/usr/bin/caffeinate ends"

# Output that is no table of ps stops the loop, and the error quotes it.
echo 'x|y|z|broken|' >/rehearsal/processes
reevaluate
status=0
wait "$run" || status=$?
expectEqual 1 "$status" "status after a broken table"
expectContains "$(cat /rehearsal/err)" "could not parse ps output line" "the message"
