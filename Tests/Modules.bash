# The picture of the modules in docs/architecture.md is that of the sources: what a module includes is drawn, or follows from
# what is drawn; each arrow stands for an include; and no arrow leads back. Usage: Modules.bash PROJECT
set -euo pipefail
cd "$1"

fail() {
    echo "failed: $*" >&2
    exit 1
}

picture=$(awk '/^```mermaid/ { inside = !done; next } /^```/ { if (inside) done = 1; inside = 0 } inside' docs/architecture.md)
declare -A folderOf=() arrows=()
while IFS= read -r line; do
    if [[ $line =~ ([a-z]+)\[\"\<b\>([A-Za-z/]+)\</b\> ]]; then
        folderOf[${BASH_REMATCH[1]}]=${BASH_REMATCH[2]}
    fi
    [[ $line == *'->'* ]] || continue
    from=$(sed -E 's/^ *([a-z]+).*/\1/' <<<"$line")
    for to in $(sed -E 's/.*->//; s/[^a-z ]/ /g' <<<"$line"); do
        arrows["$from $to"]=1
    done
done <<<"$picture"
[ "${#folderOf[@]}" -gt 8 ] || fail "the picture has ${#folderOf[@]} modules"

# leadsTo FROM TO: over any number of arrows.
leadsTo() {
    local arrow
    [ -z "${arrows["$1 $2"]-}" ] || return 0
    for arrow in "${!arrows[@]}"; do
        [ "${arrow% *}" != "$1" ] || ! leadsTo "${arrow#* }" "$2" || return 0
    done
    return 1
}
for module in "${!folderOf[@]}"; do
    ! leadsTo "$module" "$module" || fail "an arrow leads back to $module"
done

# includesOf FOLDER: the first folders of what its files include.
includesOf() {
    local prefix=Sources/
    [ ! -d "Sources/TavoApp/$1" ] || prefix=Sources/TavoApp/
    find "$prefix$1" -name '*.h' -o -name '*.cpp' -o -name '*.mm' | grep -v "^$prefix$1/views/" |
        xargs sed -nE 's/^#(include|import) "(app\/views|[A-Za-z]+)\/.*/\2/p' | sort -u
}
declare -A included=()
for module in "${!folderOf[@]}"; do
    for folder in $(includesOf "${folderOf[$module]}"); do
        for other in "${!folderOf[@]}"; do
            [ "${folderOf[$other]}" = "$folder" ] && [ "$other" != "$module" ] || continue
            included["$module $other"]=1
            leadsTo "$module" "$other" || fail "${folderOf[$module]} includes $folder, and no arrow says so"
        done
    done
done
for arrow in "${!arrows[@]}"; do
    [ -n "${included["$arrow"]-}" ] || fail "nothing of ${folderOf[${arrow% *}]} includes ${folderOf[${arrow#* }]}"
done
