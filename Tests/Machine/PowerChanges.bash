# The power source and the battery decide what is held.
. "$(dirname "$0")/machine.bash"

supplies=$(mktemp -d)
mkdir "$supplies/AC" "$supplies/BAT0"
echo Mains >"$supplies/AC/type"
echo Battery >"$supplies/BAT0/type"
setPower() { # setPower ONLINE STATUS PERCENT
    echo "$1" >"$supplies/AC/online"
    echo "$2" >"$supplies/BAT0/status"
    echo "$3" >"$supplies/BAT0/capacity"
}
setPower 1 Charging 80
presentPowerSupplies "$supplies"

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
