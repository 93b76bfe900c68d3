# A laptop on which no Tavo runs.
. "$(dirname "$0")/common.bash"
newReader </dev/null
beLaptop
becomeShell
