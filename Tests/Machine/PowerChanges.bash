# The power source and the battery decide what is held.
. "$(dirname "$0")/machine.bash"

presentLaptop

root=$(mktemp -d)/tavo
beginRun "$root" --always --cutoff 30
expectHeld 'sleep:idle block'

setPower 0 Discharging 79
reevaluate
expectHeld 'idle block'

setPower 0 Discharging 30
reevaluate
expectHeld ''
expectWithin "$soon" stateSays "$root" batteryCutoffReached
expectContains "$(tail -n 1 "$root.out")" "battery protected: battery 30%; holding nothing" "the line printed"

setPower 1 Charging 31
reevaluate
expectHeld 'sleep:idle block'
endRun TERM

beginRun "$root" --always --power ac
expectHeld 'sleep:idle block'
setPower 0 Discharging 79
reevaluate
expectHeld ''
expectWithin "$soon" stateSays "$root" powerSourceMismatch
endRun TERM
