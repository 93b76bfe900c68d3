. "$(dirname "$0")/machine.bash"

supplies=$(mktemp -d)
mkdir "$supplies/BAT0"
echo Battery >"$supplies/BAT0/type"
echo 41 >"$supplies/BAT0/capacity"
presentPowerSupplies "$supplies"

expectEqual BAT0 "$(ls /sys/class/power_supply)" "power supplies"
# A test changes the battery while programs run.
echo 40 >"$supplies/BAT0/capacity"
expectEqual 40 "$(cat /sys/class/power_supply/BAT0/capacity)" capacity
