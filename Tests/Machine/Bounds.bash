# A run with a bound ends by itself: it releases its lock, says why, and exits with 0.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo

# expectEnd WHY: $run ends by itself, properly.
expectEnd() {
    local status=0
    expectWithin 20 hasEnded "$run"
    wait "$run" || status=$?
    expectEqual 0 "$status" "exit status: $(cat "$root.err")"
    expectHeld ''
    expectContains "$(tail -n 1 "$root.out")" "  ended: $1" "the last line printed"
    expectEqual '' "$(cat "$root.err")" "standard error"
    expectWithin "$soon" stateSays "$root" disabled
    expectContains "$(printedJson history --root "$root")" "\"text\": \"$1\"" "the end in the history"
}

beginRun "$root" --always --for 8s
expectHeld 'sleep:idle block'
expectContains "$(cat "$root.out")" "; until " "the line printed"
expectEnd "the 8s are over"

# In a time zone of its own, which no test machine is set to.
export TZ=IST-05:30
beginRun "$root" --always --until "$(date -d '+2 minutes' +%H:%M)"
expectHeld 'sleep:idle block'
expectNeverWithin 1 hasEnded "$run"
endRun TERM
unset TZ

sleep infinity &
first=$!
sleep infinity &
second=$!
beginRun "$root" --pid "$first" --pid "$second" --for 1h
expectHeld 'sleep:idle block'
kill "$first"
expectNeverWithin 1 hasEnded "$run"
expectEqual 'sleep:idle block' "$(heldByTavo)" "locks after the end of one of two"
kill "$second"
expectEnd "the last of 2 processes has ended"

# A stopped process counts as running.
sleep infinity &
stopped=$!
kill -s STOP "$stopped"
beginRun "$root" --json --pid "$stopped"
expectHeld 'sleep:idle block'
expectNeverWithin 1 hasEnded "$run"
kill -s KILL "$stopped"
expectWithin 20 hasEnded "$run"
wait "$run"
checkJson run --lines <"$root.out"
expectContains "$(tail -n 1 "$root.out")" "\"ended\":\"process $stopped has ended\"" "the last object printed"
expectHeld ''

# Bounds that make no sense are refused, and nothing is held.
refused() {
    local said
    said=$(expectStatus 64 "$TAVO_BIN/tavoctl" --root "$root.refused" run "${@:2}" 2>&1) || fail "$said"
    expectContains "$said" "$1" "refusal of ${*:2}"
    [ ! -e "$root.refused/tavo.lock" ] || fail "a lock was taken for ${*:2}"
}
refused "no process with the process id $first is running" --pid $$ --pid "$first"
refused "--pid takes the process id" --pid 0
refused "--for takes a duration" --always --for 0
refused "--until takes a time of the day" --always --until 25:00
refused "only one of --for and --until" --always --until 12:00 --for 5m
expectHeld ''
