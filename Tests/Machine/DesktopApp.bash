# The desktop app on a desktop, used as a person does: with the pointer and the keyboard.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
beginDesktop

root=$(mktemp -d)/tavo
mkdir "$root"

# It opens its window, and an icon that is dimmed while nothing is held.
beginApp "$root"
expectWithin 20 isShown settingsWindow
trayIsDimmed() { local dark; dark=$(darkestInTray); [ -n "$dark" ] && [ "$dark" -gt 40 ] && [ "$dark" -lt 130 ]; }
trayIsFull() { local dark; dark=$(darkestInTray); [ -n "$dark" ] && [ "$dark" -lt 40 ]; }
expectWithin 10 trayIsDimmed
holds tavo '' || fail "held before anything was clicked"

# "enable" on the welcome view.
clickIn "$(settingsWindow)" 189 243
expectHeld 'sleep:idle block'
expectWithin 10 trayIsFull
expectContains "$(cat "$root/config.json")" '"isEnabled": true' config.json

# "pause" in the panel, by pointer; the panel goes.
clickTray
expectWithin 10 isShown panelWindow
clickPanelRow 3
expectHeld ''
expectWithin 10 not isShown panelWindow
expectWithin 10 trayIsDimmed

# By keyboard; Escape and a click outside close the panel.
clickTray
expectWithin 10 isShown panelWindow
xdotool key Return
expectHeld 'sleep:idle block'
for how in 'xdotool key Escape' 'xdotool mousemove 100 600 click 1'; do
    expectWithin 10 not isShown panelWindow
    clickTray
    expectWithin 10 isShown panelWindow
    $how
    expectWithin 10 not isShown panelWindow
done
holds tavo 'sleep:idle block' || fail "closing the panel did something"

# It goes on with its window closed; a second start brings the window back and ends at once.
xdotool windowactivate --sync "$(settingsWindow)" key alt+F4
expectWithin 10 not isShown settingsWindow
kill -0 "$app" || fail "closing the window ended the app"
expectStatus 0 "$TAVO_BIN/tavo" --root "$root"
expectWithin 10 isShown settingsWindow
holds tavo 'sleep:idle block' || fail "the second start released the lock"

# The window follows a change made in a terminal, unless it has unsaved edits: a click on the switch for the closed lid.
settings() { "$TAVO_BIN/tavoctl" --root "$root" "$@"; }
settings preset codex >/dev/null
expectHeld ''
clickIn "$(settingsWindow)" 342 145
unsavedIsNoted() { grep -q '"unsavedEdits":true' "$root/tavo.lock"; }
expectWithin 10 unsavedIsNoted
expectContains "$(settings set batteryCutoffPercent 33)" "has unsaved edits" "what tavoctl says"
xdotool windowactivate --sync "$(settingsWindow)" key Escape
expectWithin 10 not unsavedIsNoted

# The tree that a screen reader reads.
treeIsThere() { "$TAVO_BIN/accessible-tree" tavo >"$root.tree" 2>/dev/null && grep -q 'keep awake on battery' "$root.tree"; }
expectWithin 20 treeIsThere
# Later releases call a push button a button.
tree=$(sed -E 's/^( *)push button:/\1button:/' "$root.tree")
for part in 'check box: keep awake with closed lid (requires extra permission)' \
    'check box: keep awake on battery (will drain battery faster)' 'check box: launch at login' \
    'combo box: codex' 'text: battery cutoff (app stops below this percentage)' \
    ' button: grant closed-lid permission' ' button: save' ' button: pause'; do
    expectContains "$tree" "$part" "the accessible tree"
done
expectContains "$tree" '  frame: tavo' "the accessible tree"
[ "$(grep -c '^  [a-z]*: tavo' "$root.tree")" -eq 1 ] || fail "something else than the window is in the tree"
clickTray
expectWithin 10 isShown panelWindow
panelIsInTree() { "$TAVO_BIN/accessible-tree" tavo >"$root.tree" 2>/dev/null && grep -q 'button: quit' "$root.tree"; }
expectWithin 20 panelIsInTree
xdotool key Escape
expectWithin 10 not isShown panelWindow

# Ended, nothing is held, and the next start resumes.
settings preset always >/dev/null
expectHeld 'sleep:idle block'
kill -TERM "$app"
wait "$app" || fail "the app did not end properly"
expectHeld ''
expectContains "$(cat "$root/state.json")" '"lastDecisionReason": "disabled"' state.json
beginApp "$root" --hidden
expectHeld 'sleep:idle block'
isShown settingsWindow && fail "a hidden start opened the window"

# "quit" in the panel.
expectWithin 10 trayIsFull
clickTray
expectWithin 10 isShown panelWindow
clickPanelRow 1
hasAppEnded() { hasEnded "$app"; }
expectWithin 10 hasAppEnded
wait "$app" || fail "quitting did not end properly"
expectHeld ''

# Beside a run in a terminal: a dialog says so.
other=$(mktemp -d)/tavo
beginRun "$other" --always
expectHeld 'sleep:idle block'
beginApp "$other"
dialog() { xdotool search --onlyvisible --pid "$app" 2>/dev/null; }
expectWithin 20 isShown dialog
xdotool windowactivate --sync "$(dialog | head -n 1)" key Return
status=0
wait "$app" || status=$?
expectEqual 75 "$status" "status beside a run in a terminal"
expectContains "$(cat "$other.err")" "another tavo is running in a terminal (process id $run)" "the message"
endRun TERM

# Without a display.
status=0
message=$(env -u DISPLAY -u QT_QPA_PLATFORM -u WAYLAND_DISPLAY "$TAVO_BIN/tavo" --root "$root" 2>&1) || status=$?
expectEqual 69 "$status" "status without a display"
expectContains "$message" "tavoctl run" "the message without a display"

# A display that has gone, of either kind.
status=0
message=$(DISPLAY=:99999 env -u QT_QPA_PLATFORM -u WAYLAND_DISPLAY "$TAVO_BIN/tavo" --root "$root" 2>&1) || status=$?
expectEqual 69 "$status" "status with a display that has gone"
status=0
message=$(DISPLAY=:99999 WAYLAND_DISPLAY=wayland-99 env -u QT_QPA_PLATFORM "$TAVO_BIN/tavo" --root "$root" 2>&1) || status=$?
expectEqual 69 "$status" "status with a compositor that has gone"
expectContains "$message" "tavoctl run" "the message with a compositor that has gone"
