# A laptop and its user in a terminal, in a folder with a makefile, next to a coding agent at work.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
beginAgent() {
    claude &
    program=$!
    waitUntil 20 pgrep -x claude
}
FUNCTIONS
beLaptop
standIn claude
printf 'all:\n\t@echo made\n' >/home/ada/Makefile
becomeShell
