# The lock is released within a second of the last watched process, every time, and no watch is left behind.
. "$(dirname "$0")/machine.bash"

rounds=50
root=$(mktemp -d)/tavo
needle=needle-of-this-test

beginRun "$root" --command "$needle"
expectWithin "$soon" stateSays "$root" noMatchingProcess
descriptors() { find "/proc/$run/fd" -mindepth 1 | wc -l; }
before=

startWatched() {
    bash -c 'exec -a "$0" sleep infinity' "$needle" &
    watched=$!
}
isHeldFor() { [ -n "$(inhibitorOf "$run")" ] && [[ $(cat "$root/state.json") == *"\"pid\": $1"* ]]; }
microseconds() { echo "${EPOCHREALTIME/./}"; }

slowest=0
for ((round = 1; round <= rounds; ++round)); do
    startWatched
    other=
    # Every tenth time two of them: the lock stays until the last one has ended.
    if ((round % 10 == 0)); then
        other=$watched
        startWatched
        isOther() { [ "$(tr '\0' ' ' <"/proc/$other/cmdline")" = "$needle infinity " ]; }
        expectWithin "$soon" isOther
    fi
    isItself() { [ "$(tr '\0' ' ' <"/proc/$watched/cmdline")" = "$needle infinity " ]; }
    expectWithin "$soon" isItself
    reevaluate
    expectWithin "$soon" isHeldFor "$watched"
    inhibitor=$(inhibitorOf "$run")
    if [ -n "$other" ]; then
        kill "$other"
        expectNeverWithin 1 hasEnded "$inhibitor"
    fi
    start=$(microseconds)
    kill "$watched"
    while [ -e "/proc/$inhibitor" ]; do
        took=$(($(microseconds) - start))
        [ "$took" -lt 1000000 ] || fail "round $round: still held after $took microseconds"
        sleep 0.01
    done
    took=$(($(microseconds) - start))
    [ "$took" -le "$slowest" ] || slowest=$took
    expectHeld ''
    # The first round opens the descriptors that are kept.
    [ -n "$before" ] || before=$(descriptors)
done
echo "slowest of $rounds: $slowest microseconds"
expectWithin "$soon" stateSays "$root" noMatchingProcess
expectEqual "$before" "$(descriptors)" "descriptors of the run"
endRun TERM
