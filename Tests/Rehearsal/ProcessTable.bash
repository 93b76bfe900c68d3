# Which processes match, in the table as ps prints it there.
. /scenarios/mac.bash

cat >/rehearsal/processes <<'PS'
1|0|0:12.50|launchd|/sbin/launchd
512|1|1:02:03.04|Größe & Maß|/Applications/Größe & Maß.app/Contents/MacOS/Größe & Maß --フラグ of mine
600|1|0:01.00|(claude)|
900|1|0:01.00|node|node /opt/homebrew/bin/codex -C /Users/me/proj
PS
columns="pid=PID,ppid=PPID,time=TIME,command=EXECUTABLE____________________________________________________________,args=ARGS"

# expectMatches IDS RULE...: the ids of the processes that match.
expectMatches() {
    local found
    found=$(printedJson processes "${@:2}" | sed -n 's/^ *"pid": \([0-9]*\).*/\1/p' | tr '\n' ' ')
    expectEqual "$1" "${found% }" "matches of ${*:2}"
}

# The stand-in itself: it cuts, it is in its own table, and without a locale of UTF-8 it escapes.
firstRun=$(env -u LOCPATH /bin/ps -axwwc -o "$columns")
expectContains "$firstRun" "$(printf '%-70s proj' node)" "a line that is cut"
expectContains "$firstRun" "ps -axwwc -o pid=PID,ppid=PPID,time=TIME,command=EXECUTABLE_" "the line of ps itself"
expectContains "$firstRun" "GrM-CM-6M-CM^_e & MaM-CM^_" "letters beyond ascii without a locale"
expectContains "$(LC_CTYPE=UTF-8 /bin/ps -axwwc -o "$columns")" "Größe & Maß" "letters beyond ascii"

# Whole command lines, not cut at their last slash.
expectMatches 900 --preset codex
expectMatches 900 --command "node /opt/homebrew/bin/codex -C /Users/me/proj"
expectMatches 1 --command /sbin/launchd
: >/rehearsal/log
control processes --preset codex >/dev/null
expectEqual "/bin/ps -axwwc -o $columns
/bin/ps -axww -o pid=PID,stat=STAT,args=ARGS" "$(cat /rehearsal/log)" "how the table is asked for"

# Letters beyond ASCII, in names and in arguments, without a locale (as launchd starts a program), and with any other.
for locale in '' LC_ALL=C LC_CTYPE=C LANG=C LC_ALL=tlh_QO.UTF-8 LANG=tlh_QO.UTF-8 LC_ALL=C.UTF-8; do
    (
        [ -z "$locale" ] || export "$locale" 2>/dev/null # bash would say that it does not know it
        expectMatches 512 --executable "größe & maß"
        expectMatches 512 --command "--フラグ of mine"
        expectMatches 512 --command "/Applications/Größe & Maß.app"
    )
done

# Neither the ps that Tavo runs, nor Tavo itself, which has the query on its own command line.
for query in exec time ARGS axww processes; do
    expectMatches "" --command "$query"
done
expectMatches "" --executable ps
expectMatches "" --executable tavoctl

# A process that has exited does not count, even before it is reaped.
expectMatches "" --preset claudeCode

# Without the second run, the text of the first one stays.
for accident in 'exit 1' 'echo usage; exit 1' 'echo "x y z"; exit 0' 'kill -s KILL $$'; do
    echo "$accident" >/rehearsal/ps-axww
    expectMatches 900 --command proj
    expectMatches "" --command opt/homebrew
    expectMatches 512 --executable "Größe & Maß"
    expectMatches "" --preset claudeCode
done
rm /rehearsal/ps-axww

# The app itself, which has threads of its own. It keeps awake while the program runs, and no longer.
if [ -x /Applications/Tavo.app/Contents/MacOS/tavo ]; then
    control enable >/dev/null
    control match --executable "Größe & Maß" >/dev/null
    : >/rehearsal/log
    LC_ALL=C QT_QPA_PLATFORM=offscreen /Applications/Tavo.app/Contents/MacOS/tavo --hidden --root "$root" &
    app=$!
    expectWithin 20 stateSays active
    expectCalls "/usr/bin/caffeinate -i -s"
    sed -i /Größe/d /rehearsal/processes
    kill -s USR1 "$app"
    expectCalls "/usr/bin/caffeinate ends"
    kill -s TERM "$app"
    wait "$app" || fail "the app did not end properly"
fi

# A ps that hangs ends the evaluation, not Tavo: after ten seconds it is stopped.
echo 'exec sleep 100000' >/rehearsal/ps-axwwc
status=0
SECONDS=0
control processes --preset codex >/rehearsal/out 2>/rehearsal/err || status=$?
expectEqual 1 "$status" "status after a ps that hangs"
expectEqual "tavoctl: /bin/ps has not ended within 10 seconds and was stopped; try again, and restart this computer if it happens again." \
    "$(cat /rehearsal/err)" "the message"
[ "$SECONDS" -ge 9 ] || fail "ps had $SECONDS seconds"
