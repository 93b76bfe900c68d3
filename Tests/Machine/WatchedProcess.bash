# The lock is held while a watched process runs, and only then; a process that merely names it does not count.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
needle=needle-of-this-test

beginRun "$root" --command "$needle"
expectWithin "$soon" stateSays "$root" noMatchingProcess
holds tavo '' || fail "held without a process"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" status)" "waiting for $needle" "status of a run with a trigger of its own"

bash -c 'exec -a "$0" sleep infinity' "$needle" &
watched=$!
# By the name that the test asks for below: until it has become sleep, it is a bash with the same words.
isWatched() { "$TAVO_BIN/tavoctl" processes --command "$needle" | grep -q "^ *$watched  *sleep "; }
expectWithin "$soon" isWatched
reevaluate
expectHeld 'sleep:idle block'
expectWithin "$soon" stateSays "$root" active
expectContains "$(cat "$root/state.json")" "\"pid\": $watched" state
expectContains "$(cat "$root/state.json")" '"executableName": "sleep"' state
expectContains "$(cat "$root/state.json")" "\"commandLine\": \"$needle infinity\"" state
expectContains "$(tail -n 1 "$root.out")" "sleep is running (process id $watched)" "the line printed"

kill "$watched"
expectWithin "$soon" hasEnded "$watched"
reevaluate
expectHeld ''
expectWithin "$soon" stateSays "$root" noMatchingProcess
endRun TERM

# Wrappers carry the words of the run that they started.
startWrapped() {
    "$@" >/dev/null 2>&1 </dev/null &
    wrapper=$!
    isLocked() { [[ $("$TAVO_BIN/tavoctl" --root "$root" status) == *"running (process id"* ]]; }
    expectWithin "$soon" isLocked
    run=$(head -n 1 "$root/tavo.lock")
}
for wrapped in shell script; do
    rm -f "$root/state.json"
    command="$TAVO_BIN/tavoctl --root $root run --command $needle"
    case $wrapped in
    shell) startWrapped bash -c "$command; true" ;;
    script) startWrapped script -qc "$command; true" /dev/null ;;
    esac
    expectWithin "$soon" stateSays "$root" noMatchingProcess
    holds tavo '' || fail "the $wrapped wrapper counted"
    kill -s TERM "$run"
    wait "$wrapper" || true
done
