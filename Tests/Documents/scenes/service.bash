# A user of a server who changes the options of the service.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
# The file is read at the start alone, and a wrong one ends the service.
takesRunConf() {
    systemctl --user restart tavo.service && systemctl --user is-active tavo.service
}
FUNCTIONS
beServer
becomeShell
