# The target that makes the Mac's bundle, in a project of its own, with stand-ins for the programs that only a Mac has.
# Usage: BundleTarget.bash PROJECT CMAKE ICONS
set -euo pipefail
project=$1 cmake=$2 icons=$3
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
# shellcheck source=Tests/MacTools.bash
. "$(dirname "$0")/MacTools.bash"
makeMacTools
makeQt
makePrograms

mkdir -p "$folder/source" "$folder/icons"
cp -r "$project/cmake" "$project/Resources" "$folder/source"
cp "$icons/AppIcon.icns" "$folder/icons"
cat >"$folder/source/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(Tavo VERSION 1.2.3 LANGUAGES NONE)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "$folder/programs")
set(TAVO_ICONS "$folder/icons")
add_custom_target(icons)
foreach(program IN ITEMS tavo tavoctl TavoPrivilegedHelper)
    add_executable(\${program} IMPORTED)
    set_target_properties(\${program} PROPERTIES IMPORTED_LOCATION "$folder/programs/\${program}")
endforeach()
add_library(Qt6::Core SHARED IMPORTED)
set_target_properties(Qt6::Core PROPERTIES IMPORTED_LOCATION "$folder/qt/QtCore.framework/Versions/A/QtCore")
include("$project/Sources/MacBundle.cmake")
foreach(program IN ITEMS tavo tavoctl)
    get_target_property(rpath \${program} BUILD_RPATH)
    file(APPEND "$folder/rpaths" "\${rpath}\n")
endforeach()
CMAKE
run() { "$@" >"$folder/output" 2>&1 || fail "$* failed: $(cat "$folder/output")"; }
run env PATH="$folder/bin:$PATH" "$cmake" -G Ninja -S "$folder/source" -B "$folder/build" -D CMAKE_INSTALL_PREFIX=/nowhere \
    -D "TAVO_CODE_SIGNING_IDENTITY=Somebody"
expectEqual $'@executable_path/../Frameworks\n@executable_path/../Frameworks' "$(cat "$folder/rpaths")" "where programs look"

app=$folder/build/Tavo.app
# expectCalls COUNT WORDS: of the programs that only a Mac has, in the build that is made now.
expectCalls() {
    : >"$folder/calls"
    run "$cmake" --build "$folder/build"
    expectEqual "$1" "$(wc -l <"$folder/calls")" "calls of a build $2 ($(cat "$folder/calls"))"
}
expectCalls 3 "from nothing"
expectCalls 0 "without a change"
for changed in programs/tavo programs/tavoctl programs/TavoPrivilegedHelper icons/AppIcon.icns source/Resources/macOS/Info.plist.in \
    source/Resources/App/soda-cap.svg source/cmake/AssembleBundle.cmake; do
    touch "$folder/$changed"
    expectCalls 3 "after a change of $changed"
    expectCalls 0 "after that"
done
rm -r "$app"
expectCalls 3 "without the bundle"

# The package is a copy with Qt in it, and replaces an earlier one.
before=$(layoutOf "$app")
: >"$folder/calls"
mkdir -p "$folder/packaged/Tavo.app/Contents/Frameworks/Old.framework"
run "$cmake" --install "$folder/build" --component bundle --prefix "$folder/packaged"
expectEqual "$before" "$(layoutOf "$app")" "the bundle of the build"
[ -f "$folder/packaged/Tavo.app/Contents/Frameworks/QtCore.framework/QtCore" ] || fail "Qt is not in the package"
[ ! -e "$folder/packaged/Tavo.app/Contents/Frameworks/Old.framework" ] || fail "an old package shows through"
expectEqual 14.0 "$(valueOf LSMinimumSystemVersion "$folder/packaged/Tavo.app")" "the oldest system of the package"
expectEqual 6 "$(grep -c -- '--sign Somebody --options runtime' "$folder/calls")" "signatures with a hardened runtime"
! grep -q "$app" "$folder/calls" || fail "packaging touched the bundle of the build: $(cat "$folder/calls")"
run env DESTDIR="$folder/destination" "$cmake" --install "$folder/build" --component bundle
[ -d "$folder/destination/nowhere/Tavo.app/Contents/Frameworks" ] || fail "DESTDIR is not obeyed"

# A bundle that would not start on another Mac is not packaged.
sed -i 's,^needs @loader_path.*,needs /opt/homebrew/lib/libother.dylib,' "$plugin"
! "$cmake" --install "$folder/build" --component bundle --prefix "$folder/packaged" >"$folder/output" 2>&1 ||
    fail "a bundle that needs Homebrew's libraries was packaged"
grep -q /opt/homebrew/lib/libother.dylib "$folder/output" || fail "it is not named: $(cat "$folder/output")"
