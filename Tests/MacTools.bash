# Shared by the tests of the Mac's bundle, which source it: stand-ins for the programs that only a Mac has, in
# $folder/bin. Each notes its call in $folder/calls, except otool, which only reads.
: "${folder:?is the temporary folder of the test}"

fail() {
    echo "failed: $*" >&2
    exit 1
}
expectEqual() { [ "$1" = "$2" ] || fail "$3: expected '$1', got '$2'"; }

# machO FILE LINE...: a file that begins as Mach-O files do. The stand-in for otool prints its lines: "minos VERSION",
# "needs LIBRARY", "rpath FOLDER" and "id NAME".
machO() {
    mkdir -p "$(dirname "$1")"
    printf '\xcf\xfa\xed\xfe\n' >"$1"
    printf '%s\n' "${@:2}" >>"$1"
    chmod 755 "$1"
}

makeMacTools() {
    local tool
    mkdir -p "$folder/bin"
    for tool in macdeployqt codesign install_name_tool; do
        printf '#!/bin/bash\necho "%s $*" >>"%s"\n' "$tool" "$folder/calls" >"$folder/bin/$tool"
    done
    # Qt's libraries and a plugin, as they lie in $folder/qt.
    cat >>"$folder/bin/macdeployqt" <<SH
mkdir -p "\$1/Contents/Frameworks" "\$1/Contents/PlugIns/platforms"
cp -a "$folder/qt/"*.framework "\$1/Contents/Frameworks"
cp -a "$folder/qt/libqcocoa.dylib" "\$1/Contents/PlugIns/platforms"
SH
    # -delete_rpath FOLDER FILE
    echo 'LC_ALL=C sed -i "\,^rpath $2\$,d" "$3"' >>"$folder/bin/install_name_tool"
    # Printed as otool(1) does.
    cat >"$folder/bin/otool" <<'SH'
#!/bin/bash
export LC_ALL=C
[ -r "$2" ] || exit 1
echo "$2:"
case $1 in
-L) sed -nE 's/^(id|needs) (.*)/\t\2 (compatibility version 1.0.0, current version 1.2.3)/p' "$2" ;;
-D) sed -n 's/^id //p' "$2" ;;
-l) sed -n -e 's/^minos \(.*\)/      cmd LC_BUILD_VERSION\n  cmdsize 32\n platform 1\n    minos \1\n      sdk 15.0\n   ntools 1\n     tool 3\n  version 1115.7/p' \
        -e 's/^old minos \(.*\)/      cmd LC_VERSION_MIN_MACOSX\n  cmdsize 16\n  version \1\n      sdk 15.0/p' \
        -e 's/^rpath \(.*\)/          cmd LC_RPATH\n      cmdsize 48\n         path \1 (offset 12)/p' "$2" ;;
esac
SH
    chmod 755 "$folder/bin/"*
}

# Two of Qt's frameworks and a plugin, as macdeployqt leaves them.
makeQt() {
    local name
    for name in QtCore QtGui; do
        machO "$folder/qt/$name.framework/Versions/A/$name" "id @rpath/$name.framework/Versions/A/$name" "minos 14.0" \
            "needs /usr/lib/libSystem.B.dylib"
        ln -sfn A "$folder/qt/$name.framework/Versions/Current"
        ln -sfn "Versions/Current/$name" "$folder/qt/$name.framework/$name"
    done
    plugin=$folder/qt/libqcocoa.dylib
    machO "$plugin" "minos 14.0" "needs @rpath/QtGui.framework/Versions/A/QtGui" \
        "needs @loader_path/../../Frameworks/QtCore.framework/QtCore" \
        "needs /System/Library/Frameworks/AppKit.framework/Versions/C/AppKit" "rpath @loader_path/../../../lib"
}

# The three programs, as the build leaves them.
makePrograms() {
    machO "$folder/programs/tavo" "minos 13.0" "needs @rpath/QtCore.framework/Versions/A/QtCore" \
        "needs @executable_path/../Frameworks/QtGui.framework/QtGui" "rpath $folder/qt" "rpath @executable_path/../Frameworks"
    machO "$folder/programs/tavoctl" "minos 13.0" "needs /usr/lib/libc++.1.dylib" "rpath @executable_path/../Frameworks"
    machO "$folder/programs/TavoPrivilegedHelper" "minos 13.0" "needs /usr/lib/libSystem.B.dylib" \
        "needs /System/Library/Frameworks/Foundation.framework/Versions/C/Foundation"
}

# valueOf KEY BUNDLE: of the property list, as a parser reads it.
valueOf() { xmllint --nonet --xpath "string(/plist/dict/key[.='$1']/following-sibling::*[1])" "$2/Contents/Info.plist"; }

layoutOf() { (cd "$1" && find . -mindepth 1 ! -type d | sed 's,^\./Contents/,,' | LC_ALL=C sort); }
