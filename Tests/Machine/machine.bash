# Shared by the end-to-end tests. A test sources it first:
#
#   . "$(dirname "$0")/machine.bash"
#
# and ends with a status of 0 (passed), 77 (skipped) or anything else (failed). Programs under test are in $TAVO_BIN.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../scripts" && pwd)
# waitUntil SECONDS COMMAND..., hasEnded PID
# shellcheck source=scripts/waiting.bash
. "$scripts/waiting.bash"

# atExit COMMAND: COMMAND is evaluated when the test ends, also by a signal; the latest one first. A test that sets the
# trap itself replaces those of others.
exitCommands=()
atExit() { exitCommands+=("$1"); }
runExitCommands() {
    local index
    for ((index = ${#exitCommands[@]} - 1; index >= 0; --index)); do eval "${exitCommands[index]}" || true; done
}
trap runExitCommands EXIT

# mktemp makes a test's files in a folder that ends with the test. A test that starts itself again with exec keeps it.
# Other users may pass through.
if [ "${testFolder-}" != "$$:${TMPDIR-}" ]; then
    TMPDIR=$(mktemp -d)
    chmod 711 "$TMPDIR"
    export TMPDIR testFolder="$$:$TMPDIR"
fi
atExit 'rm -rf --one-file-system "$TMPDIR"'

fail() {
    echo "failed: $*" >&2
    exit 1
}

# expectEqual EXPECTED ACTUAL [WHAT]
expectEqual() { [ "$1" = "$2" ] || fail "${3:-value}: expected '$1', got '$2'"; }

# expectContains TEXT PART [WHAT]
expectContains() { [[ $1 == *"$2"* ]] || fail "${3:-text}: expected '$2' in '$1'"; }

# expectWithin SECONDS COMMAND...: fails when COMMAND does not succeed in time.
expectWithin() { waitUntil "$@" || fail "not within $1 seconds: ${*:2}"; }

# expectNeverWithin SECONDS COMMAND...: fails as soon as COMMAND succeeds.
expectNeverWithin() { ! waitUntil "$@" || fail "should not have happened within $1 seconds: ${*:2}"; }

# expectStatus STATUS COMMAND...: runs COMMAND, which must end with STATUS.
expectStatus() {
    local actual=0
    "${@:2}" || actual=$?
    expectEqual "$1" "$actual" "exit status of ${*:2}"
}

not() { ! "$@"; }

# checkJson SCHEMA [--lines]: whether standard input is JSON that this schema of docs/schema describes in full; with
# --lines, a JSON text on every line.
checkJson() { "$TAVO_BIN/check-json" "$(dirname "${BASH_SOURCE[0]}")/../../docs/schema" "$@"; }

# printedJson COMMAND ARGUMENTS...: the JSON that a command of tavoctl prints; nothing when its schema does not describe
# it. "get" with a key has a schema of its own. $tavoctl may name another program than the one under test.
printedJson() {
    local text schema=$1
    case $1 in
        helper) schema=helper-$2 ;;
        get) [[ ${2-} == [!-]* ]] && schema=get-key ;;
    esac
    text=$("${tavoctl:-$TAVO_BIN/tavoctl}" "$@" --json) || return
    checkJson "$schema" <<<"$text" || return
    printf '%s\n' "$text"
}

hasContent() { [ -s "$1" ]; }

callLogind() {
    busctl call org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager "$@"
}

# heldBy WHO: one line for each lock that logind lists for WHO, "WHAT MODE", sorted; WHAT is in logind's own order, as
# in "sleep:idle block". Nothing when there is none.
heldBy() {
    # The reply is the type, a count, and what, who, why, mode, uid and pid of each lock, strings quoted and escaped.
    local token tokens=() index
    while read -r token; do tokens+=("$token"); done < <(
        callLogind ListInhibitors | grep -oE '"([^"\\]|\\.)*"|[0-9]+')
    [ ${#tokens[@]} -gt 0 ] || fail "logind does not list its locks"
    for ((index = 1; index < ${#tokens[@]}; index += 6)); do
        [ "${tokens[index + 1]}" != "\"$1\"" ] || echo "${tokens[index]//\"/} ${tokens[index + 3]//\"/}"
    done | sort
}

heldByTavo() { heldBy tavo; }

# holds WHO LOCKS: whether exactly LOCKS (as heldBy prints them; empty for none) are held.
holds() { [ "$(heldBy "$1")" = "$2" ]; }

# logindProperty NAME: as busctl prints it, without the type.
logindProperty() {
    local value
    value=$(busctl get-property org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager "$1")
    echo "${value#* }"
}

# The functions below change the system that they run on.
requireMachine() {
    [ "$(systemd-detect-virt --container)" = systemd-nspawn ] || fail "$1 is for scripts/in-machine alone"
}

# sharePrograms: from now on TAVO_BIN is a copy of the programs that every user can reach. The build folder may lie
# below one that others may not enter, as homes often are.
sharePrograms() {
    local shared program
    shared=$(mktemp -d)
    for program in tavo tavoctl tavo-inhibit TavoPrivilegedHelper helper-client send-uevent accessible-tree stand-in-tray-host \
        check-json; do
        # A build without the desktop app has neither it nor the programs of its tests.
        [ ! -e "$TAVO_BIN/$program" ] || cp "$TAVO_BIN/$program" "$shared"
    done
    chmod -R a+rX "$shared"
    TAVO_BIN=$shared
}

# createUser NAME: an ordinary account with a home folder, and programs that it can run.
createUser() {
    requireMachine createUser
    useradd --create-home --shell /bin/bash "$1"
    sharePrograms
}

asService() {
    local user=$1
    shift
    # The variables that are set now; systemd-run takes the values from its own environment.
    local variables=() name
    for name in TAVO_BIN PATH; do [ -z "${!name+set}" ] || variables+=("--setenv=$name"); done
    systemd-run --quiet --pipe --wait --collect --working-directory=/ --uid="$user" "${variables[@]}" "$@"
}

# runInSession USER COMMAND...: runs COMMAND as USER at the seat, in an active local session (as a desktop login is; of
# the type that $sessionType says, x11 when it says none) that lasts as long as COMMAND; it has XDG_RUNTIME_DIR and a
# user's service manager. Another user's session that is there already stays the active one. A container's seat has no
# virtual terminals: logind refuses a session that names one, and makes the first session of such a seat the active one.
runInSession() {
    requireMachine runInSession
    asService "$1" --property=PAMName=login --setenv=XDG_SEAT=seat0 \
        --setenv=XDG_SESSION_TYPE="${sessionType:-x11}" --setenv=XDG_SESSION_CLASS=user -- "${@:2}"
}

# runWithoutSession USER COMMAND...: runs COMMAND as USER, as a cron job or a system service with User= would be.
runWithoutSession() {
    requireMachine runWithoutSession
    asService "$1" -- "${@:2}"
}

# configureLogind LINE...: gives logind these lines of its [Login] section, in place of those of an earlier call, and
# restarts it. Locks survive that.
configureLogind() {
    requireMachine configureLogind
    mkdir -p /run/systemd/logind.conf.d
    printf '%s\n' '[Login]' "$@" >/run/systemd/logind.conf.d/50-test.conf
    systemctl restart systemd-logind.service
}

# prepareSuspendRecorder FILE: from now on the machine believes that it can suspend, and a suspend is one more line in
# FILE with the time since boot in seconds, nothing else.
prepareSuspendRecorder() {
    requireMachine prepareSuspendRecorder
    # The /sys of systemd-nspawn is a file system in memory, without /sys/power; the kernel's own is out of reach.
    expectEqual tmpfs "$(stat -f -c %T /sys)" "file system of /sys"
    mount -o remount,rw /sys
    mkdir /sys/power
    mount -o remount,ro /sys
    # A mount reaches logind, which has a mount namespace of its own with the read-only /sys in it.
    mount -t tmpfs -o mode=0755 tmpfs /sys/power
    echo 'freeze mem' >/sys/power/state
    echo 's2idle [deep]' >/sys/power/mem_sleep
    cat >/run/systemd/system/systemd-suspend.service <<UNIT
[Unit]
DefaultDependencies=no
Requires=sleep.target
After=sleep.target
[Service]
Type=oneshot
ExecStart=/bin/sh -c 'cut -d " " -f 1 /proc/uptime >>"$1"'
UNIT
    systemctl daemon-reload
    expectEqual 's "yes"' "$(callLogind CanSuspend)" CanSuspend
}

# suspendWhenIdle SECONDS: logind suspends a machine that nobody has used for SECONDS. One without sessions is idle
# since it booted, or since the last idle lock went; an open session must be marked idle.
suspendWhenIdle() { configureLogind IdleAction=suspend "IdleActionSec=$1s"; }

# markSessionsIdle: marks every graphical session idle, as its desktop does when nobody uses it.
markSessionsIdle() {
    requireMachine markSessionsIdle
    local session
    for session in $(loginctl list-sessions --no-legend | awk '{ print $1 }'); do
        # A user's service manager has a session as well, which cannot be idle.
        case $(loginctl show-session --property=Type --value "$session") in x11 | wayland) ;; *) continue ;; esac
        busctl call org.freedesktop.login1 "$(callLogind GetSession s "$session" | cut -d '"' -f 2)" \
            org.freedesktop.login1.Session SetIdleHint b true
    done
}

# hasSuspended FILE COUNT: whether FILE of prepareSuspendRecorder has COUNT suspends or more. To be polled: logind lets
# its idle timer come up to 30 seconds late, unless something else wakes it, and this does.
hasSuspended() {
    logindProperty IdleHint >/dev/null
    [ -e "$1" ] && [ "$(wc -l <"$1")" -ge "$2" ]
}

# presentPowerSupplies FOLDER: shows FOLDER as /sys/class/power_supply. An empty one is a computer without a battery.
presentPowerSupplies() {
    requireMachine presentPowerSupplies
    mount --bind "$1" /sys/class/power_supply
    # The folder may be one that goes with this test, and nothing can be mounted over one that has gone.
    atExit 'umount --lazy /sys/class/power_supply'
}

# presentLaptop: shows a mains adapter and a battery, charging at 80 percent, which setPower changes.
presentLaptop() {
    laptopSupplies=$(mktemp -d)
    chmod 755 "$laptopSupplies"
    mkdir "$laptopSupplies/AC" "$laptopSupplies/BAT0"
    echo Mains >"$laptopSupplies/AC/type"
    echo Battery >"$laptopSupplies/BAT0/type"
    setPower 1 Charging 80
    presentPowerSupplies "$laptopSupplies"
}

# setPower ONLINE STATUS PERCENT
setPower() {
    echo "$1" >"$laptopSupplies/AC/online"
    echo "$2" >"$laptopSupplies/BAT0/status"
    echo "$3" >"$laptopSupplies/BAT0/capacity"
}

# How many seconds an immediate effect may take on a busy machine.
soon=3

# beginRun ROOT ARGUMENTS...: starts "tavoctl run" in the background, with its files in the folder ROOT. Its process id
# is in $run; its output goes to ROOT.out and ROOT.err.
beginRun() {
    local root=$1
    shift
    "$TAVO_BIN/tavoctl" --root "$root" run "$@" >"$root.out" 2>"$root.err" </dev/null &
    run=$!
}

# endRun SIGNAL: ends $run, which must end properly.
endRun() {
    kill -s "$1" "$run"
    local status=0
    wait "$run" || status=$?
    expectEqual 0 "$status" "exit status after SIG$1"
}

# reevaluate: has $run evaluate at once.
reevaluate() { kill -s USR1 "$run"; }

# stateSays ROOT REASON: whether the last decision in ROOT/state.json is REASON.
stateSays() { grep -q "\"lastDecisionReason\": \"$2\"" "$1/state.json" 2>/dev/null; }

# inhibitorOf PID: the process that holds the lock for PID.
inhibitorOf() { ps -o pid= --ppid "$1" | tr -d ' '; }

# expectHeld LOCKS: exactly LOCKS are held by Tavo before long; none when LOCKS is empty.
expectHeld() { expectWithin "$soon" holds tavo "$1"; }
