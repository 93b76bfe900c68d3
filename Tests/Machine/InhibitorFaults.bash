# The program that holds the lock is missing, hangs, writes without end, or exits whenever it likes: nothing ever claims to
# keep awake without a lock, nothing loops, and the lock is there again as soon as the program works.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things

programs=$(mktemp -d)
root=$programs/tavo
holder=$programs/tavo-inhibit
cp "$TAVO_BIN/tavoctl" "$programs"
real=$TAVO_BIN/tavo-inhibit
TAVO_BIN=$programs

# standIn LINE...: a script that holds the lock, or does not.
standIn() {
    printf '%s\n' '#!/bin/bash' "$@" >"$holder.new"
    chmod +x "$holder.new"
    mv "$holder.new" "$holder"
}

status() { "$TAVO_BIN/tavoctl" --root "$root" status; }
# A state is written before a lock goes, so only a lock that stays away contradicts it.
claimsAwake() { grep -q '^keeping computer awake' <<<"$(status)"; }

# expectRefused STATUS MESSAGE: a run ends with this status, and nothing has claimed to keep awake.
expectRefused() {
    beginRun "$root" --always
    expectWithin 20 hasEnded "$run"
    local ended=0
    wait "$run" || ended=$?
    expectEqual "$1" "$ended" "exit status"
    expectContains "$(cat "$root.err")" "$2" "standard error"
    expectEqual '' "$(cat "$root.out")" "standard output"
    not claimsAwake || fail "the status claims to be awake: $(status)"
    expectEqual '' "$(heldByTavo)" locks
}

expectRefused 1 tavo-inhibit # missing
standIn 'exec sleep 1000'
expectRefused 69 'did not say within 2 seconds'
standIn 'exec cat /dev/zero'
expectRefused 69 'did not say within 2 seconds'
standIn 'exec cat /dev/zero >&2'
expectRefused 69 'did not say within 2 seconds'
standIn 'echo nonsense'
expectRefused 1 'without a word'
standIn 'kill -s KILL $$'
expectRefused 1 'without a word'

# It writes without end beside the lock that it holds.
cpuTicks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
memory() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status"; }
standIn "'$real' \"\$@\" <&0 & holder=\$!" 'wait_for_end() { wait "$holder"; }' \
    'yes "gnome held suspend" & flood=$!' 'trap "kill \$flood \$holder" TERM EXIT' 'wait "$holder"'
beginRun "$root" --always
expectHeld 'sleep:idle block'
hasRead() { [ "$(cpuTicks "$run")" -gt "$1" ]; }
expectWithin 20 hasRead $(($(cpuTicks "$run") + 20))
before=$(memory "$run")
expectWithin 20 hasRead $(($(cpuTicks "$run") + 50))
(($(memory "$run") - before < 16384)) || fail "memory grew from $before to $(memory "$run") KiB in a flood"
settingsAnswer() { "$TAVO_BIN/tavoctl" --root "$root" set batteryCutoffPercent 33 >/dev/null; }
settingsAnswer || fail "a run in a flood does not follow"
endRun TERM
expectHeld ''

# It exits whenever it likes: after each exit the lock is taken again, or the status says that it is not held.
standIn "'$real' \"\$@\" <&0 & holder=\$!" 'sleep "0.$((RANDOM % 9))"' 'kill -s KILL "$holder"' 'exit $((RANDOM % 256))'
starts=0
until beginRun "$root" --always && waitUntil 2 holds tavo 'sleep:idle block'; do
    hasEnded "$run" || fail "a run that holds nothing goes on"
    ((++starts < 20)) || fail "it never began"
done
ticks=$(cpuTicks "$run")
for ((round = 0; round < ${TAVO_THOROUGH:+20}${TAVO_THOROUGH:-4}; ++round)); do
    expectWithin 20 holds tavo ''
    expectWithin 90 holds tavo 'sleep:idle block'
    not hasEnded "$run" || fail "the run has ended: $(cat "$root.err")"
done
(($(cpuTicks "$run") - ticks < 300)) || fail "a busy loop: $(($(cpuTicks "$run") - ticks)) ticks"

# It cannot be started at all any more, and later it can: the run goes on by itself.
rm "$holder"
expectWithin 20 holds tavo ''
saysSo() { grep -q '^not awake\|^needs attention' <<<"$(status)"; }
expectWithin 20 saysSo
expectWithin "$soon" not claimsAwake
cp "$real" "$holder"
expectWithin 90 holds tavo 'sleep:idle block'
expectWithin "$soon" claimsAwake
expectEqual 1 "$(inhibitorOf "$run" | wc -l)" "children"
endRun TERM
expectHeld ''
