# The lid closed: which scope, and in which order, as the policy and the lid change.
. /scenarios/mac.bash

# Without a helper: refused, and nothing is run.
beginRun --always --lid closed
status=0
wait "$run" || status=$?
expectEqual 1 "$status" "status without a helper"
expectContains "$(cat /rehearsal/err)" "tavoctl helper install" "the advice"
expectCalls ""

install -D -m 755 /Applications/Tavo.app/Contents/Helpers/TavoPrivilegedHelper /Library/PrivilegedHelperTools/TavoPrivilegedHelper
mkdir -p /Library/LaunchDaemons
: >/Library/LaunchDaemons/com.vrd.tavo.helper.plist
: >/rehearsal/log

for policy in any:-a ac:-c battery:-b; do
    [ "$policy" != battery:-b ] || setPower battery 70
    flags="-i -s"
    [ "$policy" != battery:-b ] || flags="-i"
    beginRun --always --lid both --power "${policy%:*}"
    expectCalls "/usr/bin/caffeinate $flags
/usr/bin/pmset ${policy#*:} disablesleep 1"
    endRun
    expectCalls "/usr/bin/caffeinate ends
/usr/bin/pmset ${policy#*:} disablesleep 0"
done
setPower ac 70

# Another policy while it is active. A request to refresh begins the current override again, in case the helper was
# replaced; then the old override ends, and the new one begins.
control set watchMode closed >/dev/null
control enable >/dev/null
: >/rehearsal/log
beginRun
expectCalls "/usr/bin/caffeinate -i -s
/usr/bin/pmset -a disablesleep 1"
control set powerSourcePolicy acOnly >/dev/null
expectCalls "/usr/bin/pmset -a disablesleep 1
/usr/bin/caffeinate ends
/usr/bin/pmset -a disablesleep 0
/usr/bin/caffeinate -i -s
/usr/bin/pmset -c disablesleep 1
/usr/bin/pmset -g assertions"
control set watchMode open >/dev/null
expectCalls "/usr/bin/pmset -c disablesleep 1
/usr/bin/caffeinate ends
/usr/bin/pmset -c disablesleep 0
/usr/bin/caffeinate -i -s
/usr/bin/pmset -g assertions"
endRun
expectCalls "/usr/bin/caffeinate ends"
