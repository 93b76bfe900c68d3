# CMake's half for a Mac, configured here with stand-ins for Qt, for the archives and for the programs that only a Mac
# has.
# Usage: MacConfiguration.bash PROJECT CMAKE
set -euo pipefail
project=$1 cmake=$2
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
# shellcheck source=Tests/MacTools.bash
. "$(dirname "$0")/MacTools.bash"
makeMacTools
printf '#!/bin/sh\necho 14.5\n' >"$folder/bin/sw_vers"
chmod 755 "$folder/bin/sw_vers"

mkdir -p "$folder/lib" "$folder/qt"
for name in fmt pugixml utf8proc; do : >"$folder/lib/lib$name.a"; done
printf '%s\n' 'set(PACKAGE_VERSION 6.8.0)' 'set(PACKAGE_VERSION_COMPATIBLE TRUE)' >"$folder/qt/Qt6ConfigVersion.cmake"
cat >"$folder/qt/Qt6Config.cmake" <<'CMAKE'
foreach(module IN ITEMS Core Gui Widgets Svg DBus Test)
    add_library(Qt6::${module} SHARED IMPORTED)
    set_target_properties(Qt6::${module} PROPERTIES IMPORTED_LOCATION "/homebrew/lib/Qt${module}.framework/Versions/A/Qt${module}")
endforeach()
function(qt_add_resources)
endfunction()
CMAKE

configure() {
    PATH="$folder/bin:$PATH" "$cmake" -G Ninja -S "$project" -B "$folder/build" -D CMAKE_SYSTEM_NAME=Darwin \
        -D CMAKE_C_COMPILER="$(command -v clang)" -D CMAKE_CXX_COMPILER="$(command -v clang++)" \
        -D CMAKE_OBJCXX_COMPILER="$(command -v clang++)" -D CMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY \
        -D CMAKE_INSTALL_NAME_TOOL="$folder/bin/install_name_tool" -D CMAKE_OSX_SYSROOT= -D Qt6_DIR="$folder/qt" \
        -D "CMAKE_PREFIX_PATH=$folder;/usr" -D CMAKE_LIBRARY_ARCHITECTURE="$(gcc -print-multiarch)" \
        "$@" >"$folder/output" 2>&1
}
configure || fail "it does not configure: $(cat "$folder/output")"

# Tests that need what scripts/bootstrap installs only on Linux.
tests=$(grep -rhoE 'add_test\(\[=\[[^]]+' --include=CTestTestfile.cmake "$folder/build" | sed 's/.*\[//')
[ -n "$tests" ] || fail "there are no tests for a Mac"
foreign=$(grep -E '^(form|machine)\.' <<<"$tests" || true)
[ -z "$foreign" ] || fail "there are tests that a Mac cannot run: $foreign"

# The programs find shared libraries in the bundle, and the helper links archives.
rule() { awk -v target="$1" '/^build / { inside = $2 == target ":" } inside' "$folder/build/build.ninja"; }
for program in tavo tavoctl; do
    [[ $(rule "bin/$program") == *"-Wl,-rpath,@executable_path/../Frameworks"* ]] || fail "$program does not look into the bundle"
done
[[ $(rule bin/TavoPrivilegedHelper) == *"$folder/lib/libpugixml.a"* ]] || fail "the helper does not link the archives"

! configure -D TAVO_CODE_SIGNING_IDENTITY=Somebody || fail "a signed build configures without a requirement"
configure -D TAVO_CODE_SIGNING_IDENTITY=Somebody -D 'TAVO_CODE_SIGNING_REQUIREMENT=certificate leaf[subject.OU] = "TEAM"' ||
    fail "a signed build does not configure: $(cat "$folder/output")"
grep -qF 'leaf[subject.OU] = "TEAM")' "$folder/build/Sources/TavoPrivilegedHelper/generated/CodeSigningRequirement.h" ||
    fail "the requirement is not in the header"
