# Shared by the scenarios. They run in the namespace that rehearse makes.
set -euo pipefail
. /scripts/waiting.bash

fail() {
    echo "failed: $*" >&2
    echo "the log: $(cat /rehearsal/log 2>/dev/null)" >&2
    exit 1
}
expectWithin() { waitUntil "$@" || fail "not within $1 seconds: ${*:2}"; }
expectEqual() { [ "$1" = "$2" ] || fail "${3:-value}: expected '$1', got '$2'"; }
expectContains() { [[ $1 == *"$2"* ]] || fail "${3:-text}: expected '$2' in '$1'"; }

root="$HOME/Library/Application Support/Tavo"
tavoctl=/Applications/Tavo.app/Contents/Helpers/tavoctl
control() { "$tavoctl" "$@" --root "$root"; }

# printedJson COMMAND ARGUMENTS...: the JSON that a command of tavoctl prints; nothing when its schema does not describe it.
printedJson() {
    local text
    text=$(control "$@" --json) || return
    /schemas/check-json /schemas "$1" <<<"$text" || return
    printf '%s\n' "$text"
}
setPower() { echo "$1 $2" >/rehearsal/power; } # setPower ac|battery PERCENT
setPower ac 80
: >/rehearsal/log
: >/rehearsal/processes

beginRun() {
    "$tavoctl" run "$@" --root "$root" >/rehearsal/out 2>/rehearsal/err </dev/null &
    run=$!
}
reevaluate() { kill -s USR1 "$run"; }
endRun() {
    kill -s TERM "$run"
    wait "$run" || fail "the run did not end properly: $(cat /rehearsal/err)"
}

# expectCalls LINES: exactly these command lines have been called since the last time. The order counts within each
# kind: starts of caffeinate, its ends, and everything else, which Tavo waits for; a caffeinate writes its lines in its
# own time. The table of processes is read at every evaluation, and is left out.
expectCalls() {
    areCalls() {
        local kind
        for kind in '^/usr/bin/caffeinate -' '^/usr/bin/caffeinate ends'; do
            [ "$(grep -e "$kind" /rehearsal/log)" = "$(grep -e "$kind" <<<"$1")" ] || return 1
        done
        [ "$(others </rehearsal/log)" = "$(others <<<"$1")" ]
    }
    others() { grep -v -e '^/usr/bin/caffeinate ' -e '^/bin/ps ' -e '^$' || true; }
    waitUntil 10 areCalls "$1" || fail "expected calls: '$1'"
    : >/rehearsal/log
}

stateSays() { grep -q "\"lastDecisionReason\": \"$1\"" "$root/state.json" 2>/dev/null; }
