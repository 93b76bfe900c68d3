# A laptop on which the desktop app is running.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
# Its windows are drawn and not shown: nothing in the scene clicks into them.
beginApp() {
    QT_QPA_PLATFORM=offscreen tavo &
    app=$!
    waitUntil 20 isRunning
}
isRunning() { tavoctl status | grep -q 'tavo  *running'; }
beginAgent() {
    claude &
    waitUntil 20 pgrep -x claude
    kill -s USR1 "$app"
    waitUntil 20 isHeld
}
isHeld() { tavoctl status | grep -q 'held .*as planned' && tavoctl status | grep -q '^keeping'; }
FUNCTIONS
beLaptop
standIn claude
becomeShell
