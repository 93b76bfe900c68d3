# Usage: check.bash NAME FOLDER, as root in a machine that has that desktop and Tavo. Starts a session of an ordinary
# user, has Tavo keep the machine awake in it, and asks the desktop and logind what they know of that. Prints its
# findings; pictures and the programs' output go to FOLDER. Fails when anything was not as it should be.
folder=$2
desktop=$1
desktops=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=Tests/Machine/machine.bash
. "$desktops/../Machine/machine.bash"
# shellcheck source=Tests/Desktops/xfce.bash
. "$desktops/$desktop.bash"
requireMachine "$(basename "$0")"
TAVO_BIN=/usr/local/bin
# A desktop without hardware graphics takes its time, above all for its first start.
patience=60

failures=0
say() { echo "$desktop: $*"; }

# check SENTENCE COMMAND...: says whether COMMAND succeeds in time.
check() {
    if waitUntil "$patience" "${@:2}"; then
        say "ok: $1"
    else
        say "FAILED: $1"
        failures=$((failures + 1))
    fi
}

# becomeInSession COMMAND...: replaces this shell by COMMAND, a program as the desktop starts it: of the user, in the
# session, and with the desktop's environment.
becomeInSession() {
    echo "$BASHPID" >"/sys/fs/cgroup$sessionGroup/cgroup.procs"
    cd "$home" || exit
    exec setpriv --reuid tester --regid tester --init-groups env -i "${environment[@]}" "$@"
}
inSession() { (becomeInSession "$@"); }
userBus() { inSession busctl --user "$@" 2>/dev/null; }
askBus() { userBus call org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus "$@"; }
ownsName() { [ "$(askBus NameHasOwner s "$1")" = 'b true' ]; }
processOf() { pgrep -u tester -o -x "${1:0:15}"; }
isRunning() { processOf "$1" >/dev/null; }

beginSession() {
    ! declare -F prepareMachine >/dev/null || prepareMachine
    useradd --create-home --shell /bin/bash tester
    home=/home/tester
    mkdir -p /tmp/.X11-unix
    chmod 1777 /tmp/.X11-unix
    runInSession tester bash "$desktops/session.bash" "$desktop" \
        >"$folder/session.log" 2>&1 </dev/null &
    session=$!
    hasPanelOrEnded() { isRunning "$panelProgram" || hasEnded "$session"; }
    waitUntil "$patience" hasPanelOrEnded || true
    isRunning "$panelProgram" || giveUp "$panelProgram does not run"
    sessionGroup=$(sed -n 's/^0:://p' "/proc/$(pgrep -u tester -o -f "session.bash $desktop")/cgroup")
    # WAYLAND_SOCKET is a descriptor that sway has given to its bar.
    mapfile -d '' -t environment < <(grep -zv '^WAYLAND_SOCKET=' "/proc/$(processOf "$panelProgram")/environ")
}

# Nothing else can be checked without a session.
giveUp() {
    say "FAILED: $1; the desktop's last words are:"
    tail -n 20 "$folder/session.log"
    hasEnded "$session" || say "the session is still there: $(ps -u tester -o comm= | sort -u | tr '\n' ' ')"
    exit 1
}

takePicture() {
    if [ "$sessionType" = wayland ]; then inSession grim - >"$1"; else inSession import -window root png:- >"$1"; fi
}

hasSettled() {
    takePicture "$folder/next.png" && cmp -s "$picture" "$folder/next.png" && return 0
    mv "$folder/next.png" "$picture"
    return 1
}

# picture NAME: once the screen does not change any more; a clock that shows seconds never lets it.
picture() {
    local picture=$folder/$1.png
    takePicture "$picture" || say "there is no picture of $1"
    waitUntil 15 hasSettled || true
    rm -f "$folder/next.png"
}

beginTavo() {
    becomeInSession "$TAVO_BIN/tavo" "$@" >>"$folder/tavo.log" 2>&1 </dev/null &
    tavo=$!
    # Without a word of this shell when it is killed.
    disown "$tavo"
}
tavoctl() { inSession "$TAVO_BIN/tavoctl" "$@"; }

# Neither is true when the list cannot be read.
logindLists() { [ -n "$(heldByTavo)" ]; }
logindListsNothing() { local list; list=$(heldByTavo) && [ -z "$list" ]; }
desktopLists() { listedByDesktop | grep -qw tavo; }
desktopListsNothing() { local list; list=$(listedByDesktop) && ! grep -qw tavo <<<"$list"; }
mentionsDesktop() { tavoctl status | grep -q 'the desktop may suspend'; }

# trayItem: the bus name and the path of Tavo's item, as the tray's host has registered it: one after the other, on
# GNOME with a "@" between.
trayItem() {
    local item owner
    for item in $(userBus get-property org.kde.StatusNotifierWatcher /StatusNotifierWatcher org.kde.StatusNotifierWatcher \
        RegisteredStatusNotifierItems | grep -oE '"[^"]+"' | tr -d '"'); do
        owner=$(askBus GetConnectionUnixProcessID s "${item%%[@/]*}") || continue
        [ "$owner" != "u $tavo" ] || echo "${item%%[@/]*} /${item#*/}"
    done
}
hasTrayItem() { [ -n "$(trayItem)" ]; }
hasNoTrayItem() { ownsName org.kde.StatusNotifierWatcher && ! hasTrayItem; }

# activateTrayItem: activates the item as the tray's host does at a click, with the pointer there; the panel opens
# beside it.
activateTrayItem() {
    local name path
    [ "$sessionType" != x11 ] || inSession xdotool mousemove "${trayAt[@]}"
    read -r name path < <(trayItem) && userBus call "$name" "$path" org.kde.StatusNotifierItem Activate ii "${trayAt[@]}"
}

# windows: how many of Tavo's are on the screen.
windows() {
    if [ "$sessionType" = wayland ]; then
        inSession swaymsg -t get_tree | grep -c "\"pid\": $tavo,"
    else
        inSession xdotool search --onlyvisible --pid "$tavo" 2>/dev/null | wc -l
    fi
}
hasWindows() { [ "$(windows)" -eq "$1" ]; }

expectListed() {
    check "logind lists tavo $1" logindLists
    heldByTavo | while read -r line; do say "    $line"; done
    if declare -F listedByDesktop >/dev/null; then
        check "the desktop lists tavo $1" desktopLists
        listedByDesktop | grep -w tavo | while read -r line; do say "    $line"; done
    else
        check "tavo says that this desktop may suspend in spite of it $1" mentionsDesktop
    fi
}

expectGone() {
    check "logind lists nothing of tavo's $1" logindListsNothing
    ! declare -F listedByDesktop >/dev/null || check "the desktop lists nothing of tavo's $1" desktopListsNothing
    check "the tray has no item of tavo's $1" hasNoTrayItem
}

say "$(. /etc/os-release && echo "$PRETTY_NAME")"
say "$(dpkg-query -W -f '${Package} ${Version}, ' systemd "${packages[@]}" | sed 's/, $//')"
beginSession
! declare -F isPowerManagerThere >/dev/null || check "its power manager runs" isPowerManagerThere
check "a tray's host runs" ownsName org.kde.StatusNotifierWatcher
! declare -F showDesktop >/dev/null || showDesktop
picture desktop

tavoctl preset always >/dev/null
tavoctl enable >/dev/null
beginTavo
expectListed "while it keeps the machine awake"
check "the tray has an item of tavo's" hasTrayItem
check "its window is there" hasWindows 1
picture awake
activateTrayItem || true
check "the item opens the panel" hasWindows 2
picture panel
tavoctl status >"$folder/status.txt" || true
tavoctl doctor >"$folder/doctor.txt" || true
activateTrayItem || true
check "the item closes the panel" hasWindows 1
tavoctl disable >/dev/null
check "logind lists nothing of tavo's while it is off" logindListsNothing
picture off
tavoctl enable >/dev/null

expectListed "when it is on again"
kill -TERM "$tavo"
check "tavo ends" hasEnded "$tavo"
expectGone "after TERM"

beginTavo --hidden
expectListed "after a hidden start"
check "the tray has an item of tavo's after a hidden start" hasTrayItem
kill -KILL "$tavo"
expectGone "after KILL"

[ "$failures" -eq 0 ] || say "$failures of these failed."
exit $((failures > 0))
