# An ordinary user in an active local session may hold all there is; without a session, idleness alone.
. "$(dirname "$0")/machine.bash"

createUser tester
output=/run/tester.out
runOfTester() { pgrep -u tester -x tavoctl; }
hasRun() { [ -n "$(runOfTester)" ]; }

systemdVersion() { systemctl --version | awk 'NR == 1 { print $2 + 0 }'; }

beginAs() {
    "$1" tester "$TAVO_BIN/tavoctl" run --always </dev/null >"$output" 2>&1 &
    service=$!
    expectWithin 20 hasRun
    run=$(runOfTester)
}

for signal in TERM KILL; do
    beginAs runInSession
    expectHeld 'sleep:idle block'
    expectContains "$(systemd-inhibit --list --no-legend)" tester "the list"
    inhibitor=$(inhibitorOf "$run")
    kill -s "$signal" "$run"
    expectHeld ''
    expectWithin "$soon" hasEnded "$inhibitor"
    wait "$service" || [ "$signal" = KILL ] || fail "the run ended badly: $(cat "$output")"
done
not grep -q notice "$output" || [ "$(systemdVersion)" -lt 257 ] || fail "a notice though all is held: $(cat "$output")"

# No desktop service runs in this graphical session: before version 257 logind's locks do not hold its own user back.
beginAs runInSession
expectHeld 'sleep:idle block'
if [ "$(systemdVersion)" -lt 257 ]; then
    tellsOfDesktop() { grep -q 'no service of this desktop has taken the request' "$output"; }
    expectWithin 20 tellsOfDesktop
    status=$(runWithoutSession tester "$TAVO_BIN/tavoctl" status </dev/null)
    expectContains "$status" "switch off automatic suspend" status
    not grep -q 'as planned' <<<"$status" || fail "as planned: $status"
    doctor=$(runWithoutSession tester "$TAVO_BIN/tavoctl" doctor </dev/null)
    expectContains "$doctor" "limited      desktop" doctor
fi
kill -s TERM "$run"
wait "$service" || fail "the run ended badly: $(cat "$output")"

holdsNoSession() { [ -z "$(loginctl list-sessions --no-legend)" ]; }
expectWithin 30 holdsNoSession
beginAs runWithoutSession
expectHeld 'idle block'
refusedLines() { grep -c 'sleep was refused' "$output"; }
expectWithin "$soon" refusedLines
reevaluate
status=$(runWithoutSession tester "$TAVO_BIN/tavoctl" status </dev/null)
expectContains "$status" "less is held than planned" status
expectContains "$status" "sudo tavoctl run" status
doctor=$(runWithoutSession tester "$TAVO_BIN/tavoctl" doctor </dev/null)
expectContains "$doctor" "limited      sleep lock" doctor
expectContains "$doctor" "ok           idle lock" doctor
kill -s TERM "$run"
wait "$service" || fail "the run ended badly: $(cat "$output")"
expectEqual 1 "$(refusedLines)" "lines that tell of the refusal in: $(cat "$output")"
