# logind and the bus restart, are killed and stand still: the lock outlasts that or is taken again, and no status claims one
# that is not there.
. "$(dirname "$0")/machine.bash"
soon=20 # on a machine that does many other things
requireMachine LogindFaults

root=$(mktemp -d)/tavo
patience=90 # a restart on a busy machine, and the pauses between attempts
status() { timeout 60 "$TAVO_BIN/tavoctl" --root "$root" status || [ $? -ne 124 ] || fail "tavoctl status hangs"; }
claimsAwake() { grep -q '^keeping computer awake' <<<"$(status)"; }
cpuTicks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }
answers() { timeout 5 busctl call org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager \
    ListInhibitors >/dev/null 2>&1; }
heldAgain() { answers && holds tavo 'sleep:idle block'; }
hasAnotherInhibitor() { [ -n "$(inhibitorOf "$run")" ] && [ "$(inhibitorOf "$run")" != "$inhibitor" ]; }

# expectKept WHAT: the lock is held by the same process as before, and the status says so.
expectKept() {
    expectWithin "$patience" heldAgain
    expectEqual "$inhibitor" "$(inhibitorOf "$run")" "the lock's holder after $1"
    claimsAwake || fail "after $1, the status says: $(status)"
}

beginRun "$root" --always
expectWithin "$patience" heldAgain
inhibitor=$(inhibitorOf "$run")
systemctl restart systemd-logind.service
expectKept "a restart of logind"
systemctl kill --signal=KILL systemd-logind.service
expectKept "a kill of logind"
systemctl kill --signal=STOP systemd-logind.service
reevaluate
status >/dev/null
systemctl kill --signal=CONT systemd-logind.service
expectKept "a standstill of logind"

# The lock is lost while logind stands still: nothing claims it, and it is taken again once logind goes on.
systemctl kill --signal=STOP systemd-logind.service
kill -s KILL "$inhibitor"
saysSo() { grep -q 'not awake' "$root.out"; }
expectWithin "$patience" saysSo
expectWithin "$soon" not claimsAwake
expectNeverWithin 3 hasEnded "$run"
# Another one, which has never held any, ends and says why.
other=$root-other
ended=0
said=$(timeout 60 "$TAVO_BIN/tavoctl" --root "$other" run --always 2>&1) || ended=$?
expectEqual 69 "$ended" "a run while logind stands still"
expectContains "$said" "in time" "a run while logind stands still"
ticks=$(cpuTicks "$run")
systemctl kill --signal=CONT systemd-logind.service
expectWithin "$patience" heldAgain
expectWithin "$patience" hasAnotherInhibitor
inhibitor=$(inhibitorOf "$run")
expectEqual 1 "$(wc -l <<<"$inhibitor")" "children"
expectWithin "$soon" claimsAwake

# The same without a logind.
systemctl mask --runtime --quiet systemd-logind.service
systemctl stop systemd-logind.service
kill -s KILL "$inhibitor"
expectWithin "$patience" not claimsAwake
expectNeverWithin 3 hasEnded "$run"
systemctl unmask --runtime --quiet systemd-logind.service
systemctl start systemd-logind.service
expectWithin "$patience" heldAgain
expectWithin "$patience" hasAnotherInhibitor
inhibitor=$(inhibitorOf "$run")

# The bus itself. logind exits without it, and both are started again; the lock needs neither.
systemctl kill --signal=KILL dbus.service
expectWithin "$patience" heldAgain
reevaluate
expectKept "a kill of the bus"
(($(cpuTicks "$run") - ticks < 300)) || fail "a busy loop: $(($(cpuTicks "$run") - ticks)) ticks"
(($(cpuTicks "$inhibitor") < 100)) || fail "a busy loop of tavo-inhibit: $(cpuTicks "$inhibitor") ticks"
endRun TERM
expectWithin "$patience" answers
expectHeld ''
expectWithin "$soon" hasEnded "$inhibitor"
