# The helper of a package: a user is granted it through an action of its own, and root runs nothing while nobody uses it.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
. "$(dirname "$0")/packaged.bash"

installPackage
createUser alice
createUser mallory
alice=$(id -u alice)
asAlice() { runInSession alice "$@"; }

expectEqual "" "$(systemd-analyze verify "/usr/lib/systemd/system/$socketUnit" "/usr/lib/systemd/system/$helperUnit" 2>&1)" \
    "findings in the units"
# Its own document type is on a server; the copy here is the one that counts.
xmllint --nonet --noout --dtdvalid /usr/share/polkit-1/policyconfig-1.dtd /usr/share/polkit-1/actions/com.vrd.tavo.policy \
    2>/run/policy.log || fail "the actions are no valid policy: $(cat /run/policy.log)"
for action in grant revoke; do
    pkaction --verbose --action-id "com.vrd.tavo.helper.$action" >/run/action || fail "polkit does not know $action"
    expectContains "$(cat /run/action)" "lid closed" "message of $action"
    expectContains "$(cat /run/action)" "org.freedesktop.policykit.exec.path -> $packagedHelper" "program of $action"
    expectContains "$(cat /run/action)" "org.freedesktop.policykit.exec.argv1 -> --$action" "argument of $action"
    expectContains "$(cat /run/action)" "icon:              com.vrd.tavo" "icon of $action"
    expectEqual 3 "$(grep -c '^ *implicit .*: *auth_admin$' /run/action)" "who may $action"
done

# The package alone grants nothing to anybody.
expectContains "$(packaged helper status)" "helper       not granted; tavoctl helper install grants" "status"
not systemctl --quiet is-enabled "$socketUnit" || fail "the package has enabled its socket"
systemctl start "$socketUnit"
[ ! -e "$socketFile" ] || fail "it listens without a grant"
refusal=$(asAlice /usr/bin/tavoctl helper install 2>&1) && fail "granted without approval: $refusal"
expectContains "$refusal" "nobody could be asked for an administrator's approval" "the refusal"
[ ! -e "$grantFile" ] || fail "a grant is left"
status=0
runWithoutSession mallory "$packagedHelper" --grant 2>/run/refused || status=$?
expectEqual 1 "$status" "exit status of a grant without root"
expectContains "$(cat /run/refused)" "takes root" "the refusal"
status=0
PKEXEC_UID=$alice "$packagedHelper" --grant --user 0 2>/run/refused || status=$?
expectEqual 64 "$status" "exit status of a grant with another argument"

# Through the package's own action, for the user who asks.
approve com.vrd.tavo.helper.grant alice
approved() { asAlice /usr/bin/tavoctl helper install >/run/install.out 2>&1; }
expectWithin 20 approved
expectEqual "644 root:root" "$(stat -c '%a %U:%G' "$grantFile")" "the grant's file"
expectEqual "755 root:root" "$(stat -c '%a %U:%G' "$(dirname "$grantFile")")" "the grant's folder"
expectContains "$(cat "$grantFile")" "SocketUser=$alice" "the grant"
expectEqual "600 alice" "$(stat -c '%a %U' "$socketFile")" "the socket"
systemctl --quiet is-enabled "$socketUnit" || fail "the socket is not enabled"
[ ! -e "$helperFile" ] || fail "the program was copied"
expectContains "$(asAlice /usr/bin/tavoctl helper status)" "helper       ready" "status for alice"
expectContains "$(packaged helper status)" "granted to   user $alice" "status"
expectContains "$(packagedJson helper status)" '"matchesThisBuild": true' "status"
expectContains "$(cat ~alice/.config/Tavo/config.json)" '"closedLidPermissionGranted": true' "the permission"
expectWithin "$idleWithin" isIdle

# The kernel refuses everybody else: nobody wakes root.
invocation() { systemctl show --property=InvocationID --value "$helperUnit"; }
before=$(invocation)
refusal=$(runWithoutSession mallory "$TAVO_BIN/helper-client" send '{"ping":{}}' 2>&1) && fail "mallory was served: $refusal"
expectContains "$refusal" "Permission denied" "mallory"
expectContains "$(runWithoutSession mallory /usr/bin/tavoctl helper status)" \
    "helper       granted to another user (user id $alice); tavoctl helper install grants it to you instead" "status for mallory"
isIdle || fail "mallory has started the helper"
expectEqual "$before" "$(invocation)" "the last start of the helper"

# alice herself, only while logged in. logind forgets a user a moment after the last session.
aliceIsGone() { [[ $(loginctl show-user alice --property=State --value 2>/dev/null) == "" ]]; }
expectWithin 30 aliceIsGone
expectContains "$(runWithoutSession alice "$TAVO_BIN/helper-client" send '{"ping":{}}')" \
    "message the privileged helper serves this user (user id $alice) only while logged in" "alice without a session"

# alice's override, for as long as her process lives; then nothing of root's.
cat >/run/stay.bash <<'STAY'
exec /usr/bin/tavoctl run --always --lid closed
STAY
asAlice bash /run/stay.bash >/run/stay.out 2>&1 &
session=$!
expectWithin 10 lidActionsAre "ignore ignore"
expectNeverWithin 4 isIdle
expectEqual "ignore ignore" "$(lidActions)" "the lid after a while"
owner=$(packaged helper status | sed -n 's/^override .* process //p')
expectEqual "600 alice" "$(stat -c '%a %U' "$socketFile")" "the socket while the helper runs"
kill -s KILL "$owner"
expectWithin "$soon" nothingInForce
wait "$session" || true
expectWithin "$idleWithin" isIdle
expectEqual success "$(systemctl show --property=Result --value "$helperUnit")" "how the helper has ended"

# Asked at the very moment at which it exits: no caller is lost.
for ((count = 0; count < 9; count++)); do
    expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to ping $count"
    sleep "$(printf '1.%03d' $((991 + 2 * count)))"
done

# Killed with an override in force: the next helper takes it over.
beginHold all
before=$(helperProcess)
kill -s KILL "$before"
helperIsBack() { [ "$(helperProcess)" != "$before" ] && [ "$(helperProcess)" != 0 ] && holds tavo-helper "sleep block"; }
expectWithin "$soon" helperIsBack
expectEqual "ignore ignore" "$(lidActions)" "the lid after the helper's restart"
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"
endHold
expectWithin "$soon" nothingInForce

# Asked for again, the grant is the same. Another user's takes its place, and ends the overrides.
beginHold all
SUDO_UID=$alice packaged helper install
expectEqual "ignore ignore" "$(lidActions)" "the lid after a grant to the same user"
SUDO_UID=$(id -u mallory) packaged helper install
expectWithin "$soon" nothingInForce
expectEqual "600 mallory" "$(stat -c '%a %U' "$socketFile")" "the socket"
endHold
# A user whom the system does not know has no socket: the earlier grant stays, with the override in force.
beginHold all
refusal=$(SUDO_UID=54321 packaged helper install 2>&1) && fail "granted to nobody: $refusal"
expectContains "$refusal" "54321" "the refusal"
expectContains "$(cat "$grantFile")" "SocketUser=$(id -u mallory)" "the grant"
expectEqual "ignore ignore" "$(lidActions)" "the lid after a grant that was refused"
endHold
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"

# Reset by the helper itself: the grant goes, the package's files stay.
SUDO_UID=$alice packaged helper install
approve none alice
beginHold all
expectContains "$(asAlice /usr/bin/tavoctl helper reset)" "has removed its grant" "reset"
expectWithin "$soon" nothingInForce
endHold
isRevoked() {
    [ ! -e "$(dirname "$grantFile")" ] && [ ! -e "$socketFile" ] && isIdle && ! systemctl --quiet is-enabled "$socketUnit"
}
expectWithin "$soon" isRevoked
packagedStateIs notInstalled || fail "the state is not notInstalled"
for file in "$packagedHelper" "/usr/lib/systemd/system/$socketUnit" "/usr/lib/systemd/system/$helperUnit"; do
    [ -e "$file" ] || fail "the package's $file has gone"
done
expectStatus 1 packaged helper reset 2>/dev/null

# A grant that comes while a reset is about to begin wins.
SUDO_UID=$alice packaged helper install
expectEqual 'data {"ok":{}}' "$(client send '{"resetSupport":{}}')" "answer to a reset"
SUDO_UID=$alice packaged helper install
expectNeverWithin 3 isRevoked
packagedStateIs ready || fail "the grant has lost"

# Revoked through the other action.
beginHold all
approve com.vrd.tavo.helper.revoke alice
revoked() { asAlice /usr/bin/tavoctl helper uninstall >/run/uninstall.out 2>&1; }
expectWithin 20 revoked
nothingInForce || fail "something is left in force"
isRevoked || fail "something is left of the grant"
endHold
