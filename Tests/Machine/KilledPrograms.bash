# The programs themselves, killed in the midst of what they do: each file is whole and as before or as asked for, nothing
# is left beside it, and the next command goes on from there.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things

root=$(mktemp -d)/tavo
tavoctl() { "$TAVO_BIN/tavoctl" "$@" --root "$root"; }
seed=${TAVO_SEED:-$((10#${EPOCHREALTIME#*.}))}
RANDOM=$seed
echo "TAVO_SEED=$seed"
# Everything beside the files that Tavo has.
strays() { find "$root" -mindepth 1 ! -name config.json ! -name state.json ! -name history.jsonl ! -name tavo.lock; }
rounds=40
[ "${TAVO_THOROUGH-}" != 1 ] || rounds=1000

# killSoon PID: after up to 30 milliseconds, most of which the programs take to start.
killSoon() {
    sleep "0.0$((RANDOM % 3))$((RANDOM % 10))" # the moment is what this is about
    kill -s KILL "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

tavoctl preset always >/dev/null
tavoctl set batteryCutoffPercent 50 >/dev/null
cutoff=50
for ((round = 0; round < rounds; ++round)); do
    wanted=$((cutoff == 50 ? 51 : 50))
    "$TAVO_BIN/tavoctl" --root "$root" set batteryCutoffPercent "$wanted" >/dev/null 2>&1 &
    killSoon $!
    found=$(tavoctl get batteryCutoffPercent) || fail "after round $round: $(cat "$root/config.json")"
    [ "$found" = "$wanted" ] || [ "$found" = "$cutoff" ] || fail "after round $round: a cutoff of $found"
    checkJson config <"$root/config.json" || fail "after round $round: $(cat "$root/config.json")"
    (($(strays | wc -l) <= 1)) || fail "temporary files pile up: $(ls -A "$root")"
    cutoff=$found
done

# A run, with every file that it writes.
for ((round = 0; round < rounds; ++round)); do
    beginRun "$root" --always
    killSoon "$run"
    [ ! -e "$root/state.json" ] || checkJson state <"$root/state.json" || fail "round $round: $(cat "$root/state.json")"
    tavoctl history >/dev/null || fail "round $round: the history"
    expectContains "$(tavoctl status)" "not running" "the status after round $round"
    (($(strays | wc -l) <= 2)) || fail "temporary files pile up: $(ls -A "$root")"
done
expectHeld ''
tavoctl set batteryCutoffPercent 49 >/dev/null
beginRun "$root" --always
expectHeld 'sleep:idle block'
endRun TERM
expectEqual '' "$(strays)" "temporary files"
