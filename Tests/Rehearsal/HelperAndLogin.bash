# The helper installed, used and removed; launch at login on and off.
. /scenarios/mac.bash
tool=/Library/PrivilegedHelperTools/TavoPrivilegedHelper
plist=/Library/LaunchDaemons/com.vrd.tavo.helper.plist
source=/Applications/Tavo.app/Contents/Helpers/TavoPrivilegedHelper
staged="$root/helper-installer/com.vrd.tavo.helper.plist"

# The approval is refused: the error has the system's words, and nothing is installed.
: >/rehearsal/refused
status=0
message=$(control helper install 2>&1) || status=$?
expectEqual 1 "$status" "status after a refusal"
expectContains "$message" "User canceled" "the refusal"
expectCalls "/usr/bin/osascript -e do shell script"
[ ! -e "$tool" ] && [ ! -e "$root/helper-installer" ] || fail "a refusal left files"
rm /rehearsal/refused

control helper install >/dev/null
expectCalls "/usr/bin/osascript -e do shell script
/bin/launchctl bootout system/com.vrd.tavo.helper
/bin/launchctl enable system/com.vrd.tavo.helper
/usr/bin/install -m 755 $source $tool
/usr/sbin/chown root:wheel $tool
/usr/bin/install -m 644 $staged $plist
/usr/sbin/chown root:wheel $plist
/bin/launchctl bootstrap system $plist
/bin/launchctl kickstart -k system/com.vrd.tavo.helper"
cmp -s "$source" "$tool" || fail "another helper was installed"
[ ! -e "$root/helper-installer" ] || fail "the staging folder is left"
expectContains "$(cat "$plist")" "<key>MachServices</key>" "the service's definition"
expectEqual true "$(control get closedLidPermissionGranted)" "the permission"
expectContains "$(control helper status)" "ready" "the state"
: >/rehearsal/log

beginRun --always --lid closed
expectCalls "/usr/bin/caffeinate -i -s
/usr/bin/pmset -a disablesleep 1"
endRun
expectCalls "/usr/bin/caffeinate ends
/usr/bin/pmset -a disablesleep 0"

# It removes itself a second later.
control helper reset >/dev/null
expectCalls "/bin/launchctl bootout system/com.vrd.tavo.helper"
[ ! -e "$tool" ] && [ ! -e "$plist" ] || fail "files of the helper are left"
expectEqual false "$(control get closedLidPermissionGranted)" "the permission after the reset"

# Launch at login.
agent=$HOME/Library/LaunchAgents/com.vrd.tavo.plist
control login on >/dev/null
expectCalls "/bin/launchctl bootout gui/0 $agent
/bin/launchctl bootstrap gui/0 $agent"
expectContains "$(cat "$agent")" "<string>/Applications/Tavo.app/Contents/MacOS/tavo</string>" "the agent"
control set launchAtLoginEnabled false >/dev/null
expectCalls "/bin/launchctl bootout gui/0 $agent"
[ ! -e "$agent" ] || fail "the agent is left"

# The run without a desktop has an agent of its own, beside the app's.
runAgent=$HOME/Library/LaunchAgents/com.vrd.tavo.run.plist
"$tavoctl" login on --headless >/rehearsal/out
expectCalls "/bin/launchctl bootout gui/0 $runAgent
/bin/launchctl bootstrap gui/0 $runAgent"
expectContains "$(cat /rehearsal/out)" "com.vrd.tavo.run is enabled and started." "what is said"
expectContains "$(tr -d '\n\t' <"$runAgent")" "<string>$tavoctl</string><string>run</string><string>--service</string>" \
    "the agent of the run"
control login on >/rehearsal/out
# launchd still releases the job from before.
waits="/bin/launchctl print gui/0/com.vrd.tavo"
expectCalls "/bin/launchctl bootout gui/0 $agent
/bin/launchctl bootstrap gui/0 $agent
$waits
$waits
$waits
$waits
/bin/launchctl bootstrap gui/0 $agent"
expectContains "$(cat /rehearsal/out)" "only one tavo runs for a user" "what is said of both"
"$tavoctl" login off --headless >/dev/null
expectCalls "/bin/launchctl bootout gui/0 $runAgent"
[ ! -e "$runAgent" ] || fail "the agent of the run is left"
[ -e "$agent" ] || fail "the app's agent is gone"
control login off >/dev/null
expectCalls "/bin/launchctl bootout gui/0 $agent"

# That run takes its options from the file.
echo "always" >"$root/run.conf"
beginRun --service
expectCalls "/usr/bin/caffeinate -i -s"
endRun
expectCalls "/usr/bin/caffeinate ends"
echo "preset nonsense" >"$root/run.conf"
status=0
message=$("$tavoctl" run --service --root "$root" 2>&1) || status=$?
expectEqual 78 "$status" "status with a damaged file"
expectContains "$message" "$root/run.conf, line 1: --preset takes one of" "the message about it"
expectEqual "preset nonsense" "$(cat "$root/run.conf")" "the damaged file"
