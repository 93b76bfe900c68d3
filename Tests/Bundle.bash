# The layout of the Mac's application bundle, put together with stand-ins for the programs that only a Mac has.
# Usage: Bundle.bash PROJECT CMAKE ICONS VERSION
set -euo pipefail
project=$1 cmake=$2 icons=$3 version=$4

fail() {
    echo "failed: $*" >&2
    exit 1
}
expectEqual() { [ "$1" = "$2" ] || fail "$3: expected '$1', got '$2'"; }

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
mkdir "$folder/programs" "$folder/bin"
for program in tavo tavoctl TavoPrivilegedHelper; do
    echo "$program" >"$folder/programs/$program"
    chmod 755 "$folder/programs/$program"
done
cat >"$folder/bin/macdeployqt" <<SH
#!/bin/sh
echo "macdeployqt \$*" >>"$folder/calls"
mkdir -p "\$1/Contents/Frameworks/QtCore.framework" "\$1/Contents/PlugIns/platforms"
: >"\$1/Contents/PlugIns/platforms/libqcocoa.dylib"
SH
printf '#!/bin/sh\necho "codesign $*" >>"%s"\n' "$folder/calls" >"$folder/bin/codesign"
# What otool(1) prints: the file, then a line for each library.
needs() { printf '#!/bin/sh\nprintf "%%s:\\n" "$2"\nprintf "\\t%%s (compatibility version 1.0.0)\\n" %s\n' "$*" >"$folder/bin/otool"; }
needs /usr/lib/libSystem.B.dylib /System/Library/Frameworks/Foundation.framework/Versions/C/Foundation
chmod 755 "$folder/bin/"*

app="$folder/a folder with spaces/Tavo.app"
assemble() {
    : >"$folder/calls"
    "$cmake" -D "BUNDLE=$app" -D "VERSION=$version" -D "PROGRAMS=$folder/programs" -D "ICON=$icons/AppIcon.icns" \
        -D "RESOURCES=$project/Resources" -D "MACDEPLOYQT=$folder/bin/macdeployqt" \
        -D "CODESIGN=$folder/bin/codesign" -D "OTOOL=$folder/bin/otool" "$@" -P "$project/cmake/AssembleBundle.cmake"
}

assemble
expectEqual "Contents
Contents/Frameworks
Contents/Frameworks/QtCore.framework
Contents/Helpers
Contents/Helpers/TavoPrivilegedHelper
Contents/Helpers/tavoctl
Contents/Info.plist
Contents/MacOS
Contents/MacOS/tavo
Contents/PkgInfo
Contents/PlugIns
Contents/PlugIns/platforms
Contents/PlugIns/platforms/libqcocoa.dylib
Contents/Resources
Contents/Resources/AppIcon.icns
Contents/Resources/soda-cap.svg" "$(cd "$app" && find . -mindepth 1 | sed 's,^\./,,' | LC_ALL=C sort)" "the layout"
for program in MacOS/tavo Helpers/tavoctl Helpers/TavoPrivilegedHelper; do
    [ -x "$app/Contents/$program" ] || fail "$program cannot be run"
done

# valueOf KEY: of the property list, as a parser reads it.
valueOf() { xmllint --nonet --xpath "string(/plist/dict/key[.='$1']/following-sibling::*[1])" "$app/Contents/Info.plist"; }
expectEqual com.vrd.tavo "$(valueOf CFBundleIdentifier)" "the identifier"
expectEqual tavo "$(valueOf CFBundleExecutable)" "the executable"
expectEqual AppIcon "$(valueOf CFBundleIconFile)" "the icon"
expectEqual 13.0 "$(valueOf LSMinimumSystemVersion)" "the oldest system"
expectEqual "$version" "$(valueOf CFBundleShortVersionString)" "the version"
expectEqual "" "$(valueOf LSUIElement)" "the app has an icon in the Dock"

contents=$app/Contents
expectEqual "macdeployqt $app -executable=$contents/Helpers/tavoctl -always-overwrite
codesign --force --sign - --identifier com.vrd.tavo.helper $contents/Helpers/TavoPrivilegedHelper
codesign --force --sign - --identifier com.vrd.tavo.control $contents/Helpers/tavoctl
codesign --force --sign - $contents/PlugIns/platforms/libqcocoa.dylib
codesign --force --sign - $contents/Frameworks/QtCore.framework
codesign --force --sign - --identifier com.vrd.tavo $app" "$(cat "$folder/calls")" "what is called"

# With an identity the runtime is hardened, from the inside to the outside. What lay in the bundle before is gone.
touch "$app/Contents/left over"
assemble -D "IDENTITY=Developer ID Application: Somebody (ABCDE12345)"
[ ! -e "$app/Contents/left over" ] || fail "the bundle still holds what was there before"
expectEqual 5 "$(grep -c -- '--sign Developer ID Application: Somebody (ABCDE12345) --options runtime --timestamp' "$folder/calls")" \
    "signatures with a hardened runtime"
expectEqual "$app" "$(tail -n 1 "$folder/calls" | sed 's/.*com\.vrd\.tavo //')" "what is signed last"

# A helper that would find its libraries in the bundle alone is not put into it.
needs /usr/lib/libSystem.B.dylib @rpath/libfmt.9.dylib
message=$(assemble 2>&1) && fail "a helper that needs a library of others was taken"
[[ $message == *"the helper needs @rpath/libfmt.9.dylib"* ]] || fail "what the helper needs is not named: $message"
needs /usr/lib/libSystem.B.dylib

# A program that fails stops everything.
printf '#!/bin/sh\nexit 3\n' >"$folder/bin/codesign"
! assemble >/dev/null 2>&1 || fail "a signature that failed was not noticed"
! "$cmake" -P "$project/cmake/AssembleBundle.cmake" >/dev/null 2>&1 || fail "missing arguments were not noticed"
