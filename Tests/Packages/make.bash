# Usage: make.bash BUILD FOLDER. Makes the packages of the build folder BUILD in FOLDER, for the tests that use them; and in
# FOLDER/next the same as packages of a later version, whose helper is another file.
set -euo pipefail
build=$1 folder=$2
fail() {
    echo "failed: $*" >&2
    exit 1
}

rm -rf "$folder"
mkdir -p "$folder/next"
export SOURCE_DATE_EPOCH=1700000000
(cd "$build" && cpack --config CPackConfig.cmake -G "DEB;TGZ" -B "$folder") >"$folder/cpack.log" 2>&1 ||
    fail "$(tail -n 20 "$folder/cpack.log")"
rm -rf "$folder/_CPack_Packages"
[ "$(find "$folder" -maxdepth 1 -name '*.deb' | wc -l)" = 2 ] || fail "there are not two Debian packages in $folder"
[ "$(find "$folder" -maxdepth 1 -name '*.tar.gz' | wc -l)" = 1 ] || fail "there is not one archive in $folder"

for package in "$folder"/*.deb; do
    unpacked=$(mktemp -d)
    dpkg-deb --raw-extract "$package" "$unpacked"
    # Bytes after its last section change nothing about a program but its file.
    [ ! -e "$unpacked/usr/libexec/tavo/TavoPrivilegedHelper" ] ||
        echo later >>"$unpacked/usr/libexec/tavo/TavoPrivilegedHelper"
    sed -i -e 's/^Version: .*/Version: 99.0.0-1/' -e 's/tavoctl (= [^)]*)/tavoctl (= 99.0.0-1)/' "$unpacked/DEBIAN/control"
    dpkg-deb --root-owner-group --build "$unpacked" "$folder/next" >/dev/null
    rm -rf "$unpacked"
done
