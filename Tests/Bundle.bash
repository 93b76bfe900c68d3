# The Mac's application bundle, put together and made ready for other Macs, with stand-ins for the programs that only a
# Mac has.
# Usage: Bundle.bash PROJECT CMAKE ICONS VERSION
set -euo pipefail
project=$1 cmake=$2 icons=$3 version=$4
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
# shellcheck source=Tests/MacTools.bash
. "$(dirname "$0")/MacTools.bash"
makeMacTools
makeQt
makePrograms

app="$folder/a folder with spaces/Tavo.app"
contents=$app/Contents
identity="Developer ID Application: Somebody (ABCDE12345)"
assemble() {
    : >"$folder/calls"
    "$cmake" -D "BUNDLE=$app" -D "VERSION=$version" -D "PROGRAMS=$folder/programs" -D "ICON=$icons/AppIcon.icns" \
        -D "RESOURCES=$project/Resources" -D "QT=$folder/qt/QtCore.framework/QtCore" -D "CODESIGN=$folder/bin/codesign" \
        -D "OTOOL=$folder/bin/otool" "$@" -P "$project/cmake/AssembleBundle.cmake" >"$folder/output" 2>&1
}
deploy() {
    : >"$folder/calls"
    "$cmake" -D "BUNDLE=$app" -D "MACDEPLOYQT=$folder/bin/macdeployqt" -D "CODESIGN=$folder/bin/codesign" \
        -D "OTOOL=$folder/bin/otool" -D "INSTALL_NAME_TOOL=$folder/bin/install_name_tool" "$@" \
        -P "$project/cmake/DeployBundle.cmake" >"$folder/output" 2>&1
}
succeed() { "$@" || fail "$* failed: $(cat "$folder/output")"; }

# The bundle of every build: no library is copied, and the runtime is not hardened, since that would load none of
# Homebrew's.
succeed assemble
expectEqual "Helpers/TavoPrivilegedHelper
Helpers/tavoctl
Info.plist
MacOS/tavo
PkgInfo
Resources/AppIcon.icns
Resources/soda-cap.svg" "$(layoutOf "$app")" "the layout"
for program in MacOS/tavo Helpers/tavoctl Helpers/TavoPrivilegedHelper; do
    [ -x "$contents/$program" ] || fail "$program cannot be run"
done
expectEqual com.vrd.tavo "$(valueOf CFBundleIdentifier "$app")" "the identifier"
expectEqual tavo "$(valueOf CFBundleExecutable "$app")" "the executable"
expectEqual AppIcon "$(valueOf CFBundleIconFile "$app")" "the icon"
expectEqual "$version" "$(valueOf CFBundleShortVersionString "$app")" "the version"
expectEqual "" "$(valueOf LSUIElement "$app")" "the app has an icon in the Dock"
expectEqual "codesign --force --sign - --identifier com.vrd.tavo.helper $contents/Helpers/TavoPrivilegedHelper
codesign --force --sign - --identifier com.vrd.tavo.control $contents/Helpers/tavoctl
codesign --force --sign - --identifier com.vrd.tavo $app" "$(cat "$folder/calls")" "what a build calls"

# The minimum system is the newest that any part needs.
expectEqual 14.0 "$(valueOf LSMinimumSystemVersion "$app")" "the oldest system, which Qt decides"
grep -q 'needs macOS 14.0, as this Qt does; Tavo itself is built for 13.0' "$folder/output" || fail "the build does not tell of it"
sed -i 's/^minos 14.0/minos 12.3/' "$folder"/qt/*.framework/Versions/A/*
succeed assemble
expectEqual 13.0 "$(valueOf LSMinimumSystemVersion "$app")" "the oldest system, which Tavo decides"
! grep -q 'as this Qt does' "$folder/output" || fail "the build tells of a difference that is none"
sed -i 's/^minos 12.3/old minos 13.1/' "$folder/qt/QtCore.framework/Versions/A/QtCore"
succeed assemble
expectEqual 13.1 "$(valueOf LSMinimumSystemVersion "$app")" "the oldest system, said in the old way"
makeQt

# A new bundle replaces the old one as a whole, and an identity is used.
touch "$contents/left over"
succeed assemble -D "IDENTITY=$identity"
[ ! -e "$contents/left over" ] || fail "the bundle still holds what was there before"
expectEqual 3 "$(grep -c -- "--sign $identity --identifier" "$folder/calls")" "signatures of a build"

# For other Macs. The plugin needs a newer system than all else.
sed -i 's/^minos 14.0/minos 14.2/' "$plugin"
succeed assemble
succeed deploy
frameworks=$contents/Frameworks
expectEqual "macdeployqt $app -executable=$contents/Helpers/tavoctl -always-overwrite
install_name_tool -delete_rpath $folder/qt $contents/MacOS/tavo
codesign --force --sign - --identifier com.vrd.tavo.helper $contents/Helpers/TavoPrivilegedHelper
codesign --force --sign - --identifier com.vrd.tavo.control $contents/Helpers/tavoctl
codesign --force --sign - $contents/PlugIns/platforms/libqcocoa.dylib
codesign --force --sign - $frameworks/QtCore.framework
codesign --force --sign - $frameworks/QtGui.framework
codesign --force --sign - --identifier com.vrd.tavo $app" "$(cat "$folder/calls")" "what packaging calls"
expectEqual 14.2 "$(valueOf LSMinimumSystemVersion "$app")" "the oldest system of all that is in the bundle"
expectEqual "$version" "$(valueOf CFBundleVersion "$app")" "what else the property list says"

succeed assemble
succeed deploy -D "IDENTITY=$identity"
expectEqual 6 "$(grep -c -- "--sign $identity --options runtime --timestamp" "$folder/calls")" "signatures with a hardened runtime"
expectEqual "$app" "$(tail -n 1 "$folder/calls" | sed 's/.*com\.vrd\.tavo //')" "what is signed last"

# expectRefused WORDS: packaging names what would be missing on another Mac, signs nothing and leaves no bundle behind.
expectRefused() {
    succeed assemble
    ! deploy || fail "taken, though $1"
    [[ $(tr -s ' \n' ' ' <"$folder/output") == *"$1"* ]] || fail "'$1' is not said: $(cat "$folder/output")"
    ! grep -q codesign "$folder/calls" || fail "signed, though $1"
    [ ! -e "$app" ] || fail "the bundle is still there, though $1"
    makeQt
    makePrograms
}
echo 'needs @rpath/QtSvg.framework/Versions/A/QtSvg' >>"$plugin"
expectRefused "PlugIns/platforms/libqcocoa.dylib needs @rpath/QtSvg.framework/Versions/A/QtSvg, which is neither part of macOS nor in"
echo 'needs /opt/homebrew/opt/pcre2/lib/libpcre2.0.dylib' >>"$folder/qt/QtCore.framework/Versions/A/QtCore"
expectRefused "Frameworks/QtCore.framework/Versions/A/QtCore needs /opt/homebrew/opt/pcre2/lib/libpcre2.0.dylib,"
# It exists, but not in the bundle.
machO "$folder/outside.dylib" "minos 13.0"
echo 'needs @loader_path/../../../../outside.dylib' >>"$folder/programs/tavoctl"
expectRefused "Helpers/tavoctl needs @loader_path/../../../../outside.dylib, which is neither"
echo "needs $folder/outside.dylib" >>"$folder/programs/tavo"
expectRefused "MacOS/tavo needs $folder/outside.dylib, which is neither"
echo 'needs @rpath/QtCore.framework/QtCore' >>"$folder/programs/TavoPrivilegedHelper"
expectRefused "the helper needs @rpath/QtCore.framework/QtCore, which is not part of macOS"
sed -i '/^rpath @executable_path/d' "$folder/programs/tavo"
expectRefused "MacOS/tavo does not look in @executable_path/../Frameworks"
sed -i /^rpath/d "$folder/programs/tavoctl"
echo 'needs @rpath/QtCore.framework/QtCore' >>"$folder/programs/tavoctl"
expectRefused "Helpers/tavoctl does not look for @rpath/QtCore.framework/QtCore in @executable_path/../Frameworks"
sed -i /^minos/d "$plugin"
expectRefused "does not say which macOS"

# A program that fails stops everything.
for tool in codesign macdeployqt install_name_tool; do
    succeed assemble
    cp "$folder/bin/$tool" "$folder/good"
    printf '#!/bin/sh\nexit 3\n' >"$folder/bin/$tool"
    ! deploy || fail "a $tool that failed was not noticed"
    grep -q 'failed with 3' "$folder/output" || fail "the failure of $tool is not named: $(cat "$folder/output")"
    [ $tool != codesign ] || ! assemble || fail "a signature that failed was not noticed"
    cp "$folder/good" "$folder/bin/$tool"
done
for script in AssembleBundle DeployBundle; do
    ! "$cmake" -P "$project/cmake/$script.cmake" >/dev/null 2>&1 || fail "missing arguments of $script were not noticed"
done
