# The manual pages are well-formed, and say what the programs' --help says, no more and no less: every command, option and
# argument under its command, every example, exit status and setting. Usage: ManualPages.bash PAGES TAVOCTL HELPER [TAVO]
set -euo pipefail
pages=$1 tavoctl=$2 helper=$3 tavo=${4-}
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

fail() {
    echo "failed: $*" >&2
    exit 1
}

# same NAME: the files NAME.help and NAME.page have the same lines.
same() {
    sort -o "$folder/$1.help" "$folder/$1.help"
    sort -o "$folder/$1.page" "$folder/$1.page"
    [ -s "$folder/$1.help" ] || fail "$1: nothing was found to compare"
    diff "$folder/$1.help" "$folder/$1.page" >"$folder/difference" ||
        fail "$1: the help (<) and the page (>) differ: $(cat "$folder/difference")"
}

# helpItems PROGRAM [COMMAND...]: what its help lists, each line after the command and a bar; then the commands within it.
helpItems() {
    local program=$1 command
    shift
    "$program" "$@" --help | awk -v command="$*" '
        /^Example: / { print command "|" substr($0, 10) }
        /^[A-Z].*:$/ { group = $0 }
        # Also of a help without headings.
        !/^  [^ ]/ || group ~ /^(Commands|Examples|Exit status):$/ { next }
        { sub(/^  /, ""); sub(/  .*/, ""); sub(/\.\.\.$/, ""); print command "|" $0 }'
    for command in $("$program" "$@" --help | awk '/^[A-Z].*:$/ { group = $0 } group == "Commands:" && /^  [^ ]/ { print $1 }'); do
        echo "${*:+$* }$command|is a command"
        helpItems "$program" "$@" "$command"
    done
}

# pageItems PAGE: the same of a page. Options stand in OPTIONS, and those of a command in its part of COMMANDS.
pageItems() {
    awk '
        /^\.Sh / { section = substr($0, 5); command = "" }
        section != "OPTIONS" && section != "COMMANDS" { next }
        /^\.Ss / && section == "COMMANDS" { command = substr($0, 5); print command "|is a command" }
        /^\.Dl / && section == "COMMANDS" { line = substr($0, 5); gsub(/\\-/, "-", line); print command "|" line }
        /^\.It (Fl|Ar) / {
            label = ""
            count = split(substr($0, 5), words, " ")
            for (i = 1; i <= count; i++) {
                if (words[i] == ",") { label = label ","; continue }
                macro = words[i++]
                label = label (label == "" ? "" : " ") (macro == "Fl" ? "-" : "") words[i]
            }
            print command "|" label
        }' "$1"
}

for page in "$pages"/*.[158]; do
    complaints=$(mandoc -T lint -W warning "$page") || fail "mandoc says: $complaints"
    complaints=$(LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null) || fail "man cannot read $page"
    [ -z "$complaints" ] || fail "man says of $page: $complaints"
    # The pages of this project that it refers to.
    while read -r name section; do
        [ -e "$pages/$name.$section" ] || fail "$page refers to $name($section)"
    done < <(sed -nE 's/^\.Xr ([Tt]avo[A-Za-z-]*) ([0-9]).*/\1 \2/p' "$page")
done

helpItems "$tavoctl" >"$folder/all"
[ "$(grep -c '|is a command$' "$folder/all")" -gt 20 ] || fail "the help has few commands"
# Every command takes these two; the page says so once. A command that only has others within it takes no folder.
while IFS='|' read -r command _; do
    grep -qxF "$command|-h, --help" "$folder/all" || fail "$command has no --help"
    grep -qxF "$command|--root DIR" "$folder/all" || grep -q "^$command [a-z]*|is a command$" "$folder/all" ||
        fail "$command has no --root"
done < <(grep '|is a command$' "$folder/all")
grep -vE '^[^|]+\|(-h, --help|--root DIR)$' "$folder/all" >"$folder/tavoctl.help"
pageItems "$pages/tavoctl.1" >"$folder/tavoctl.page"
same tavoctl

helpItems "$helper" | grep -v '^|TavoPrivilegedHelper ' >"$folder/TavoPrivilegedHelper.help"
pageItems "$pages/TavoPrivilegedHelper.8" >"$folder/TavoPrivilegedHelper.page"
same TavoPrivilegedHelper

if [ -n "$tavo" ]; then
    helpItems "$tavo" | grep -v '^|tavo ' >"$folder/tavo.help"
    pageItems "$pages/tavo.1" >"$folder/tavo.page"
    same tavo
fi

exitStatuses() { awk '/^\.Sh / { inside = $0 == ".Sh EXIT STATUS" } inside && /^\.It / { print $2 }' "$1"; }
"$tavoctl" --help | awk '/^[^ ]/ { inside = $0 == "Exit status:" } inside && /^  / { print $1 }' >"$folder/statuses.help"
exitStatuses "$pages/tavoctl.1" >"$folder/statuses.page"
same statuses
for page in tavo.1 TavoPrivilegedHelper.8; do
    for status in $(exitStatuses "$pages/$page"); do
        grep -qx "$status" "$folder/statuses.help" || fail "$page has an exit status $status of its own"
    done
done

mkdir "$folder/empty"
"$tavoctl" --root "$folder/empty" get | sed 's/ = .*//' >"$folder/settings.help"
sed -n 's/^\.It Va //p' "$pages/tavo-config.5" >"$folder/settings.page"
same settings
"$tavoctl" --root "$folder/empty" get --json >"$folder/defaults.json"
awk '/^\.Ed/ { exit } inside { print } /^\.Bd -literal/ { inside = 1 }' "$pages/tavo-config.5" >"$folder/defaults.page"
diff "$folder/defaults.json" "$folder/defaults.page" >&2 || fail "the defaults of tavo-config(5) are not those of tavoctl get --json"
