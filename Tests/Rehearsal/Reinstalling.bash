# An earlier job that launchd is slow to release: the helper's and the login agent's.
. /scenarios/mac.bash
tool=/Library/PrivilegedHelperTools/TavoPrivilegedHelper
plist=/Library/LaunchDaemons/com.vrd.tavo.helper.plist
source=/Applications/Tavo.app/Contents/Helpers/TavoPrivilegedHelper
staged="$root/helper-installer/com.vrd.tavo.helper.plist"
again="tavo could not start its helper while the system was still ending the earlier one. please approve once more."

upToBootstrap="/bin/launchctl bootout system/com.vrd.tavo.helper
/bin/launchctl enable system/com.vrd.tavo.helper
/usr/bin/install -m 755 $source $tool
/usr/sbin/chown root:wheel $tool
/usr/bin/install -m 644 $staged $plist
/usr/sbin/chown root:wheel $plist
/bin/launchctl bootstrap system $plist"
print="/bin/launchctl print system/com.vrd.tavo.helper"
upToSecondPrompt="/usr/bin/osascript -e do shell script
$upToBootstrap
$print
$print
$print
$print
/usr/bin/osascript -e do shell script with prompt $again"

control helper install >/dev/null
: >/rehearsal/log
# The script boots out the helper that runs, and cannot load the new one yet.
control helper install >/dev/null
expectCalls "$upToSecondPrompt
$upToBootstrap
/bin/launchctl kickstart -k system/com.vrd.tavo.helper"
expectContains "$(control helper status)" "ready" "the state"
: >/rehearsal/log

# A refused second approval is the failure, and there is no third.
cat >/rehearsal/during-prompt <<'PROMPT'
[ ! -e /rehearsal/asked ] || : >/rehearsal/refused
: >/rehearsal/asked
PROMPT
status=0
message=$(control helper install 2>&1) || status=$?
expectEqual 1 "$status" "status after the second refusal"
expectContains "$message" "User canceled" "the refusal"
expectCalls "$upToSecondPrompt"
rm /rehearsal/during-prompt /rehearsal/refused /rehearsal/asked

# Launch at login, off and at once on again.
agent=$HOME/Library/LaunchAgents/com.vrd.tavo.plist
control login on >/dev/null
control login off >/dev/null
: >/rehearsal/log
control login on >/dev/null
expectCalls "/bin/launchctl bootout gui/0 $agent
/bin/launchctl bootstrap gui/0 $agent
/bin/launchctl print gui/0/com.vrd.tavo
/bin/launchctl print gui/0/com.vrd.tavo
/bin/launchctl print gui/0/com.vrd.tavo
/bin/launchctl print gui/0/com.vrd.tavo
/bin/launchctl bootstrap gui/0 $agent"
expectEqual true "$(control get launchAtLoginEnabled)" "the setting"
