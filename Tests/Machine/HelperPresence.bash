# The helper serves root always, and its user only while logged in or lingering; a user's override ends with that.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

createUser alice
alice=$(id -u alice)
SUDO_UID=$alice control helper install
expectContains "$(cat "$unitFile")" " --user $alice" "who is served"
userState() { loginctl show-user alice --property=State --value 2>/dev/null || echo offline; }
userStateIs() { [ "$(userState)" = "$1" ]; }

cat >/run/ask.bash <<'ASK'
"$TAVO_BIN/helper-client" send '{"setSleepDisabled":{"scope":"all","disabled":true}}'
ASK
# As a cron job would, and logind refuses what it could not have from logind either.
refusal=$(runWithoutSession alice bash /run/ask.bash)
expectContains "$refusal" "message the privileged helper serves this user (user id $alice) only while logged in" "the answer"
expectNothingInForce
expectEqual 'data {"ok":{}}' "$(runInSession alice bash /run/ask.bash)" "answer in a session"
expectWithin "$soon" nothingInForce

# A program that outlives its session: its override ends, and the program runs on.
cat >/run/stay.bash <<'STAY'
mkfifo /tmp/stay.in
setsid "$TAVO_BIN/helper-client" hold all </tmp/stay.in >/tmp/stay.out 2>&1 &
exec 3>/tmp/stay.in
echo $! >/tmp/stay.pid
until [ -s /tmp/stay.out ]; do :; done
cat /run/session.end
STAY
mkfifo /run/session.end
chmod 666 /run/session.end
rm -f /tmp/stay.*
runInSession alice bash /run/stay.bash &
session=$!
expectWithin 20 lidActionsAre "ignore ignore"
userStateIs active || fail "alice is $(userState)"
holder=$(cat /tmp/stay.pid)
# So that the end of its input is not what ends it.
exec {holderInput}<>/tmp/stay.in
exec {sessionEnd}>/run/session.end
exec {sessionEnd}>&-
wait "$session" || true
expectWithin 20 nothingInForce
kill -0 "$holder" || fail "the program ended with its session"
not userStateIs active || fail "alice is still there"
expectContains "$(journalctl --unit="$helperUnit" --output=cat)" "user $alice is not served any more" "the log"
exec {holderInput}>&-
# logind forgets a user a moment after the last session.
expectWithin 30 userStateIs offline

# Deliberately there without a session.
loginctl enable-linger alice
expectWithin 20 userStateIs lingering
runWithoutSession alice "$TAVO_BIN/helper-client" hold battery </run/session.end >/run/lingering.out 2>&1 &
lingering=$!
exec {sessionEnd}>/run/session.end
expectWithin "$soon" hasContent /run/lingering.out
expectEqual '{"ok":{}}' "$(cat /run/lingering.out)" "answer while lingering"
expectEqual "ignore suspend" "$(lidActions)" "the lid while lingering"

# A restart of logind changes nothing, nor does one of the helper.
systemctl restart systemd-logind.service
before=$(helperProcess)
systemctl restart "$helperUnit"
expectEqual "ignore suspend" "$(lidActions)" "the lid after restarts"
loginctl disable-linger alice
expectWithin 30 nothingInForce
kill -0 "$lingering" || fail "the program ended"
exec {sessionEnd}>&-
wait "$lingering"

# Root, always.
beginHold all
expectEqual "ignore ignore" "$(lidActions)" "the lid for root"
endHold
expectWithin "$soon" nothingInForce
control helper uninstall
