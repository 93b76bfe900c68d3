# Shared by the tests of with-logind and in-machine, which both promise that nothing stays behind. Sourced after
# machine.bash.

[ "$(id -u)" -eq 0 ] || { echo "skipped: root is needed"; exit 77; }

# The whole test has a /run of its own: a logind of this machine is not used then, and nothing else changes the files
# that are compared. Shared mounts, because what with-logind and in-machine mount would come out into such a place
# first.
if [ -z "${TAVO_OWN_RUN-}" ]; then
    exec env TAVO_OWN_RUN=yes unshare --mount --propagation private -- \
        bash -c 'mount --no-mtab -t tmpfs tmpfs /run && mount --make-rshared / && exec bash "$0"' "$0"
fi

scratch=$(mktemp -d)
atExit 'kill $(jobs -p) 2>/dev/null'

# The parts of this machine that must be as before. Processes are identified by their namespaces, see hasNoProcessOf.
describeHost() {
    cut -d ' ' -f 5- /proc/self/mountinfo
    find /run /etc/systemd | sort
}

# hasNoProcessOf FILE: whether no process is left in the process namespace whose name FILE holds.
hasNoProcessOf() {
    local namespace process
    namespace=$(<"$1")
    for process in /proc/[0-9]*; do
        [ "$(readlink "$process/ns/pid")" != "$namespace" ] || hasEnded "${process##*/}" || return 1
    done
}

# hasNoTraceOf PID: whether nothing of the in-machine with this process id is left, its control groups included.
hasNoTraceOf() {
    local hierarchy
    hierarchy=$(findmnt --noheadings --output TARGET --types cgroup2 | head -n 1)
    [ -z "$(pgrep -f "tavo-machine-$1\b")" ] && [ ! -e "$hierarchy/tavo-machine-$1" ]
}

# checkStatusAndStreams SCRIPT
checkStatusAndStreams() {
    expectStatus 0 "$1" true
    expectStatus 7 "$1" bash -c 'exit 7'
    expectStatus 143 "$1" bash -c 'kill -TERM $$' 2>/dev/null
    expectStatus 127 "$1" no-such-command-anywhere 2>/dev/null
    expectStatus 125 "$1" 2>"$scratch/usage"
    expectContains "$(<"$scratch/usage")" "a command is needed"
    expectEqual "in out" "$(echo in | "$1" bash -c 'read -r word; echo "$word out"')" "standard streams"
    expectEqual "two words|*|" "$("$1" printf '%s|' 'two words' '*')" "arguments"
    expectEqual here "$(TAVO_WORD=here "$1" bash -c 'echo "$TAVO_WORD"')" "environment"
    expectEqual "$PWD" "$("$1" pwd)" "current folder"
}

# checkSaysThatRootIsNeeded SCRIPT
checkSaysThatRootIsNeeded() {
    # A copy, because the project may lie where only root gets to.
    cp -r "$scripts" "$scratch/scripts"
    chmod -R a+rX "$scratch"
    expectStatus 77 setpriv --reuid=65534 --regid=65534 --clear-groups \
        "$scratch/scripts/$(basename "$1")" touch "$scratch/ran" 2>"$scratch/refusal"
    expectContains "$(<"$scratch/refusal")" "root is needed"
    [ ! -e "$scratch/ran" ] || fail "the command ran without root"
}

# startAndEnd SCRIPT SIGNAL STATUS: ends SCRIPT with SIGNAL while its command runs; leaves its process id in `ended` and
# the command's process namespace in $scratch/namespace.
startAndEnd() {
    : >"$scratch/namespace"
    # A shell without job control would start it with SIGINT ignored.
    env --default-signal=INT "$1" bash -c 'readlink /proc/self/ns/pid; exec sleep infinity' >"$scratch/namespace" &
    ended=$!
    expectWithin 60 hasContent "$scratch/namespace"
    kill "-$2" "$ended"
    expectStatus "$3" wait "$ended"
}
