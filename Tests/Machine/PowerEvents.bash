# A change of the power supply is acted on as soon as the kernel reports it, without a signal or a minute's wait.
. "$(dirname "$0")/machine.bash"
requireMachine "$0"

# Events of the test's own would reach every listener of the network namespace: it has one to itself.
if [ "${1-}" != alone ]; then exec unshare --net bash "$0" alone; fi

tell() { "$TAVO_BIN/send-uevent" "$1"; }
presentLaptop

root=$(mktemp -d)/tavo
beginRun "$root" --always --cutoff 30
expectHeld 'sleep:idle block'

# Pulled out.
setPower 0 Discharging 79
tell kernel
expectHeld 'idle block'

# One percent less changes nothing; reaching the floor does.
setPower 0 Discharging 31
tell kernel
holds tavo 'idle block' || fail "released above the floor"
setPower 0 Discharging 30
# The same event from a process and not from the kernel is ignored.
tell port
expectNeverWithin 1 holds tavo ''
tell kernel
expectHeld ''
expectWithin "$soon" stateSays "$root" batteryCutoffReached

# Plugged in again.
setPower 1 Charging 31
tell kernel
expectHeld 'sleep:idle block'
endRun TERM
