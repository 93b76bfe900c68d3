# Tavo killed: the next start ends the caffeinate that it left, and no other.
. /scenarios/mac.bash

# Somebody else's.
/usr/bin/caffeinate -d &
other=$!
expectCalls "/usr/bin/caffeinate -d"

beginRun --always
expectCalls "/usr/bin/caffeinate -i -s"
orphan=$(tail -n 1 /rehearsal/caffeinates)
expectContains "$(cat "$root/assertion.json")" "\"pid\": $orphan" "the note"
kill -s KILL "$run"
wait "$run" 2>/dev/null || true
kill -0 "$orphan" || fail "the real one would have lived on"

# Asking about it ends nothing.
control status >/dev/null
kill -0 "$orphan" || fail "tavoctl status has ended it"
: >/rehearsal/log

beginRun --always
expectWithin 10 hasEnded "$orphan"
endedAndStarted() { [ "$(LC_ALL=C sort /rehearsal/log)" = "/usr/bin/caffeinate -i -s
/usr/bin/caffeinate ends" ]; }
expectWithin 10 endedAndStarted
kill -0 "$other" || fail "somebody else's has been ended"
: >/rehearsal/log
endRun
expectCalls "/usr/bin/caffeinate ends"
[ ! -e "$root/assertion.json" ] || fail "the note is left"

# A command beside the one Tavo: its caffeinate is told which process to end with, and no note is kept. The command
# lives until the stand-in has written its line; if it ended sooner, there would be none.
"$tavoctl" exec --root "$root" -- sh -c 'until [ -s /rehearsal/log ]; do sleep 0.1; done; test ! -e "$1/assertion.json"' \
    sh "$root" &
exec=$!
wait "$exec" || fail "a note was kept for a command"
expectCalls "/usr/bin/caffeinate -i -s -w $exec
/usr/bin/caffeinate ends"
kill "$other"
