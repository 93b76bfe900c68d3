# The icon in a tray that draws icons itself, which comes after the app and comes back: under X11, and under Wayland
# where there is a compositor to try it with.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
beginDesktop withoutTray

folder=$(mktemp -d)
items=$folder/items

beginHost() {
    "$TAVO_BIN/stand-in-tray-host" "$items" 2>"$folder/host.err" &
    host=$!
    desktopPrograms+=("$host")
    expectWithin 20 isHostThere
}
endHost() {
    kill "$host"
    wait "$host" || true
}
isHostThere() { busctl --user status org.kde.StatusNotifierWatcher >/dev/null 2>&1; }
hasItem() { [ -s "$items" ]; }

# property NAME: of the app's item, without its type.
property() {
    local value
    value=$(busctl --user get-property "$(tail -n 1 "$items")" /StatusNotifierItem org.kde.StatusNotifierItem "$1")
    echo "${value#* }"
}
hasIcon() { [ "$(property IconName)" = "\"$1\"" ]; }

# tryWith NAME: the same under each window system.
tryWith() {
    local root=$folder/$1
    rm -f "$items"
    mkdir "$root"
    # An app that was installed, as far as its icons are concerned.
    mkdir -p "$folder/share/icons/hicolor/symbolic/apps"
    for state in awake idle; do
        touch "$folder/share/icons/hicolor/symbolic/apps/com.vrd.tavo-$state-symbolic.svg"
    done
    XDG_DATA_DIRS=$folder/share:/usr/share beginApp "$root" --hidden
    hasTaken() { grep -qs '"window":true' "$root/tavo.lock"; }
    expectWithin 20 hasTaken

    # It gives up neither when there is no watcher nor when the watcher has no host yet.
    beginHost
    expectNeverWithin 2 hasItem
    kill -USR1 "$host"
    expectWithin 20 hasItem
    expectWithin 10 hasIcon com.vrd.tavo-idle-symbolic
    [ "$(property IconPixmap | cut -d ' ' -f 1)" -gt 0 ] || fail "no picture for panels that do not know the name"
    "$TAVO_BIN/tavoctl" --root "$root" enable >/dev/null
    expectWithin 10 hasIcon com.vrd.tavo-awake-symbolic

    # The desktop's bar crashes and comes back.
    endHost
    rm "$items"
    expectWithin 20 not isHostThere
    beginHost
    kill -USR1 "$host"
    expectWithin 20 hasItem
    expectWithin 10 hasIcon com.vrd.tavo-awake-symbolic
    [ ! -s "$root.err" ] || fail "it complains: $(cat "$root.err")"
}

activate() {
    busctl --user call "$(tail -n 1 "$items")" /StatusNotifierItem org.kde.StatusNotifierItem Activate ii 0 0 ||
        fail "the item cannot be activated"
}

tryWith x11

# The panel opens where the pointer has just clicked: here, above a bar at the bottom of the screen.
xdotool mousemove 400 690
activate
expectWithin 10 isShown panelWindow
eval "$(xdotool getwindowgeometry --shell "$(panelWindow)")"
[ $((X + WIDTH / 2 - 400)) -ge -1 ] && [ $((X + WIDTH / 2 - 400)) -le 1 ] || fail "the panel is at $X instead of around 400"
[ $((Y + HEIGHT)) -le 690 ] && [ $((Y + HEIGHT)) -ge 680 ] || fail "the panel ends at $((Y + HEIGHT)) instead of above 690"
kill -TERM "$app"
wait "$app" || fail "the app did not end properly"
endHost

if command -v weston >/dev/null; then
    weston --backend=headless-backend.so --socket=tavo-test --idle-time=0 >"$folder/weston.log" 2>&1 &
    desktopPrograms+=($!)
    compositorListens() { [ -S "$XDG_RUNTIME_DIR/tavo-test" ]; }
    expectWithin 20 compositorListens
    unset DISPLAY
    export WAYLAND_DISPLAY=tavo-test QT_QPA_PLATFORM=wayland
    tryWith wayland
    kill -TERM "$app"
    wait "$app" || fail "the app did not end properly under Wayland"
    endHost

    # A second start without a token, as from a terminal: this compositor never says which window is the active one, and
    # whatever is new is in front.
    root=$folder/again
    mkdir "$root"
    WAYLAND_DEBUG=client beginApp "$root"
    windowsMade() { grep -c 'get_toplevel' "$root.err"; }
    hasMade() { [ "$(windowsMade)" -eq "$1" ]; }
    expectWithin 20 hasMade 1
    env -u WAYLAND_DEBUG "$TAVO_BIN/tavo" --root "$root" || fail "the second start did not end properly"
    expectWithin 20 hasMade 2
    # With one, the window stays, and the compositor is asked.
    XDG_ACTIVATION_TOKEN=token env -u WAYLAND_DEBUG "$TAVO_BIN/tavo" --root "$root" || fail "the third start failed"
    expectNeverWithin 2 hasMade 3
    kill -TERM "$app"
    wait "$app" || fail "the app did not end properly after that"
fi
