# A packaged helper that cannot start does not keep the service manager busy, and serves again as soon as it is whole.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
. "$(dirname "$0")/packaged.bash"

installPackage
packaged helper install
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"
expectWithin "$idleWithin" isIdle
cp -p "$packagedHelper" /run/whole

# replaceHelper FILE: as dpkg does.
replaceHelper() {
    install -m 755 "$1" "$packagedHelper.dpkg-new"
    mv -f "$packagedHelper.dpkg-new" "$packagedHelper"
}

# failures STATUS: how often the helper has ended with STATUS so far.
failures() { journalctl --quiet --unit "$helperUnit" --output=cat | grep -c "Main process exited.*status=$1/" || true; }

hasFailedWith() { [ "$(systemctl show --property=ExecMainStatus --value "$helperUnit")" = "$1" ]; }

# expectPauses FILE STATUS: while this program cannot run, a caller who waits costs a start a second, and is served once
# the program is whole.
expectPauses() {
    local began caller count took
    replaceHelper "$1"
    began=$(date +%s%N)
    client send '{"ping":{}}' >/run/waiting.out 2>&1 &
    caller=$!
    hasFailedOften() { [ "$(failures "$2")" -ge 4 ]; }
    expectWithin 15 hasFailedOften "$@"
    count=$(failures "$2") took=$((($(date +%s%N) - began) / 1000000))
    # The first failure comes at once, each later one after a second's pause.
    [ $(((count - 1) * 1000)) -le "$took" ] || fail "$count failures with status $2 in $took milliseconds"
    expectWithin "$soon" hasFailedWith "$2"
    replaceHelper /run/whole
    wait "$caller" || fail "the caller was not served: $(cat /run/waiting.out)"
    expectEqual 'data {"pong":{}}' "$(cat /run/waiting.out)" "answer to the caller who waited"
    expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to the next caller"
    expectWithin "$idleWithin" isIdle
    expectEqual success "$(systemctl show --property=Result --value "$helperUnit")" "how the helper has ended"
}

# A library of its own is missing.
printf '#!/bin/sh\nexit 127\n' >/run/unlinked
expectPauses /run/unlinked 127
# The file is damaged.
head -c 100 /dev/zero >/run/damaged
expectPauses /run/damaged 203

# The grant ends though the helper cannot run.
replaceHelper /run/damaged
client send '{"ping":{}}' >/run/waiting.out 2>&1 &
caller=$!
expectWithin "$soon" hasFailedWith 203
/run/whole --revoke
isIdle || systemctl is-failed --quiet "$helperUnit" || fail "the helper is not stopped"
[ ! -e "$socketFile" ] || fail "it still listens"
wait "$caller" || true
