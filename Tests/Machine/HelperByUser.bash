# An ordinary user installs the helper through the real pkexec; it serves that user and root, and nobody else.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

createUser alice
createUser mallory
asAlice() { runInSession alice "$@"; }

# No agent and no terminal: nobody can be asked.
refusal=$(asAlice "$TAVO_BIN/tavoctl" helper install 2>&1) && fail "installed without approval: $refusal"
expectContains "$refusal" "nobody could be asked for an administrator's approval" "the refusal"
expectContains "$refusal" "sudo tavoctl helper install" "the way out"
[ ! -e "$helperFile" ] || fail "something was installed"

cat >/etc/polkit-1/rules.d/10-test.rules <<'RULE'
polkit.addRule(function(action, subject) {
    if (action.id == "org.freedesktop.policykit.exec" && subject.user == "alice") {
        return polkit.Result.YES;
    }
});
RULE
approved() { asAlice "$TAVO_BIN/tavoctl" helper install >/run/install.out 2>&1; }
# polkit notices the rule by itself, a moment later.
expectWithin 20 approved
expectContains "$(cat "$unitFile")" " --user $(id -u alice)" "who is served"
expectEqual "755 root:root" "$(stat -c '%a %U:%G' "$helperFile")" "the helper's file"
expectEqual "644 root:root" "$(stat -c '%a %U:%G' "$unitFile")" "the unit's file"
expectContains "$(asAlice "$TAVO_BIN/tavoctl" helper status)" "helper       ready" "status for alice"
[ ! -e ~alice/.config/Tavo/helper-installer ] || fail "the staging folder is left"
expectContains "$(cat ~alice/.config/Tavo/config.json)" '"closedLidPermissionGranted": true' "the permission"

# For alice, and for root.
cat >/run/lid.bash <<'LID'
"$TAVO_BIN/helper-client" send '{"setSleepDisabled":{"scope":"all","disabled":true}}'
LID
expectEqual 'data {"ok":{}}' "$(asAlice bash /run/lid.bash)" "answer to alice"
expectWithin "$soon" nothingInForce
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to root"

# For nobody else: the connection is refused before a word is read.
refusal=$(runWithoutSession mallory bash /run/lid.bash)
expectContains "$refusal" "message the privileged helper does not serve this user (user id $(id -u mallory))." "mallory"
expectNothingInForce
expectContains "$(runWithoutSession mallory "$TAVO_BIN/tavoctl" helper status)" "does not answer" "status for mallory"

# Alice's override ends with her process.
cat >/run/stay.bash <<'STAY'
exec "$TAVO_BIN/tavoctl" run --always --lid closed
STAY
asAlice bash /run/stay.bash >/run/stay.out 2>&1 &
session=$!
expectWithin 10 lidActionsAre "ignore ignore"
expectContains "$(control helper status)" "override     all for process" "status"
owner=$(control helper status | sed -n 's/^override .* process //p')
kill -s TERM "$owner"
wait "$session"
expectWithin "$soon" nothingInForce

asAlice "$TAVO_BIN/tavoctl" helper reset
helperStateIs notInstalled || fail "the helper is left"
