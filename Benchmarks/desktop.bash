# Shared by the probes that need a desktop, which source it after probe.bash: an X server without a screen and with a tray,
# and a session bus, for this probe alone.

# withSessionBus PROBE_ARGUMENTS...: runs the probe again, within a bus of its own.
withSessionBus() {
    [ -z "${TAVO_PROBE_BUS-}" ] || return 0
    TAVO_PROBE_BUS=yes exec dbus-run-session -- "$0" "$@"
}

beginDesktop() {
    local number=$work/display
    Xvfb -displayfd 3 -screen 0 1000x700x24 -nolisten tcp 3>"$number" 2>/dev/null &
    started+=($!)
    waitUntil 20 test -s "$number" || give "no X server starts."
    DISPLAY=:$(cat "$number")
    export DISPLAY QT_QPA_PLATFORM=xcb
    mkdir -m 0700 "$work/runtime"
    export XDG_RUNTIME_DIR=$work/runtime
    # Without these Qt takes on the looks of the desktop on which this runs.
    unset WAYLAND_DISPLAY XDG_CURRENT_DESKTOP QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE
    # On a busy machine it sometimes misses its own start.
    local attempt
    for attempt in 1 2 3 4; do
        begin trayer --edge top --align right --width 20 --height 24
        ! waitUntil 15 hasTray || return 0
        end "$begun"
    done
    give "no tray starts, after $attempt attempts."
}

hasTray() { [ -n "$(xdotool search --onlyvisible --class trayer 2>/dev/null)" ]; }
