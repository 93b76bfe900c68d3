# Completion of tavoctl and tavo for bash 3.2 and later. It knows nothing itself: tavoctl says what can come next.
_tavoctl_offer() {
    local candidate
    while IFS= read -r candidate; do
        [ -z "$candidate" ] || COMPREPLY[${#COMPREPLY[@]}]=$candidate
    done
}
_tavoctl() {
    local kind answer
    COMPREPLY=()
    answer=$(command tavoctl --complete bash "${1##*/}" "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    kind=${answer%%$'\n'*}
    case $kind in
        words) _tavoctl_offer <<<"${answer#words}" ;;
        folders)
            # From bash 4 on, what it inserts is quoted like any file name.
            compopt -o filenames 2>/dev/null || true
            _tavoctl_offer <<<"$(compgen -d -- "$2")" ;;
        "command "*)
            if type _command_offset >/dev/null 2>&1; then
                _command_offset "${kind#command }"
            elif [ "${kind#command }" -eq "$COMP_CWORD" ]; then
                _tavoctl_offer <<<"$(compgen -c -- "$2")"
            else
                compopt -o filenames 2>/dev/null || true
                _tavoctl_offer <<<"$(compgen -f -- "$2")"
            fi ;;
    esac
}
complete -F _tavoctl tavoctl tavo
