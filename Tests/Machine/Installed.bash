# Installed into a prefix, Tavo keeps the machine awake without the folder that it was built in.
. "$(dirname "$0")/machine.bash"
buildFolder=$(dirname "$TAVO_BIN")

if [ "${1-}" != --hidden ]; then
    prefix=$(mktemp -d)/tavo
    cmake --install "$buildFolder" --prefix "$prefix" >"$prefix.log" || fail "not installed: $(cat "$prefix.log")"
    # In a mount namespace of its own, so that hiding the folder hides it from this test alone.
    exec unshare --mount bash "$0" --hidden "$prefix"
fi
prefix=$2
mount --no-mtab -t tmpfs tmpfs "$buildFolder"
[ ! -e "$TAVO_BIN/tavoctl" ] || fail "the build folder is still there"

TAVO_BIN=$prefix/bin
root=$prefix.root
beginRun "$root" --always
expectHeld 'sleep:idle block'
expectEqual "$prefix/libexec/tavo/tavo-inhibit" "$(readlink "/proc/$(inhibitorOf "$run")/exe")" "the program that holds the lock"
endRun TERM
expectHeld ''
[ -x "$prefix/libexec/tavo/TavoPrivilegedHelper" ] || fail "the helper is not installed"
for state in awake idle; do
    [ -r "$prefix/share/icons/hicolor/symbolic/apps/com.vrd.tavo-$state-symbolic.svg" ] ||
        fail "panels do not find the icon of the tray: $state"
done

# A panel looks only into the folders that the theme names.
for folder in "$prefix"/share/icons/hicolor/symbolic/*; do
    grep -qxF "[symbolic/${folder##*/}]" /usr/share/icons/hicolor/index.theme || fail "panels do not look into $folder"
done
