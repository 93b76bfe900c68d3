# Usage: session.bash NAME. The session of an ordinary user on that desktop, as a display manager starts it; it lasts as
# long as this does. Xvfb is the screen of an X11 desktop.
set -euo pipefail
# waitUntil SECONDS COMMAND..., hasEnded PID
# shellcheck source=scripts/waiting.bash
. "$(dirname "$0")/../../scripts/waiting.bash"
# shellcheck source=Tests/Desktops/xfce.bash
. "$(dirname "$0")/$1.bash"

export XDG_CURRENT_DESKTOP=$desktopName XDG_SESSION_DESKTOP=$1 LANG=C.UTF-8
# Some of these desktops start a second bus where this is not set.
export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
unset TAVO_BIN
cd "$HOME"
! declare -F prepareHome >/dev/null || prepareHome

if [ "$sessionType" = x11 ]; then
    numberFile=$(mktemp)
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$numberFile" &
    screen=$!
    isUpOrEnded() { [ -s "$numberFile" ] || hasEnded "$screen"; }
    waitUntil 60 isUpOrEnded
    [ -s "$numberFile" ] || wait "$screen"
    DISPLAY=:$(cat "$numberFile")
    export DISPLAY
fi
"${sessionCommand[@]}"
