# An override ends with the process that began it, whatever happens to Tavo, the helper or the system's services.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

root=/run/tavo-files

# Without the helper, the error names the command that installs it.
status=0
control --root "$root" run --always --lid closed >/dev/null 2>/run/err || status=$?
expectEqual 1 "$status" "exit status without the helper"
expectContains "$(cat /run/err)" "closed-lid wake prevention requires privileged command support." "the error"
expectContains "$(cat /run/err)" "tavoctl helper install" "the advice"

control helper install

for lid in closed both; do
    beginRun "$root" --always --lid "$lid"
    expectWithin "$soon" lidActionsAre "ignore ignore"
    expectContains "$(control helper status)" "override     all for process $run" "status"
    endRun TERM
    expectWithin "$soon" nothingInForce
done

# Tavo killed: the lock is released and the setting is the configured one again.
beginRun "$root" --always --lid closed
expectWithin "$soon" lidActionsAre "ignore ignore"
kill -s KILL "$run"
expectWithin "$soon" nothingInForce
expectHeld ""

# The helper killed: its next start restores the override, for as long as Tavo runs.
beginRun "$root" --always --lid closed
expectWithin "$soon" lidActionsAre "ignore ignore"
before=$(helperProcess)
kill -s KILL "$before"
helperIsBack() { [ "$(helperProcess)" != "$before" ] && [ "$(helperProcess)" != 0 ] && holds tavo-helper "sleep block"; }
expectWithin "$soon" helperIsBack
expectEqual "ignore ignore" "$(lidActions)" "the lid after the helper's restart"
expectContains "$(control helper status)" "override     all for process $run" "status after the helper's restart"
kill -0 "$run" || fail "tavoctl run has ended"
endRun TERM
expectWithin "$soon" nothingInForce

# The helper restarted by hand, as an upgrade does: nothing changes for a running Tavo, which need not be told.
beginRun "$root" --always --lid closed
expectWithin "$soon" lidActionsAre "ignore ignore"
before=$(helperProcess)
systemctl restart "$helperUnit"
expectEqual "ignore ignore" "$(lidActions)" "the lid after a restart"
expectWithin "$soon" helperIsBack
kill -s KILL "$run"
expectWithin "$soon" nothingInForce

# The helper killed while one process still runs and another has exited.
beginHold battery
heldBattery=$holder heldInput=$keepHolding
beginHold ac
before=$(helperProcess)
systemctl kill --signal=STOP "$helperUnit"
kill -s KILL "$holder"
kill -s KILL "$before"
expectWithin "$soon" helperIsBack
expectWithin "$soon" lidActionsAre "ignore suspend"
kill -0 "$heldBattery" || fail "the holder has ended"
exec {heldInput}>&-
expectWithin "$soon" nothingInForce

# Both killed: nothing is left.
beginRun "$root" --always --lid closed
expectWithin "$soon" lidActionsAre "ignore ignore"
kill -s KILL "$(helperProcess)" "$run"
expectWithin "$soon" nothingInForce
expectWithin "$soon" helperStateIs ready

# The helper stopped: every override ends. A Tavo that is told to evaluate has its own in force again once the helper is back.
beginRun "$root" --always --lid closed
expectWithin "$soon" lidActionsAre "ignore ignore"
systemctl stop "$helperUnit"
lidActionsAre "suspend -" || fail "the lid after a stop: $(lidActions)"
[ ! -e /run/com.vrd.tavo.helper ] || fail "the service's folder is left"
systemctl start "$helperUnit"
reevaluate
expectWithin "$soon" lidActionsAre "ignore ignore"

# Installed again while a Tavo runs: the override is back without a restart of Tavo.
control --root "$root" helper install
expectWithin "$soon" lidActionsAre "ignore ignore"
kill -0 "$run" || fail "tavoctl run has ended"
endRun INT
expectWithin "$soon" nothingInForce
