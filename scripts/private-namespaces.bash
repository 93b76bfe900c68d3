# Shared by with-logind and in-machine, which source it: runs a command in private namespaces that end with everything
# in them.
#
# The command has a process and a mount namespace and a /run of its own. The kernel ends every process of a process
# namespace with its first one, so nothing is left behind even when these scripts are killed outright.

# shellcheck source=scripts/waiting.bash
. "$(dirname "${BASH_SOURCE[0]}")/waiting.bash"

# The scripts' exit statuses when they cannot work at all; ctest takes the one for a missing privilege as "skipped".
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

# Ends the namespaces and waits for that: the first process is gone, or a zombie, only after all the others.
endPrivately() {
    local init
    init=$(pgrep -P "$privateParent") || true
    kill -KILL "$privateParent" ${init:+"$init"} 2>/dev/null || true
    wait "$privateParent" 2>/dev/null || true
    [ -z "$init" ] || waitUntil 10 hasEnded "$init" || complain "process $init does not end"
}

# runPrivately COMMAND...: runs COMMAND as the first process of new namespaces and returns its exit status; on SIGINT,
# SIGTERM and SIGHUP ends them and exits. A function `afterwards`, when there is one, is called in either case.
runPrivately() {
    local status=0
    # A shell without job control starts background commands with SIGINT and SIGQUIT ignored, permanently.
    env --default-signal=INT,QUIT setpriv --pdeathsig KILL \
        unshare --mount --pid --fork --kill-child=KILL --mount-proc -- "$@" <&0 &
    privateParent=$!
    trap 'endPrivately; finishPrivately 129' HUP
    trap 'endPrivately; finishPrivately 130' INT
    trap 'endPrivately; finishPrivately 143' TERM
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
    # Without --no-mtab, mount makes its own folder in the /run that is not private yet.
    mount --no-mtab -t tmpfs -o mode=0755,nosuid,nodev tmpfs /run
    mkdir -m 1777 /run/lock
    # These would lead clients past the buses and folders made here.
    unset DBUS_SYSTEM_BUS_ADDRESS DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR XDG_SESSION_ID XDG_SEAT XDG_VTNR
}
