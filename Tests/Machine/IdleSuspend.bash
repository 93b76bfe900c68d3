. "$(dirname "$0")/machine.bash"

idleSeconds=1
suspends=/run/suspends

# How many suspends there were; one that is under way is waited for.
count() {
    expectWithin 10 isAwake
    wc -l <"$suspends"
}

isAwake() { [ "$(logindProperty PreparingForSleep)" = false ]; }

hasSession() { [ -n "$(loginctl list-sessions --no-legend)" ]; }

prepareSuspendRecorder "$suspends"
suspendWhenIdle "$idleSeconds"
expectWithin 30 hasSuspended "$suspends" 1

systemd-inhibit --who=tester --what=idle sleep infinity &
holder=$!
expectWithin 10 holds tester 'idle block'
before=$(count)
expectNeverWithin $((3 * idleSeconds)) hasSuspended "$suspends" $((before + 1))

systemctl restart systemd-logind.service
expectEqual 'idle block' "$(heldBy tester)" "the lock after a restart of logind"
expectNeverWithin $((2 * idleSeconds)) hasSuspended "$suspends" $((before + 1))

kill "$holder"
expectWithin 30 hasSuspended "$suspends" $((before + 1))

# A session in use keeps the machine awake, one marked idle does not.
createUser tester
runInSession tester sleep infinity </dev/null &
expectWithin 10 hasSession
before=$(count)
expectNeverWithin $((2 * idleSeconds)) hasSuspended "$suspends" $((before + 1))
markSessionsIdle
expectWithin 30 hasSuspended "$suspends" $((before + 1))
