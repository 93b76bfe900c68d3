# As root, the helper is installed, an override for each scope is exactly that while it lasts, and nothing is left of
# it.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

expectContains "$(control helper status)" "not installed" "status before"
control helper install
expectContains "$(control helper status)" "helper       ready" "status"
expectContains "$(control helper status)" "the same file as this build's" "status"
expectContains "$(cat "$unitFile")" " --user 0" "who is served"
expectNothingInForce
expectContains "$(cat ~/.config/Tavo/config.json)" '"closedLidPermissionGranted": true' "the permission"

while read -r scope during; do
    beginHold "$scope"
    expectEqual "$during" "$(lidActions)" "the lid during an override for $scope"
    expectEqual "sleep block" "$(heldBy tavo-helper)" "the lock for $scope"
    expectContains "$(control helper status)" "override     $scope for process $holder" "status"
    endHold
    expectWithin "$soon" nothingInForce
done <<SCOPES
ac suspend ignore
battery ignore suspend
all ignore ignore
SCOPES

# The configured actions come back, and external power follows the configured one.
mkdir -p /etc/systemd/logind.conf.d
printf '[Login]\nHandleLidSwitch=lock\n' >/etc/systemd/logind.conf.d/90-own.conf
systemctl kill --signal=HUP systemd-logind.service
expectWithin "$soon" lidActionsAre "lock -"
beginHold battery
expectEqual "ignore lock" "$(lidActions)" "the lid over an own setting"
endHold
expectWithin "$soon" lidActionsAre "lock -"
expectContains "$(cat /etc/systemd/logind.conf.d/90-own.conf)" "HandleLidSwitch=lock" "the own file"

# A setting that comes after the helper's is noticed and reported, and nothing stays in force.
printf '[Login]\nHandleLidSwitch=suspend\n' >/etc/systemd/logind.conf.d/zzzz.conf
reply=$(client send '{"setSleepDisabled":{"scope":"all","disabled":true}}')
expectContains "$reply" "HandleLidSwitch=suspend" "what logind reports"
expectContains "$reply" '{"error":' "the response"
holds tavo-helper "" || fail "the lock is left"
rm /etc/systemd/logind.conf.d/*
systemctl kill --signal=HUP systemd-logind.service
expectWithin "$soon" nothingInForce

# A session's own request to sleep is refused while the lock lasts.
prepareSuspendRecorder /run/suspended
createUser alice
beginHold all
cat >/run/ask.bash <<'ASK'
busctl call org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager Suspend b false
ASK
answer=$(runInSession alice bash /run/ask.bash 2>&1) && fail "a session may suspend: $answer"
[ ! -e /run/suspended ] || fail "the machine has suspended"
endHold
expectWithin "$soon" nothingInForce
runInSession alice bash /run/ask.bash
expectWithin "$soon" hasContent /run/suspended

# logind may be restarted, and several scopes are one setting.
beginHold ac
first=$holder firstInput=$keepHolding
beginHold battery
expectEqual "ignore ignore" "$(lidActions)" "both scopes"
systemctl restart systemd-logind.service
expectWithin "$soon" lidActionsAre "ignore ignore"
endHold
expectWithin "$soon" lidActionsAre "suspend ignore"
kill -0 "$first" || fail "the first holder has ended"
exec {firstInput}>&-
expectWithin "$soon" nothingInForce

control helper uninstall
expectContains "$(control helper status)" "not installed" "status after"
[ ! -e "$unitFile" ] && [ ! -e "$helperFile" ] || fail "files are left"
not systemctl cat "$helperUnit" >/dev/null 2>&1 || fail "the unit is left"
expectContains "$(cat ~/.config/Tavo/config.json)" '"closedLidPermissionGranted": false' "the permission"
