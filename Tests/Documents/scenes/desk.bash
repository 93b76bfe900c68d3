# A laptop on the mains, and its user at a local seat.
. "$(dirname "$0")/common.bash"
newReader
[ -n "$(ls /sys/class/power_supply 2>/dev/null)" ] && mountpoint -q /sys/class/power_supply || presentLaptop
standIn claude
sessionType=tty
shellOf runInSession
