# Shared by the probes that are scripts, which source it first:
#
#   . "$(dirname "$0")/../probe.bash"
#
# It takes a probe's arguments, the folder of the built programs and maybe --short, into $programs and $isShort (yes or no).
# $work is a folder that goes with the probe, and every process whose id was added to `started` ends with it.
set -euo pipefail
benchmarks=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# waitUntil SECONDS COMMAND..., hasEnded PID
# shellcheck source=scripts/waiting.bash
. "$benchmarks/../scripts/waiting.bash"

readonly cannotMeasure=77

complain() { echo "$(basename "$0"): $*" >&2; }

# excuse SENTENCE: it cannot be measured here.
excuse() {
    complain "$*"
    exit "$cannotMeasure"
}

give() {
    complain "$*"
    exit 1
}

[ $# -ge 1 ] || give "the folder of the built programs is needed."
programs=$(cd "$1" && pwd)
isShort=no
[ "${2-}" != --short ] || isShort=yes

# needs PROGRAM...: of the build, or of the system.
needs() {
    local program
    for program in "$@"; do
        [ -x "$programs/$program" ] || command -v "$program" >/dev/null || excuse "$program is missing."
    done
}

# withLogind PROBE_ARGUMENTS...: runs the probe again with a logind that nobody else uses.
withLogind() {
    [ -z "${TAVO_PROBE_LOGIND-}" ] || return 0
    [ "$(uname -s)" = Linux ] || excuse "there is no logind on this system."
    [ "$(id -u)" -eq 0 ] || excuse "root is needed, to start a logind of its own."
    TAVO_PROBE_LOGIND=yes exec "$benchmarks/../scripts/with-logind" "$0" "$@"
}

started=()
work=$(mktemp -d)
finish() {
    local index
    for ((index = ${#started[@]} - 1; index >= 0; --index)); do
        kill "${started[index]}" 2>/dev/null || true
        wait "${started[index]}" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap finish EXIT

# begin COMMAND...: starts it in the background; its process id is in $begun.
begin() {
    "$@" >"$work/out" 2>"$work/err" </dev/null &
    begun=$!
    started+=("$begun")
}

# end PID: ends what was begun.
end() {
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}

# childOf PID: its first child.
childOf() { pgrep -P "$1" | head -n 1; }
hasChild() { [ -n "$(childOf "$1")" ]; }

# median VALUE...
median() { printf '%s\n' "$@" | sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'; }

# result ROW SIDE VALUE UNIT
result() { printf '%s\t%s\t%s\t%s\n' "$@"; }

# proportionalKiB PID...: together.
proportionalKiB() {
    local process files=()
    for process in "$@"; do files+=("/proc/$process/smaps_rollup"); done
    awk '$1 == "Pss:" { sum += $2 } END { print sum }' "${files[@]}"
}
