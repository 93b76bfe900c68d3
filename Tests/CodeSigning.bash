# Whose signature the Mac's helper asks for comes into its code as it was given, and a signed build asks for one.
# Usage: CodeSigning.bash PROJECT CMAKE COMPILER
set -euo pipefail
project=$1 cmake=$2 compiler=$3

fail() {
    echo "failed: $*" >&2
    exit 1
}
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
printf '%s\n' "include(\"$project/cmake/CodeSigning.cmake\")" \
    "tavo_write_code_signing_header(\"$folder/CodeSigningRequirement.h\")" >"$folder/script.cmake"
printf '%s\n' '#include "CodeSigningRequirement.h"' '#include <iostream>' \
    'int main() { std::cout << tavo::codeSigningRequirement; }' >"$folder/program.cpp"
configure() { "$cmake" "$@" -P "$folder/script.cmake" >"$folder/log" 2>&1; }

requirement='anchor apple generic and certificate leaf[subject.OU] = "ABCDE12345" and (info ["a\b"] exists; true)'
for given in "$requirement" ""; do
    configure -D "TAVO_CODE_SIGNING_REQUIREMENT=$given" || fail "'$given' does not configure: $(cat "$folder/log")"
    "$compiler" -std=c++20 -o "$folder/program" "$folder/program.cpp" || fail "'$given' does not compile"
    [ "$("$folder/program")" = "$given" ] || fail "'$given' became '$("$folder/program")'"
done

configure -D "TAVO_CODE_SIGNING_IDENTITY=Developer ID Application: Somebody" -D "TAVO_CODE_SIGNING_REQUIREMENT=anchor apple" ||
    fail "an identity with a requirement does not configure: $(cat "$folder/log")"
configure -D "TAVO_CODE_SIGNING_IDENTITY=-" || fail "an ad hoc signature needs a requirement: $(cat "$folder/log")"
for given in "" " "; do
    ! configure -D "TAVO_CODE_SIGNING_IDENTITY=Developer ID Application: Somebody" -D "TAVO_CODE_SIGNING_REQUIREMENT=$given" ||
        fail "an identity without a requirement configures"
    grep -q 'TAVO_CODE_SIGNING_REQUIREMENT is not' "$folder/log" || fail "the reason is not named: $(cat "$folder/log")"
done
