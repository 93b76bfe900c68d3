# What a Tavo, its helper and its children could leave behind in a disposable machine; sourced after helper.bash.
# rememberSurroundings notes what is there without any of them, and expectNothingLeft compares with that.

# Where programs put files. The rest of the system is read-only for them, or theirs alone.
readonly searched=(/tmp /var/tmp /dev/shm /run /home /etc/systemd /usr/local)

# Names that change with every program that systemd starts, and the test's own files.
readonly ofSystemd='(units|transient|propagate|sessions|users|seats|unit-root|timesync|journal/(streams|kernel-seqnum))'
readonly changing="^/run/(rounds|log|udev|utmp|systemd/$ofSystemd|user/[0-9]+/systemd/$ofSystemd)(/|$)"

# surroundings: a line for each thing that is there, sorted.
surroundings() {
    {
        callLogind ListInhibitors | grep -oE '"([^"\\]|\\.)*"' | paste -d ' ' - - - - | sed 's/^/lock /' || true
        echo "lid $(lidActions)"
        # This test's own processes, such as those of this very listing, are a group.
        ps -eo pid=,pgid=,stat=,comm= |
            awk -v own="$testGroup" '$2 != own { print ($3 ~ /^Z/ ? "zombie " : "process ") $4 " " $1 }'
        awk 'NR > 1 && $8 != "" { print "socket " $8 }' /proc/net/unix | sort -u
        awk '$2 == 15 { print "netlink socket of process " $3 }' /proc/net/netlink
        # A service that is started again has another private /tmp: the letters at the end of its name are left out.
        find "${searched[@]}" -xdev | grep -vE "$changing" |
            sed -E 's/^/file /; s|(/systemd-private-[^/]*)-[[:alnum:]]{6}|\1|'
    } | sort
}

# descriptorsOf PID
descriptorsOf() { ls "/proc/$1/fd" 2>/dev/null | wc -l; }

rememberSurroundings() {
    surroundings >/run/rounds/surroundings
    mapfile -t servers < <(pgrep -x 'systemd|systemd-logind|dbus-daemon|polkitd|Xvfb|openbox|trayer|at-spi-bus-laun')
    serverDescriptors=()
    local server
    for server in "${servers[@]}"; do serverDescriptors+=("$(descriptorsOf "$server")"); done
    helperDescriptors=$(descriptorsOf "$(helperProcess)")
}

# leftovers: what is there beyond that; nothing when nothing is.
leftovers() {
    local helper index count
    # Another process after it was killed.
    helper=$(helperProcess)
    surroundings | comm -23 - /run/rounds/surroundings | grep -vx "process [^ ]* $helper" || true
    for index in "${!servers[@]}"; do
        count=$(descriptorsOf "${servers[index]}")
        [ "$count" -le "${serverDescriptors[index]}" ] ||
            echo "$((count - serverDescriptors[index])) descriptors of $(ps -o comm= -p "${servers[index]}")"
    done
    count=$(descriptorsOf "$helper")
    [ "$count" -le "$helperDescriptors" ] || echo "$((count - helperDescriptors)) descriptors of the helper"
}

nothingIsLeft() {
    left=$(leftovers)
    [ -z "$left" ]
}

# expectNothingLeft: before long. The bound is for a busy machine; a leftover stays for ever.
expectNothingLeft() { waitUntil 20 nothingIsLeft || fail "left behind: ${left//$'\n'/; }"; }

# expectLeftoversToBeSeen: one of each kind is noticed, and by its name.
expectLeftoversToBeSeen() {
    beginProgram holder systemd-inhibit --who=holder --what=idle sleep infinity
    beginProgram parent bash -c 'sleep 0.1 & exec sleep infinity'
    beginProgram listener python3 -c '
import socket, sys, time
listener = socket.socket(socket.AF_UNIX)
listener.bind(sys.argv[1])
time.sleep(600)' "/run/user/$alice/planted"
    touch /run/systemd/logind.conf.d/planted.conf
    expectWithin 20 isEachKindSeen
    kill "$(cat /run/rounds/holder.pid)" "$(cat /run/rounds/parent.pid)" "$(cat /run/rounds/listener.pid)"
    rm "/run/user/$alice/planted" /run/systemd/logind.conf.d/planted.conf
    expectNothingLeft
}
isEachKindSeen() {
    ! nothingIsLeft || return 1
    local kind
    for kind in 'lock "idle" "holder"' "process systemd-inhibit" "zombie sleep" "socket /run/user/$alice/planted" \
        "file /run/systemd/logind.conf.d/planted.conf" "descriptors of systemd-logind"; do
        [[ $left == *"$kind"* ]] || return 1
    done
}
