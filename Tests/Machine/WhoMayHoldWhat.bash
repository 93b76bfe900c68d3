. "$(dirname "$0")/machine.bash"

# tryLock RUNNER WHAT: the exit status of a lock on WHAT taken by tester through RUNNER.
tryLock() {
    local status=0
    "$1" tester systemd-inhibit --what="$2" true </dev/null 2>/dev/null || status=$?
    echo "$status"
}

holdsNoSession() { [ -z "$(loginctl list-sessions --no-legend)" ]; }

createUser tester

session=$(runInSession tester bash -c \
    'loginctl show-session "$XDG_SESSION_ID" --property=Active --property=Remote --property=Seat --property=Name' </dev/null)
expectContains "$session" Active=yes session
expectContains "$session" Remote=no session
expectContains "$session" Seat=seat0 session
expectContains "$session" Name=tester session
expectEqual 0 "$(tryLock runInSession sleep:idle)" "sleep:idle in an active session"
expectEqual 0 "$(tryLock runInSession handle-lid-switch)" "handle-lid-switch in an active session"

expectWithin 30 holdsNoSession
expectEqual 0 "$(tryLock runWithoutSession idle)" "idle without a session"
expectEqual 1 "$(tryLock runWithoutSession sleep)" "sleep without a session"
expectEqual 1 "$(tryLock runWithoutSession sleep:idle)" "sleep:idle without a session"

expectStatus 9 runInSession tester bash -c 'exit 9' </dev/null
expectEqual "said" "$(echo said | runWithoutSession tester cat)" "standard input and output"
