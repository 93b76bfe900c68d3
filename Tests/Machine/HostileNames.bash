# Processes that call themselves what they like, with as many arguments as the system takes: they are matched, and steer
# neither a terminal nor a reader of JSON.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things

root=$(mktemp -d)/tavo
folder=$(mktemp -d)
tavoctl() { "$TAVO_BIN/tavoctl" "$@" --root "$root"; }
cp "$(command -v sleep)" "$folder/sleeper"
started=()
atExit 'kill "${started[@]}" 2>/dev/null'

# startAs NAME FIRST ARGUMENT...: a program with NAME in the process table and these arguments, which ignores all but the
# first; FIRST is the name that it gives itself.
cat >"$folder/hostile" <<'SCRIPT'
printf '%s' "$1" >/proc/self/comm
read -r _
SCRIPT
mkfifo "$folder/never"
exec 8<>"$folder/never"
startAs() {
    (exec -a "$2" /bin/bash "$folder/hostile" "$@" <&8 8>&-) &
    started+=($!)
}
hasName() { [ "$(tr -d '\0' <"/proc/${started[-1]}/comm")" != bash ]; }

# checkTexts WHAT: no control character but the line feed of each line reaches a terminal, and JSON is as the schemas say.
checkTexts() {
    local command text
    for command in status explain 'processes --command needle' history; do
        # shellcheck disable=SC2086
        text=$(tavoctl $command)
        ! grep -qP '[\x00-\x08\x0b-\x1f\x7f]' <<<"$text" || fail "$1: $command prints control characters"
        iconv -f utf-8 -t utf-8 <<<"$text" >/dev/null || fail "$1: $command prints no utf-8"
    done
    for command in status explain; do
        printedJson "$command" --root "$root" >/dev/null || fail "$1: the json of $command"
    done
}

tavoctl match --command needle >/dev/null
tavoctl enable >/dev/null
beginRun "$root"
expectHeld ''
startAs $'a\nb' $'nee\nfirst' $'line feed\nneedle\ttab'
expectWithin "$soon" hasName
reevaluate
expectHeld 'sleep:idle block'
checkTexts 'line feeds'
startAs $'\e[31m\a' $'\e]0;title\a' $'\e[2J needle \x9b31m'
startAs $'\xff\xfe' $'\xc3\x28' $'needle \xf0\x28\x8c\x28 \xed\xa0\x80'
startAs $'\u202enam' $'\u202e' $'needle \u202e\u2066 \u200b'
expectWithin "$soon" hasName
reevaluate
checkTexts 'control sequences and malformed bytes'

# 2 MiB of arguments: the system takes 128 KiB for each, and a quarter of the stack for all.
arguments=()
for ((number = 0; number < 15; ++number)); do
    arguments+=("$(head -c 130000 /dev/zero | tr '\0' $'\e')")
done
startAs long long "${arguments[@]}" 'needle at the end'
expectWithin "$soon" hasName
(($(wc -c <"/proc/${started[-1]}/cmdline") > 1900000)) || fail "the arguments did not arrive"
kill "${started[@]::4}"
for process in "${started[@]::4}"; do expectWithin "$soon" hasEnded "$process"; done
reevaluate
knowsLong() { grep -q '"executableName": "long"' "$root/state.json"; }
expectWithin 20 knowsLong
holds tavo 'sleep:idle block' || fail "2 MiB of arguments are not matched"
checkTexts '2 MiB of arguments'
(($(tavoctl status | wc -c) < 10000)) || fail "the status prints $(tavoctl status | wc -c) bytes"
kill "${started[-1]}"
expectHeld ''
endRun TERM
