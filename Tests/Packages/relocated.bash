# Usage: relocated.bash FOLDER, under scripts/with-logind. The archive works wherever it is unpacked, and after a move.
. "$(dirname "$0")/../Machine/machine.bash"
place=$(mktemp -d)
atExit 'rm -rf "$place"'
tar -xzf "$1"/tavo-*.tar.gz -C "$place"
unpacked=$(echo "$place"/tavo-*)

keepsAwake() {
    TAVO_BIN=$1/bin
    root=$(mktemp -d "$place/root.XXXX")/tavo
    beginRun "$root" --always
    expectHeld 'sleep:idle block'
    expectEqual "$1/libexec/tavo/tavo-inhibit" "$(readlink "/proc/$(inhibitorOf "$run")/exe")" "the program that holds the lock"
    endRun TERM
    expectHeld ''
    QT_QPA_PLATFORM=offscreen "$TAVO_BIN/tavo" --version >/dev/null || fail "the app does not start in $1"
}
keepsAwake "$unpacked"
mkdir "$place/a folder"
mv "$unpacked" "$place/a folder/tavo"
keepsAwake "$place/a folder/tavo"
