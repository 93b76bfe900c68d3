# The lock is there at once, and gone at once however the run ends.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo

for signal in TERM INT HUP; do
    beginRun "$root" --always
    expectHeld 'sleep:idle block'
    inhibitor=$(inhibitorOf "$run")
    expectContains "$("$TAVO_BIN/tavoctl" --root "$root" status)" "sleep:idle (process id $inhibitor), as planned" status
    endRun "$signal"
    expectHeld ''
    expectWithin "$soon" hasEnded "$inhibitor"
    stateSays "$root" disabled || fail "state after SIG$signal: $(cat "$root/state.json")"
    expectEqual '' "$(cat "$root.err")" "standard error"
done

# Killed, it leaves neither lock nor process, and the next one starts.
beginRun "$root" --always
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")
kill -s KILL "$run"
expectHeld ''
expectWithin "$soon" hasEnded "$inhibitor"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" status)" "not running" "status of a killed run"

# The holder of the lock killed from outside: a new lock is held, by the evaluation that follows.
beginRun "$root" --always
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")
kill -s KILL "$inhibitor"
expectWithin "$soon" hasEnded "$inhibitor"
reevaluate
expectHeld 'sleep:idle block'
not holds tavo '' || fail "the lock did not stay"
# It comes back without being asked, too.
inhibitor=$(inhibitorOf "$run")
kill -s KILL "$inhibitor"
hasAnotherInhibitor() { [ -n "$(inhibitorOf "$run")" ] && [ "$(inhibitorOf "$run")" != "$inhibitor" ]; }
expectWithin $((soon + 1)) hasAnotherInhibitor
expectHeld 'sleep:idle block'

# A second run is refused, and told the process id of the first.
status=0
message=$("$TAVO_BIN/tavoctl" --root "$root" run --always 2>&1) || status=$?
expectEqual 75 "$status" "exit status of a second run"
expectContains "$message" "process id $run" "message of a second run"
endRun TERM

# Under nohup a closed terminal ends nothing: the run still replaces a lost lock.
(trap '' HUP && exec "$TAVO_BIN/tavoctl" --root "$root" run --always >"$root.out" 2>"$root.err" </dev/null) &
run=$!
expectHeld 'sleep:idle block'
kill -s HUP "$run" "$(inhibitorOf "$run")"
inhibitor=$(inhibitorOf "$run")
kill -s KILL "$inhibitor"
expectWithin $((soon + 1)) hasAnotherInhibitor
expectHeld 'sleep:idle block'
endRun TERM

# When nobody reads its output any more, the run ends and holds nothing.
mkfifo "$root.pipe"
"$TAVO_BIN/tavoctl" --root "$root" run --always >"$root.pipe" 2>"$root.err" </dev/null &
run=$!
exec 7<"$root.pipe"
read -r -u 7 line
expectContains "$line" "keeping computer awake" "first line"
exec 7<&-
wait "$run" || fail "the run failed when its reader went"
expectHeld ''
