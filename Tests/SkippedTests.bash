# Usage: SkippedTests.bash PROJECT. Continuous integration, with a stand-in for the tests: which skipped ones it lets
# pass.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/.ci" "$folder/scripts" "$folder/build"
cp "$1/.ci/run" "$folder/.ci/run"

fail() {
    echo "failed: $*" >&2
    exit 1
}

# Each of ctest's lines is a test, as in a build folder.
printf '%s\n' '#!/usr/bin/env bash' 'set -e' "cd '$folder/build'" 'exec ctest "${@:2}" >/dev/null' >"$folder/scripts/test"
chmod +x "$folder/scripts/test"

# tryWith STATUS LINE...: leaves the output of .ci/run in $words.
tryWith() {
    local status=0
    printf '%s\n' 'add_test(base.Passes true)' "${@:2}" >"$folder/build/CTestTestfile.cmake"
    words=$("$folder/.ci/run" 2>&1) || status=$?
    [ "$status" -eq "$1" ] || fail "status $status instead of $1 with ${*:2}; it said: $words"
}
skipped() { echo "add_test($1 sh -c \"exit 77\")" && echo "set_tests_properties($1 PROPERTIES SKIP_RETURN_CODE 77)"; }

tryWith 0
[ -z "$words" ] || fail "with nothing skipped it said: $words"
tryWith 0 "$(skipped form.TheCodeIsFormatted)"
[[ $words == *"the form was not checked"* ]] || fail "without clang-format it said: $words"
tryWith 1 "$(skipped machine.NeedsMore)"
[[ $words == *machine.NeedsMore* ]] || fail "the skipped test is not named: $words"
tryWith 1 "$(skipped form.TheCodeIsFormatted)" "$(skipped machine.NeedsMore)"
tryWith 1 'add_test(form.TheCodeIsFormatted true)' 'set_tests_properties(form.TheCodeIsFormatted PROPERTIES DISABLED ON)'
tryWith 8 'add_test(machine.IsMissing /no/such/program)'
