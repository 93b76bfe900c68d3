# A program of the same user that rewrites the staged file while the password prompt is open.
. /scenarios/mac.bash
plist=/Library/LaunchDaemons/com.vrd.tavo.helper.plist
staged="$root/helper-installer/com.vrd.tavo.helper.plist"

cat >/rehearsal/during-prompt <<PROMPT
sed -i 's:/Library/PrivilegedHelperTools/TavoPrivilegedHelper:/tmp/foreign:' "$staged"
PROMPT
status=0
message=$(control helper install 2>&1) || status=$?
expectEqual 1 "$status" "status after the replacement"
expectContains "$(cat "$plist")" "<string>/tmp/foreign</string>" "what root's script has installed"
expectContains "$message" "$plist is not tavo's, and a foreign program has been started as root" "the message"
expectEqual false "$(control get closedLidPermissionGranted)" "the permission"
expectContains "$(control helper status)" "$plist is another file than this build's" "the state"
: >/rehearsal/log

# The commands that the message names remove it.
sudo() { "$@"; }
commands=${message#*remove it with \"}
eval "${commands%\" in a terminal.*}"
expectCalls "/bin/launchctl bootout system $plist"
[ ! -e "$plist" ] && [ ! -e /Library/PrivilegedHelperTools/TavoPrivilegedHelper ] || fail "files are left"

# With nobody in between it is installed, though launchd has yet to release the foreign job.
rm /rehearsal/during-prompt
control helper install >/dev/null
expectContains "$(control helper status)" "ready" "the state"
