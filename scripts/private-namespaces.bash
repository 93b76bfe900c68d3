# Shared by with-logind and in-machine, which source it: a place that ends with everything in it.
#
# What runs there has a process and a mount namespace and a /run of its own. The kernel ends every process of a process
# namespace with its first one, so nothing is left behind even when these scripts are killed outright.

# Their exit status when they cannot do their work at all; ctest takes the one for a missing privilege as "skipped".
readonly cannotRun=125 notRoot=77

complain() { echo "$(basename "$0"): $*" >&2; }

requireRoot() {
    [ "$(id -u)" -eq 0 ] && return
    complain "root is needed to $1; run it as root, for example with sudo."
    exit "$notRoot"
}

requirePrograms() {
    local program
    for program in "$@"; do
        command -v "$program" >/dev/null && continue
        complain "$program is missing; scripts/bootstrap installs it."
        exit "$cannotRun"
    done
}

# waitUntil SECONDS COMMAND...: tries COMMAND every 20 ms; fails when it still fails after SECONDS.
waitUntil() {
    local deadline=$((${EPOCHREALTIME/./} + $1 * 1000000))
    shift
    until "$@"; do
        [ "${EPOCHREALTIME/./}" -lt "$deadline" ] || return 1
        sleep 0.02
    done
}

endPrivateInit() {
    local init
    # Killing the first process, and not only the one that waits for it, so that all have ended before this script does.
    if init=$(pgrep -P "$privateParent"); then kill -KILL "$init"
    else kill -KILL "$privateParent"; fi 2>/dev/null
    wait "$privateParent" 2>/dev/null
}

# runPrivately COMMAND...: runs COMMAND as the first process of such a place and returns its exit status; on SIGINT, SIGTERM
# and SIGHUP ends the place and exits. A function `afterwards`, when there is one, is called in either case.
runPrivately() {
    local status=0
    # A shell without job control starts what it sends to the background with SIGINT and SIGQUIT ignored, for good.
    env --default-signal=INT,QUIT setpriv --pdeathsig KILL \
        unshare --mount --pid --fork --kill-child=KILL --mount-proc -- "$@" <&0 &
    privateParent=$!
    trap 'endPrivateInit; finishPrivately 129' HUP
    trap 'endPrivateInit; finishPrivately 130' INT
    trap 'endPrivateInit; finishPrivately 143' TERM
    wait "$privateParent" || status=$?
    finishPrivately "$status"
}

finishPrivately() {
    trap '' HUP INT TERM
    ! declare -F afterwards >/dev/null || afterwards
    exit "$1"
}

# To be called first inside: a /run that nobody else sees.
makePrivateRun() {
    mount -t tmpfs -o mode=0755,nosuid,nodev tmpfs /run
    mkdir -m 1777 /run/lock
    # These would lead clients past the buses and folders made here.
    unset DBUS_SYSTEM_BUS_ADDRESS DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR XDG_SESSION_ID XDG_SEAT XDG_VTNR
}
