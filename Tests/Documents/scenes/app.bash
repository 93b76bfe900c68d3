# A laptop on which the desktop app is not running yet.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
# Its windows are drawn and not shown.
export QT_QPA_PLATFORM=offscreen
isRunning() { tavoctl status | grep -q 'tavo  *running'; }
FUNCTIONS
beLaptop
becomeShell
