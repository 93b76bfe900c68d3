# Each shell itself is asked what it would complete, with the scripts as they are installed. Some of the running processes
# have names that a shell would execute. Usage: Completions.bash CMAKE BUILD FOLDER_OF_PROGRAMS COMPONENT...
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../scripts/waiting.bash"
cmake=$1 build=$2 components=("${@:4}")
export PATH=$3:$PATH LC_ALL=C.UTF-8
folder=$(mktemp -d)
holders=()
cleanUp() {
    [ "${#holders[@]}" -eq 0 ] || kill "${holders[@]}" 2>/dev/null || true
    wait
    rm -r "$folder"
}
trap cleanUp EXIT
cd "$folder"
for component in "${components[@]}"; do
    "$cmake" --install "$build" --prefix "$folder/installed" --component "$component" >/dev/null
done
bashScripts=$folder/installed/share/bash-completion/completions
zshScripts=$(dirname "$(find installed -name _tavoctl)")
fishScripts=$folder/installed/share/fish/vendor_completions.d
export HOME=$folder XDG_CONFIG_HOME=$folder/config
mkdir -p inner/one inner/two config
touch inner/file
mkdir -p 'odd/*' 'odd/two words' 'odd/$(touch executed)'
printf '#!/bin/sh\n' >wakeful-command
chmod +x wakeful-command
PATH=$PATH:$folder

fail() {
    echo "failed: $*" >&2
    exit 1
}

# Processes with names to complete, and with names that must never reach a command line.
for name in 'wakeful' 'wakeful twin' 'wake$(touch executed)' 'wake`touch executed`' "wake';touch executed;'" $'wake\ntouch executed'; do
    cp "$(command -v sleep)" "$folder/$name"
    "$folder/$name" 300 &
    holders+=("$!")
done
hasBecomeProgram() { [[ $(readlink "/proc/$1/exe") == "$folder/wake"* ]]; }
for holder in "${holders[@]}"; do
    waitUntil 20 hasBecomeProgram "$holder" || fail "process $holder did not start"
done

# Each asks NAME WORD...: prints what the shell offers for the last word, a line each.
cat >ask.bash <<'EOF'
[ -z "${BASH_COMPLETION-}" ] || source "$BASH_COMPLETION"
source "$1/$2"; shift
# Asked with bash's own words, parted as it parts them.
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
registered=$(complete -p "$1")
[[ $registered =~ -F\ ([^ ]+) ]]
"${BASH_REMATCH[1]}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" || true
printf '%s\n' "${COMPREPLY[@]}"
EOF
askBash() { bash --norc ask.bash "$bashScripts" "$@"; }

cat >inner.zsh <<'EOF'
fpath=($SCRIPTS $fpath)
autoload -Uz compinit
compinit -u -D
compadd() {
    # Some calls only ask what would match.
    local -a asked=(${(M)argv:#-[OAD]}) hits
    if (( $#asked == 0 )); then
        builtin compadd -A hits "$@"
        print -rl -- $hits >>added
    fi
    builtin compadd "$@"
}
finish() { print -r -- "<end>" }
zle -N finish
bindkey "^X" finish
print -r -- "<ready>"
EOF
cat >ask.zsh <<'EOF'
# A shell on a terminal of its own, whose completion writes down what it adds.
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell ". ./inner.zsh"
zpty -r -m shell output '*<ready>*'
zpty -n -w shell "$1"$'\t\C-X'
zpty -r -m shell output '*<end>*'
zpty -d shell
EOF
askZsh() {
    local words
    printf -v words '%s ' "$@"
    : >added
    SCRIPTS=$folder/$zshScripts zsh -f ask.zsh "${words% }"
    cat added
}

askFish() {
    local words
    printf -v words '%s ' "$@"
    fish --no-config -c 'set -p fish_complete_path $argv[1]; complete -C $argv[2]' "$fishScripts" "${words% }" | cut -f 1
}

# expect SHELL "WORDS" CANDIDATE...: exactly these, in any order.
expect() {
    local shell=$1 line=$2 words
    IFS=' ' read -ra words <<<"$line"
    [[ $line != *' ' ]] || words+=("")
    shift 2
    diff <(printf '%s\n' "$@" | sed '/^$/d' | sort) <("ask$shell" "${words[@]}" | sed '/^$/d' | sort -u) >difference ||
        fail "$shell completes \"$line\" otherwise (> is what it says): $(cat difference)"
    [ ! -e executed ] || fail "$shell ran a process's name at \"$line\""
}

for shell in Bash Zsh Fish; do
    twin='wakeful\ twin'
    [ "$shell" != Fish ] || twin='wakeful twin'
    expect $shell "tavoctl st" status
    expect $shell "tavoctl helper " status install uninstall reset
    expect $shell "tavoctl preset c" codex claudeCode cursor
    expect $shell "tavoctl run --preset cl" claudeCode
    expect $shell "tavoctl run --while" --while-working
    expect $shell "tavoctl set batteryC" batteryCutoffPercent
    expect $shell "tavoctl set powerSourcePolicy a" any acOnly
    expect $shell "tavoctl login o" on off
    expect $shell "tavoctl match --executable wake" wakeful "$twin"
    expect $shell "tavoctl run --pid ${holders[0]}" "${holders[0]}"
    expect $shell "tavoctl exec --power ac -- wakeful-com" wakeful-command
    expect $shell "tavoctl bogus "
    [[ " ${components[*]} " != *" tavo "* ]] || expect $shell "tavo --hi" --hidden
done
expect Bash "tavoctl run --power = a" any ac
expect Bash "tavoctl run --power=a" any ac
expect Zsh "tavoctl run --power=a" --power=any --power=ac
expect Fish "tavoctl run --power=a" --power=any --power=ac
expect Bash "tavoctl status --root inner/" inner/one inner/two
expect Bash "tavoctl status --root odd/" 'odd/*' 'odd/two words' 'odd/$(touch executed)'
expect Zsh "tavoctl status --root inner/" one two
expect Fish "tavoctl status --root inner/" inner/one/ inner/two/
expect Bash "tavoctl exec -- ls inner/f" inner/file
# With the package bash-completion the command's own completion comes after the dashes.
export BASH_COMPLETION=/usr/share/bash-completion/bash_completion
[ -r "$BASH_COMPLETION" ] || fail "the package bash-completion is missing"
expect Bash "tavoctl exec -- wakeful-com" wakeful-command
expect Bash "tavoctl exec -- tavoctl st" status
expect Zsh "tavoctl exec -- ls inner/f" file
expect Fish "tavoctl exec -- ls inner/f" inner/file
