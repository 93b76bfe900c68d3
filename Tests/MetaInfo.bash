# The files that tell a desktop about the app: the entry with its actions, and the metainfo for software centres.
# Usage: MetaInfo.bash PROJECT CMAKE TAVO VERSION
set -euo pipefail
project=$1 cmake=$2 tavo=$3 version=$4
entry=$project/Resources/Linux/com.vrd.tavo.desktop
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

fail() {
    echo "failed: $*" >&2
    exit 1
}

complaints=$(desktop-file-validate "$entry" 2>&1) || fail "the entry is invalid: $complaints"
[ -z "$complaints" ] || fail "about the entry: $complaints"
# By this an X11 desktop knows whose windows they are: Qt names their class after the program.
grep -qx StartupWMClass=tavo "$entry" || fail "an X11 desktop does not know whose windows they are"

# Each action calls the app with an option that it has.
options=$(QT_QPA_PLATFORM=offscreen "$tavo" --help)
actions=$(sed -n 's/^Actions=//p' "$entry" | tr ';' ' ')
[ "$actions" = "enable pause settings " ] || fail "the actions are $actions"
for action in $actions; do
    command=$(sed -n "/^\[Desktop Action $action\]/,/^\[/s/^Exec=//p" "$entry")
    [[ $command =~ ^tavo\ (--[a-z]+)$ ]] || fail "$action runs '$command'"
    grep -qE -- "^ +${BASH_REMATCH[1]}( |$)" <<<"$options" || fail "tavo has no option ${BASH_REMATCH[1]}"
done

metainfo=$folder/com.vrd.tavo.metainfo.xml
# write [HOMEPAGE]
write() {
    "$cmake" -D SOURCE="$project/Resources/Linux/com.vrd.tavo.metainfo.xml" -D OUTPUT="$metainfo" -D HOMEPAGE="${1-}" \
        -P "$project/cmake/MetaInfo.cmake" 2>"$folder/errors"
}
# expectValid WHAT: no error, no warning and no remark about the metainfo.
expectValid() {
    local words
    words=$(LC_ALL=C.UTF-8 appstreamcli validate --no-net --no-color "$metainfo" 2>&1) || fail "the metainfo $1: $words"
    ! grep -qE '^[EWI]:' <<<"$words" || fail "about the metainfo $1: $words"
}
value() { xmllint --xpath "string($1)" "$metainfo"; }
count() { xmllint --xpath "count($1)" "$metainfo"; }

write || fail "$(cat "$folder/errors")"
expectValid "without a homepage"
[ "$(value //launchable)" = com.vrd.tavo.desktop ] || fail "it launches $(value //launchable)"
[ "$(value '//release[1]/@version')" = "$version" ] || fail "$version is not the first of the releases"
[ "$(count '//screenshot')" = 0 ] || fail "there are addresses of pictures without a homepage"

# The pictures that it names are there.
write https://example.org/tavo || fail "$(cat "$folder/errors")"
expectValid "with a homepage"
[ "$(value //url)" = https://example.org/tavo ] || fail "the homepage is $(value //url)"
[ "$(count '//screenshot')" -gt 0 ] || fail "there are no pictures"
for address in $(xmllint --xpath '//image/text()' "$metainfo"); do
    [ -s "$project/${address#https://example.org/tavo/}" ] || fail "there is no picture at $address"
done

for homepage in example.org http://example.org/ 'https://example.org/"' https://; do
    ! write "$homepage" || fail "'$homepage' is taken for an address"
    grep -q TAVO_HOMEPAGE "$folder/errors" || fail "the error names nothing: $(cat "$folder/errors")"
done
