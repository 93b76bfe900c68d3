# Usage: OnDesktop.bash PROJECT. The refusals of scripts/on-desktop, and whether its parts are complete: a real run
# takes a system with a desktop, which nobody wants to download for a test.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/Tests"
cp -R "$1/scripts" "$folder/scripts"
cp -R "$1/Tests/Desktops" "$folder/Tests/Desktops"
# Readable for the other user below, who may not enter the checkout.
chmod -R a+rX "$folder"
names="xfce plasma lxqt gnome sway"

fail() {
    echo "failed: $*" >&2
    exit 1
}

# expectRefusal STATUS WORDS COMMAND...
expectRefusal() {
    local status=0 words
    words=$("${@:3}" 2>&1 </dev/null) || status=$?
    [ "$status" -eq "$1" ] || fail "status $status instead of $1 of ${*:3}; it said: $words"
    [[ $words == *"$2"* ]] || fail "${*:3} said: $words"
}

expectRefusal 64 "NAME takes one of these: $names." "$folder/scripts/on-desktop"
expectRefusal 64 "there is no desktop \"mate\" here; scripts/on-desktop NAME takes one of these: $names." \
    "$folder/scripts/on-desktop" mate
expectRefusal 64 "takes one of these" "$folder/scripts/on-desktop" xfce lxqt
expectRefusal 64 "takes one of these" "$folder/scripts/on-desktop" "xfce plasma"
asOther=()
[ "$(id -u)" -ne 0 ] || asOther=(setpriv --reuid=65534 --regid=65534 --clear-groups)
expectRefusal 77 "root is needed" "${asOther[@]}" "$folder/scripts/on-desktop" xfce

for script in "$folder"/scripts/on-desktop "$folder"/scripts/*.bash "$folder"/Tests/Desktops/*.bash; do
    bash -n "$script" || fail "$script cannot be read"
done

# Each desktop tells what it is made of and how it begins, and calls nothing while it does.
for name in $names; do
    PATH='' "$BASH" -euc '
        . "$1"
        [ ${#packages[@]} -gt 0 ] && [ "$megabytes" -gt 0 ] && [ ${#sessionCommand[@]} -gt 0 ] && [ ${#trayAt[@]} -eq 2 ]
        [ -n "$desktopName" ] && [ -n "$panelProgram" ]
        case $sessionType in x11 | wayland) ;; *) exit 1 ;; esac
    ' "$name" "$folder/Tests/Desktops/$name.bash" || fail "$name is not whole"
done
