# A server, and a user who is logged in to it.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
isActive() { systemctl --user is-active tavo.service; }
FUNCTIONS
beServer
becomeShell
