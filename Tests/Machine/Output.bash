# Output that cannot be written is an error of every command, and a reader that has gone is noticed at once.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
# expectUnwritten COMMAND...: COMMAND of tavoctl, whose output cannot be written.
expectUnwritten() {
    local status=0 words
    words=$("$TAVO_BIN/tavoctl" "$@" 2>&1 >/dev/full) || status=$?
    expectEqual 1 "$status" "exit status of $*"
    expectContains "$words" "the output cannot be written" "words of $*"
    status=0
    "$TAVO_BIN/tavoctl" "$@" >&- 2>/dev/null || status=$?
    expectEqual 1 "$status" "exit status of $* with its output closed"
}
for command in 'status' 'status --json' 'doctor' 'doctor --json' 'get' 'get --json' 'get watchMode' 'processes --executable x' \
    'set watchMode open' 'enable' 'disable' 'preset codex' 'helper status' 'run'; do
    # shellcheck disable=SC2086
    expectUnwritten $command --root "$root"
done
expectUnwritten --help
expectUnwritten --version
expectUnwritten run --help
expectEqual '' "$(find "$root" -name '*.lock' -size +1k)" "output that went into the lock file"

# A run that says nothing for a minute.
mkfifo "$root.pipe"
"$TAVO_BIN/tavoctl" --root "$root" run >"$root.pipe" 2>"$root.err" </dev/null &
run=$!
exec {reader}<"$root.pipe"
read -r line <&"$reader"
expectContains "$line" "paused" "first line"
read -r line <&"$reader"
expectContains "$line" "switched off" "second line"
expectWithin "$soon" stateSays "$root" disabled
not hasEnded "$run" || fail "it has ended: $(cat "$root.err")"
exec {reader}<&-
expectWithin "$soon" hasEnded "$run"
wait "$run" || fail "exit status $?: $(cat "$root.err")"
expectEqual '' "$(cat "$root.err")" "standard error"

# On a narrow terminal no line is longer than the terminal, except for longer words.
script -qc "stty cols 40; NO_COLOR=1 '$TAVO_BIN/tavoctl' --root '$root' doctor" /dev/null </dev/null | tr -d '\r' >"$root.narrow"
grep -q 'process table' "$root.narrow" || fail "doctor printed: $(cat "$root.narrow")"
while IFS= read -r line; do
    text=${line#"${line%%[! ]*}"}
    [ ${#line} -le 40 ] || [[ $text != *' '* ]] || fail "too long: $line"
done <"$root.narrow"

# A missing home and too low a limit are named by the commands that need them and by doctor.
shared=$(mktemp -d)
cp "$TAVO_BIN/tavoctl" "$TAVO_BIN/tavo-inhibit" "$shared"
chmod -R a+rX "$shared"
homeless() {
    if [ "$(id -u)" -eq 0 ]; then
        env -u XDG_CONFIG_HOME HOME=/nonexistent setpriv --reuid=65534 --clear-groups "$shared/tavoctl" "$@" 2>&1
    else
        env -u XDG_CONFIG_HOME HOME=/nonexistent "$TAVO_BIN/tavoctl" "$@" 2>&1
    fi
}
for command in enable doctor; do
    expectContains "$(homeless "$command")" "the home folder /nonexistent does not exist" "words of $command without a home"
done
for command in 'run --always' doctor; do
    # shellcheck disable=SC2086
    expectContains "$(prlimit --nofile=10:10 "$TAVO_BIN/tavoctl" --root "$root" $command 2>&1)" \
        "this process may have only 10 files open at once" "words of $command with ten descriptors"
done

# An obstacle to making the folder is named, and doctor names the same one as the commands that write there.
ln -s /nowhere/at/all "$root.link"
for folder in "$root.link" "$root.link/below"; do
    expectContains "$("$TAVO_BIN/tavoctl" --root "$folder" enable 2>&1)" "$root.link is a link to /nowhere/at/all" "words of enable"
    expectContains "$("$TAVO_BIN/tavoctl" --root "$folder" doctor)" "$root.link is a link to /nowhere/at/all" "words of doctor"
done
