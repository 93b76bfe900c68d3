# Without polkit only root may hold locks, and everybody else is told so.
. "$(dirname "$0")/machine.bash"

sharePrograms
folder=$(mktemp -d)
chmod 0777 "$folder"
status=0
message=$(setpriv --reuid=65534 --regid=65534 --clear-groups \
    "$TAVO_BIN/tavoctl" --root "$folder/tavo" run --always 2>&1 >/dev/null) || status=$?
expectEqual 69 "$status" "exit status"
expectContains "$message" "without polkit only root may hold locks" message
expectContains "$message" "sudo tavoctl run" message
holds tavo '' || fail "something is held"
stateSays "$folder/tavo" error || fail "state: $(cat "$folder/tavo/state.json")"
