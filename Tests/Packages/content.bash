# Usage: content.bash FOLDER. What is in the packages of make.bash, and whether they keep to Debian's policy.
set -euo pipefail
folder=$1
fail() {
    echo "failed: $*" >&2
    exit 1
}

terminal=$(echo "$folder"/tavoctl_*.deb) desktop=$(echo "$folder"/tavo_*.deb) archive=$(echo "$folder"/tavo-*.tar.gz)
field() { dpkg-deb --field "$1" "$2"; }
files() { dpkg-deb --contents "$1" | awk '$1 !~ /^d/ { sub(/^\./, "", $6); print $6 }' | sort; }

version=$(field "$terminal" Version)
[[ $(field "$desktop" Depends) == *"tavoctl (= $version)"* ]] || fail "tavo does not depend on its tavoctl"
[[ $(field "$terminal" Depends) != *qt* ]] || fail "tavoctl depends on Qt: $(field "$terminal" Depends)"
[[ $(field "$terminal" Depends) == *libsystemd0* ]] || fail "tavoctl's libraries are not among its dependencies"
[[ $(field "$desktop" Depends) == *libqt6widgets6* ]] || fail "the app's libraries are not among its dependencies"
for package in "$terminal" "$desktop"; do
    [[ ", $(field "$package" Recommends)," == *", polkitd,"* ]] || fail "$package does not recommend polkitd"
done
twice=$(comm -12 <(files "$terminal") <(files "$desktop"))
[ -z "$twice" ] || fail "in both packages: $twice"

expected() {
    local path there
    there=$(files "$1")
    for path in "${@:2}"; do
        grep -qxF -- "$path" <<<"$there" || fail "$(basename "$1") lacks $path"
    done
}
expected "$terminal" /usr/bin/tavoctl /usr/libexec/tavo/tavo-inhibit /usr/libexec/tavo/TavoPrivilegedHelper \
    /usr/lib/systemd/system/com.vrd.tavo.helper.service /usr/lib/systemd/system/com.vrd.tavo.helper.socket \
    /usr/lib/systemd/user/tavo.service /usr/share/polkit-1/actions/com.vrd.tavo.policy \
    /usr/share/man/man1/tavoctl.1.gz /usr/share/man/man5/tavo-config.5.gz /usr/share/man/man8/TavoPrivilegedHelper.8.gz \
    /usr/share/bash-completion/completions/tavoctl /usr/share/zsh/vendor-completions/_tavoctl \
    /usr/share/fish/vendor_completions.d/tavoctl.fish
expected "$desktop" /usr/bin/tavo /usr/share/applications/com.vrd.tavo.desktop /usr/share/man/man1/tavo.1.gz \
    /usr/share/metainfo/com.vrd.tavo.metainfo.xml /usr/share/icons/hicolor/256x256/apps/com.vrd.tavo.png \
    /usr/share/icons/hicolor/symbolic/apps/com.vrd.tavo-awake-symbolic.svg

# Nothing of the system's own may be in an archive that is unpacked anywhere, and all of it lies below one folder.
top=$(basename "$archive" .tar.gz)
foreign=$(tar -tzf "$archive" | grep -vE "^$top/(bin|libexec|share)(/|$)" || true)
[ -z "$foreign" ] || fail "in the archive: $foreign"
! tar -tzf "$archive" | grep -E 'systemd|polkit-1' || fail "the archive has files that name programs in /usr"
grep -qx "$top/share/doc/tavo/LICENSE" <<<"$(tar -tzf "$archive")" || fail "the archive lacks the licence"
[ "$(tar -tvzf "$archive" | awk '{ print $2 }' | sort -u)" = root/root ] || fail "the archive tells who has built it"

# Each warning that the policy's checker is right about is an error; the others are explained in the package.
complaints=$(lintian --fail-on error,warning "$terminal" "$desktop" 2>&1) || fail "$complaints"
