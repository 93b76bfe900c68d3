# A launcher offers more than the start: the actions of the desktop entry, with the app running and without it.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
beginDesktop

entry=$scripts/../Resources/Linux/com.vrd.tavo.desktop
root=$HOME/.config/Tavo
PATH=$TAVO_BIN:$PATH

# commandOf GROUP: its line of Exec.
commandOf() { sed -n "/^\[$1\]/,/^\[/s/^Exec=//p" "$entry"; }

# start GROUP: as a launcher does it, in the background; the process id is in $app.
start() {
    # shellcheck disable=SC2046
    $(commandOf "$1") >"$HOME/out" 2>"$HOME/err" </dev/null &
    app=$!
    desktopPrograms+=("$app")
}

# ask ACTION: for the app that runs. The second start ends at once.
ask() {
    # shellcheck disable=SC2046
    expectStatus 0 $(commandOf "Desktop Action $1")
}
isEnabled() { grep -q "\"isEnabled\": $1" "$root/config.json"; }
endApp() {
    kill -TERM "$app"
    wait "$app" || fail "the app did not end properly"
    expectHeld ''
}
# The settings have a switch that the welcome view has not.
showsSettings() { "$TAVO_BIN/accessible-tree" tavo >"$HOME/tree" 2>/dev/null && grep -q 'keep awake on battery' "$HOME/tree"; }
closeWindow() {
    xdotool windowactivate --sync "$(settingsWindow)" key alt+F4
    expectWithin 10 not isShown settingsWindow
}

# Without a running app, pausing switches off what the next one would do, and starts nothing.
status=0
said=$($(commandOf "Desktop Action pause")) || status=$?
expectEqual 0 "$status" "status of pausing without a running app"
expectContains "$said" "no tavo is running" "what it says"
[ ! -e "$root/config.json" ] || isEnabled false || fail "pausing switched something on"

# "settings" starts the app with its settings, and "enable" starts it awake.
start "Desktop Action settings"
expectWithin 20 isShown settingsWindow
expectWithin 20 showsSettings
holds tavo '' || fail "held before anything was enabled"
endApp
start "Desktop Action enable"
expectWithin 20 isShown settingsWindow
expectHeld 'sleep:idle block'
isEnabled true || fail "config.json is $(cat "$root/config.json")"
endApp
said=$($(commandOf "Desktop Action pause"))
isEnabled false || fail "pausing left config.json as it was: $(cat "$root/config.json")"

# With the app running they do what its buttons do, the same twice is once, and the window stays as it is.
start "Desktop Entry"
expectWithin 20 isShown settingsWindow
closeWindow
for again in once twice; do
    ask enable
    expectHeld 'sleep:idle block'
    expectNeverWithin 1 holds tavo ''
done
for again in once twice; do
    ask pause
    expectHeld ''
    expectNeverWithin 1 holds tavo 'sleep:idle block'
done
isShown settingsWindow && fail "an action opened the window"
kill -0 "$app" || fail "an action ended the app"
ask settings
expectWithin 10 isShown settingsWindow
expectWithin 20 showsSettings

# Without the folder for its socket, the window is shown, and a sentence says so.
closeWindow
status=0
said=$(env -u XDG_RUNTIME_DIR "$TAVO_BIN/tavo" --enable 2>&1) || status=$?
expectEqual 1 "$status" "status without a socket"
expectContains "$said" "its window is shown" "what it says without a socket"
expectWithin 10 isShown settingsWindow
holds tavo '' || fail "it was enabled all the same"
endApp

expectStatus 64 "$TAVO_BIN/tavo" --enable --pause 2>"$HOME/err"
expectContains "$(cat "$HOME/err")" "--pause" "the refusal of two actions"
expectStatus 64 "$TAVO_BIN/tavo" --hidden --settings 2>"$HOME/err"

# A damaged configuration is left as it is.
echo '{' >"$root/config.json"
"$TAVO_BIN/tavo" --pause >"$HOME/out" 2>"$HOME/err" </dev/null &
app=$!
desktopPrograms+=("$app")
dialog() { xdotool search --onlyvisible --pid "$app" 2>/dev/null; }
expectWithin 20 isShown dialog
xdotool windowactivate --sync "$(dialog | head -n 1)" key Return
status=0
wait "$app" || status=$?
expectEqual 1 "$status" "status of pausing with a damaged configuration"
expectEqual '{' "$(cat "$root/config.json")" config.json
