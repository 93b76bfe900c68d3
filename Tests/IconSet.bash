# The icons that the build has rendered: every size is there and is that size.
# Usage: IconSet.bash ICONS RESOURCES SCREENSHOTS
set -euo pipefail
icons=$1 resources=$2 screenshots=$3

fail() {
    echo "failed: $*" >&2
    exit 1
}

for side in 16 22 24 32 48 64 128 256 512 1024; do
    found=$(identify -format '%wx%h' "$icons/hicolor/${side}x$side/apps/com.vrd.tavo.png")
    [ "$found" = "${side}x$side" ] || fail "the icon of $side pixels is $found"
done
[ "$(head -c 4 "$icons/AppIcon.icns")" = icns ] || fail "AppIcon.icns is no icon file"
[ "$(od -An -tu4 --endian=big -j 4 -N 4 "$icons/AppIcon.icns" | tr -d ' ')" = "$(stat -c %s "$icons/AppIcon.icns")" ] ||
    fail "AppIcon.icns does not know its own length"

# Of the tray's icons, panels change the colour of what has this class, and of filled shapes.
for state in awake idle; do
    drawing=$resources/Linux/icons/com.vrd.tavo-$state-symbolic.svg
    xmllint --noout "$drawing" || fail "$drawing is no drawing"
    [ "$(xmllint --xpath 'count(//*[local-name()="path"])' "$drawing")" = \
        "$(xmllint --xpath 'count(//*[local-name()="path"][@class="ColorScheme-Text"][@fill="currentColor"])' "$drawing")" ] ||
        fail "$drawing has a shape that keeps its colour"
    ! grep -q stroke "$drawing" || fail "$drawing has lines, which keep their colour"
done

# Every state is drawn, in both colours, and no two pictures of a state are alike.
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
QT_QPA_PLATFORM=offscreen "$screenshots" "$folder" 2>/dev/null
count=0
for light in "$folder"/*-light.png; do
    dark=${light%-light.png}-dark.png
    [ -s "$dark" ] || fail "$dark is missing"
    ! cmp -s "$light" "$dark" || fail "$light looks as it does in dark"
    # Many colours: text, symbols and edges, and not an empty window.
    [ "$(identify -format %k "$light")" -gt 60 ] || fail "$light is nearly empty"
    count=$((count + 1))
done
[ "$count" -ge 20 ] || fail "only $count states were drawn"
