# Usage: TrialRun.bash PROJECT. scripts/run, with stand-ins for the programs that tell it where it is and for the build.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/bin" "$folder/scripts"
cp "$1/scripts/run" "$folder/scripts/run"

# standIn FILE LINE...: a script of these lines.
standIn() {
    printf '%s\n' '#!/bin/sh' "${@:2}" >"$1"
    chmod +x "$1"
}

fail() {
    echo "failed: $*" >&2
    exit 1
}

# tryAs UID WITH_LOGIND: the exit status in $status, what was said in $words, what was done in $folder/done.
tryAs() {
    standIn "$folder/bin/id" "echo $1"
    standIn "$folder/bin/busctl" "$2"
    standIn "$folder/bin/uname" 'echo Linux'
    standIn "$folder/scripts/build" "echo build \"\$@\" >>'$folder/done'"
    standIn "$folder/scripts/with-logind" "echo with-logind >>'$folder/done'"
    mkdir -p "$folder/build/release/bin"
    standIn "$folder/build/release/bin/tavoctl" "echo tavoctl >>'$folder/done'"
    : >"$folder/done"
    status=0
    words=$(PATH="$folder/bin:$PATH" "$folder/scripts/run" --always 2>&1) || status=$?
}

tryAs 1000 false
[ "$status" -eq 69 ] || fail "status $status"
[[ $words == *"takes root"*"sudo scripts/run"* ]] || fail "it said: $words"
[ ! -s "$folder/done" ] || fail "it did: $(cat "$folder/done")"

tryAs 0 false
[ "$(tr '\n' ' ' <"$folder/done")" = 'build --terminal with-logind ' ] || fail "as root it did: $(cat "$folder/done"), and said: $words"

tryAs 1000 true
[ "$(tr '\n' ' ' <"$folder/done")" = 'build --terminal tavoctl ' ] || fail "with a logind it did: $(cat "$folder/done")"
