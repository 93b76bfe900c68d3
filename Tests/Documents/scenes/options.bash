# A user who writes the options of the service.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
# It is read at the start alone. One that is wrong ends the service, and the start fails.
takesRunConf() { systemctl --user restart tavo.service && systemctl --user is-active tavo.service; }
FUNCTIONS
beLaptop
install -d -o ada -g ada -m 700 /home/ada/.config /home/ada/.config/Tavo
install -o ada -g ada -m 600 /dev/null /home/ada/.config/Tavo/run.conf
becomeShell
