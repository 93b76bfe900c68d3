# The clock is set by a year, in both directions, and the computer is suspended in the middle of evaluations: the lock, the
# bounds of a run and the history go on as if nothing had happened.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things

root=$(mktemp -d)/tavo
tavoctl() { timeout 60 "$TAVO_BIN/tavoctl" "$@" --root "$root"; }
isAlive() { not hasEnded "$run"; }

# A suspend: logind announces it, every process stands still in the midst of what it does, and goes on.
announceSleep() {
    busctl emit /org/freedesktop/login1 org.freedesktop.login1.Manager PrepareForSleep b "$1"
}
beginRun "$root" --always
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")
for ((round = 0; round < ${TAVO_THOROUGH:+200}${TAVO_THOROUGH:-10}; ++round)); do
    announceSleep true
    reevaluate
    sleep "0.00$((RANDOM % 10))" # the moment of the standstill is what this is about
    kill -s STOP "$run" "$inhibitor"
    kill -s CONT "$run" "$inhibitor"
    announceSleep false
done
hasEvaluatedAgain() { reevaluate && stateSays "$root" active && [ "$root/state.json" -nt "$root.mark" ]; }
touch "$root.mark"
expectWithin "$soon" hasEvaluatedAgain
isAlive || fail "a suspend ended the run: $(cat "$root.err")"
expectEqual "$inhibitor" "$(inhibitorOf "$run")" "the lock's holder after suspends"
holds tavo 'sleep:idle block' || fail "a suspend cost the lock"
endRun TERM
expectHeld ''

library=$(find /usr/lib -name libfaketimeMT.so.1 | head -n 1)
if grep -qE '__[at]san_init' "$TAVO_BIN/tavoctl"; then
    echo "no clock is set here: a program with a sanitizer takes no other library before its own"
    exit 0
fi
[ -n "$library" ] || fail "faketime is missing; scripts/bootstrap installs it"
export FAKETIME_TIMESTAMP_FILE=$root.clock FAKETIME_NO_CACHE=1 FAKETIME_DONT_FAKE_MONOTONIC=1 DONT_FAKE_MONOTONIC=1
setClock() {
    echo "$1" >"$FAKETIME_TIMESTAMP_FILE.new"
    mv "$FAKETIME_TIMESTAMP_FILE.new" "$FAKETIME_TIMESTAMP_FILE"
}
beginRunByClock() {
    LD_PRELOAD=$library "$TAVO_BIN/tavoctl" --root "$root" run "$@" >"$root.out" 2>"$root.err" </dev/null &
    run=$!
}
byClock() { LD_PRELOAD=$library tavoctl "$@"; }
lastEvaluation() { sed -n 's/.*"lastEvaluationDate": "\(....\).*/\1/p' "$root/state.json"; }
evaluatedIn() { [ "$(lastEvaluation)" = "$1" ]; }
thisYear=$(date -u +%Y)

setClock +0
beginRunByClock --always --for 1h
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")
for years in -1 1 -1 0; do
    setClock "$(printf "%+dd" "$((years * 365))")"
    reevaluate
    expected=$(date -u -d "$((years * 365)) days" +%Y)
    expectWithin "$soon" evaluatedIn "$expected"
    isAlive || fail "a clock set by $years years ended the run: $(cat "$root.out" "$root.err")"
    holds tavo 'sleep:idle block' || fail "a clock set by $years years cost the lock"
    expectEqual "$inhibitor" "$(inhibitorOf "$run")" "the lock's holder after a clock set by $years years"
    grep -q '^keeping computer awake' <<<"$(byClock status)" || fail "the status of a clock set by $years years"
    byClock history >/dev/null || fail "the history of a clock set by $years years"
    byClock explain >/dev/null || fail "the explanation of a clock set by $years years"
done
expectEqual "$thisYear" "$(lastEvaluation)" "the year of the last evaluation"
# Killed in the future, and started again in the past.
setClock +365d
reevaluate
expectWithin "$soon" evaluatedIn "$((thisYear + 1))"
kill -s KILL "$run"
expectHeld ''
setClock -365d
beginRunByClock --always
expectHeld 'sleep:idle block'
byClock history >/dev/null || fail "the history of a run that was killed in the future"
LD_PRELOAD=$library printedJson history --root "$root" >/dev/null || fail "the json of a history of a run that was killed in the future"
endRun TERM

# A length is over when it is over, though the clock says that there is a year to go.
setClock +0
beginRunByClock --always --for 8s
expectHeld 'sleep:idle block'
setClock -365d
reevaluate
expectWithin 30 hasEnded "$run"
expectContains "$(tail -n 1 "$root.out")" 'the 8s are over' "the end of a run whose clock was set back"
expectHeld ''
