# The check on the other tests: one that leaves temporary files fails, and none of its files stay, however it ends.
. "$(dirname "$0")/machine.bash"
here=$(cd "$(dirname "$0")" && pwd)

# A test that is checked has its folder in this one, and is written beside it.
folder=$(mktemp -d)
checked() { TMPDIR=$folder bash "$here/leaving-nothing.bash" "$folder.test"; }
write() { printf '%s\n' "$@" >"$folder.test"; }
expectNothingLeft() { expectEqual "" "$(ls -A "$folder")" "files after $1"; }

write 'file=$(mktemp)' 'rm "$file"'
expectStatus 0 checked
expectNothingLeft "a test that removes its file"

write 'mktemp "$TMPDIR/left.XXXX" >/dev/null'
expectStatus 1 checked 2>"$folder.err"
expectContains "$(cat "$folder.err")" "temporary files are left: left." "the failure"
expectNothingLeft "a test that leaves a file"

write 'mktemp -d >/dev/null' 'exit 7'
expectStatus 7 checked
expectNothingLeft "a failed test"

# Those that source machine.bash have nothing to remove themselves.
write ". '$here/machine.bash'" 'mktemp >/dev/null' 'atExit "echo last"' 'atExit "echo first"' \
    'if [ "${1-}" != again ]; then exec bash "$0" again; fi' 'mktemp -d >/dev/null'
expectEqual "first last" "$(checked | paste -sd ' ')" "what is done at the exit"
expectNothingLeft "a test with machine.bash"

write ". '$here/machine.bash'" 'trap "echo mine" EXIT'
expectStatus 1 checked >/dev/null 2>&1
expectNothingLeft "a test that replaces the trap"

write ". '$here/machine.bash'" "echo \$\$ >'$folder.begun'" 'read -r <"$0.pipe"'
mkfifo "$folder.test.pipe"
for signal in INT:130 TERM:143 HUP:129; do
    : >"$folder.begun"
    # Not `checked`: the signal is for the script and not for the shell round it.
    TMPDIR=$folder env --default-signal=INT bash "$here/leaving-nothing.bash" "$folder.test" &
    ended=$!
    expectWithin 20 hasContent "$folder.begun"
    kill -s "${signal%:*}" "$ended"
    expectStatus "${signal#*:}" wait "$ended"
    expectNothingLeft "SIG${signal%:*}"
    hasEnded "$(cat "$folder.begun")" || fail "the test runs on after SIG${signal%:*}"
done
