# The pictures in docs/pictures are as many, as large and called as those that the app's views make today. What they show
# may differ by a font.
# Usage: Pictures.bash PROJECT SCREENSHOTS
set -euo pipefail
project=$1 screenshots=$2
maxBytes=1000000
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

fail() {
    echo "failed: $*" >&2
    exit 1
}

QT_QPA_PLATFORM=offscreen QT_SCALE_FACTOR=2 "$screenshots" --pictures "$folder" >/dev/null 2>&1 || fail "they cannot be drawn"

# listOf FOLDER: a line for each picture, with its name and its pixels.
listOf() { (cd "$1" && identify -format '%f %wx%h\n' ./*.png | sort); }
[ "$(listOf "$project/docs/pictures")" = "$(listOf "$folder")" ] ||
    fail "they are no longer those of the app; scripts/screenshots --pictures draws them anew:
$(diff <(listOf "$project/docs/pictures") <(listOf "$folder"))"
for picture in "$folder"/*.png; do
    [ "$(identify -format %k "$picture")" -gt 1000 ] || fail "$picture is nearly empty"
done
size=$(cat "$project"/docs/pictures/* | wc -c)
[ "$size" -le "$maxBytes" ] || fail "they have $size bytes, more than $maxBytes"
