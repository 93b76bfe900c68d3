# No logind on the machine: every command says so, and none ever claims to keep awake.
. "$(dirname "$0")/machine.bash"

if [ "$(id -u)" -ne 0 ]; then
    echo "skipped: needs root, to hide the system's bus"
    exit 77
fi
if [ "${1-}" != hidden ]; then
    exec unshare --mount bash "$0" hidden
fi
mount --make-rprivate /
mount -t tmpfs tmpfs /run

root=$(mktemp -d)/tavo
claimsAwake() {
    grep -qs '"isWakeAssertionActive": true' "$root/state.json" && return 0
    "$TAVO_BIN/tavoctl" --root "$root" status | grep -q 'keeping computer awake'
}

beginRun "$root" --always
until hasEnded "$run"; do
    not claimsAwake || fail "a status claims to be awake"
done
status=0
wait "$run" || status=$?
expectEqual 69 "$status" "exit status"
expectContains "$(cat "$root.err")" "nothing can keep this computer awake" message
expectEqual 1 "$(wc -l <"$root.err")" "lines of the message"
not grep -q 'keeping' "$root.out" || fail "it printed: $(cat "$root.out")"
not claimsAwake || fail "a status claims to be awake"
stateSays "$root" error || fail "state: $(cat "$root/state.json")"

# A run that waits for a process is told at once, not when the process has come.
"$TAVO_BIN/tavoctl" --root "$root" match --executable "no such program" >/dev/null
"$TAVO_BIN/tavoctl" --root "$root" enable >/dev/null
for options in '--preset codex' ''; do
    # shellcheck disable=SC2086
    beginRun "$root" $options
    expectWithin "$soon" hasEnded "$run"
    status=0
    wait "$run" || status=$?
    expectEqual 69 "$status" "exit status of run $options"
    expectContains "$(cat "$root.err")" "nothing can keep this computer awake" "message of run $options"
    expectEqual '' "$(cat "$root.out")" "what run $options printed"
    stateSays "$root" error || fail "state: $(cat "$root/state.json")"
done
expectStatus 69 "$TAVO_BIN/tavoctl" --root "$root" doctor >/dev/null
