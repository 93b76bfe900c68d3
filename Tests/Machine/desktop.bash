# A desktop of the test's own: an X server without a screen, a window manager, a tray, a session bus. A test sources
# this after machine.bash and calls beginDesktop first.

# shareTests: $tests is a copy of this folder that every user can read; the checkout may lie where no other user gets to.
shareTests() {
    local copy
    copy=$(mktemp -d)
    mkdir -p "$copy/Tests" "$copy/Resources/Linux"
    cp -r "$(dirname "$(realpath "$0")")" "$copy/Tests/Machine"
    cp -r "$scripts" "$copy/scripts"
    cp "$scripts/../Resources/Linux/com.vrd.tavo.desktop" "$copy/Resources/Linux"
    chmod -R a+rX "$copy"
    tests=$copy/Tests/Machine
    # Where the X server of an ordinary user puts its socket.
    mkdir -p -m 1777 /tmp/.X11-unix
}

# beginDesktop [withoutTray]: runs the test again as an ordinary user, within a session and its bus, and brings up the
# rest. Everything that it starts ends with the test. Root would do for the pointer, but has no session bus, and so
# neither notifications nor a screen reader.
beginDesktop() {
    if [ -z "${TAVO_TEST_DESKTOP-}" ]; then
        createUser tester
        shareTests
        local status=0
        runInSession tester env TAVO_TEST_DESKTOP=1 dbus-run-session -- bash "$tests/$(basename "$0")" || status=$?
        exit "$status"
    fi
    desktopPrograms=()
    atExit endDesktop
    local numberFile
    numberFile=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1000x700x24 -nolisten tcp 3>"$numberFile" 2>/dev/null &
    desktopPrograms+=($!)
    expectWithin 20 hasContent "$numberFile"
    DISPLAY=:$(cat "$numberFile")
    export DISPLAY
    export QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    openbox 2>/dev/null &
    desktopPrograms+=($!)
    expectWithin 20 hasRootProperty _NET_SUPPORTING_WM_CHECK
    [ "${1-}" = withoutTray ] || beginTray
}

# beginTray: on a busy machine the tray sometimes misses the window manager's start and never shows; it is started again
# then.
beginTray() {
    local attempt tray
    for attempt in 1 2 3 4; do
        trayer --edge top --align right --width 20 --height 24 2>/dev/null &
        tray=$!
        if waitUntil 8 hasTray; then
            desktopPrograms+=("$tray")
            return 0
        fi
        kill "$tray" 2>/dev/null || true
        wait "$tray" 2>/dev/null || true
    done
    fail "there is no tray after $attempt attempts"
}

endDesktop() {
    local index
    for ((index = ${#desktopPrograms[@]} - 1; index >= 0; --index)); do
        kill "${desktopPrograms[index]}" 2>/dev/null || true
        wait "${desktopPrograms[index]}" 2>/dev/null || true
    done
}

hasRootProperty() { xprop -root "$1" 2>/dev/null | grep -q 'window id'; }
hasTray() { [ -n "$(xdotool search --onlyvisible --class trayer 2>/dev/null)" ]; }

# beginApp ROOT ARGUMENTS...: starts the desktop app in the background; its process id is in $app.
beginApp() {
    local root=$1
    shift
    "$TAVO_BIN/tavo" --root "$root" "$@" >"$root.out" 2>"$root.err" </dev/null &
    app=$!
    desktopPrograms+=("$app")
}

# windowsOf PID WIDTH: the visible windows of a process that are that wide. The app's are told apart by it.
windowsOf() {
    local window
    for window in $(xdotool search --onlyvisible --pid "$1" 2>/dev/null); do
        [ "$(xdotool getwindowgeometry --shell "$window" 2>/dev/null | sed -n 's/^WIDTH=//p')" != "$2" ] || echo "$window"
    done
}
settingsWindow() { windowsOf "$app" 378; }
panelWindow() { windowsOf "$app" 280; }
isShown() { [ -n "$("$1")" ]; }

# clickIn WINDOW X Y
clickIn() {
    xdotool mousemove --window "$1" "$2" "$3"
    xdotool click 1
}

# clickPanelRow NUMBER: a row of the panel, counted from below: notices above them make the panel taller.
clickPanelRow() {
    local panel height
    panel=$(panelWindow)
    height=$(xdotool getwindowgeometry --shell "$panel" | sed -n 's/^HEIGHT=//p')
    clickIn "$panel" 140 $((height - 12 - $1 * 30 + 15))
}

clickTray() {
    xdotool mousemove 988 12
    xdotool click 1
}

# darkestInTray: how dark the darkest pixel of the tray's icon is, from 0 (black) to 255.
darkestInTray() {
    import -window root -crop 24x24+976+0 -depth 8 gray:- 2>/dev/null | od -An -v -tu1 | tr -s ' ' '\n' | sed '/^$/d' |
        sort -n | head -n 1
}
