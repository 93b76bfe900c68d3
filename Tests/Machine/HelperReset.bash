# The helper removes itself when it is asked to; one that differs from the build's is not trusted to.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

isGone() { [ ! -e "$unitFile" ] && [ ! -e "$helperFile" ] && ! kill -0 "$process" 2>/dev/null; }

control helper install
process=$(helperProcess)
beginHold all
expectEqual 'data {"ok":{}}' "$(client send '{"resetSupport":{}}')" "answer to a reset"
expectWithin 5 isGone
expectWithin "$soon" nothingInForce
expectContains "$(control helper status)" "not installed" "status after"
not systemctl cat "$helperUnit" >/dev/null 2>&1 || fail "the unit is left"
endHold

control helper install
process=$(helperProcess)
expectContains "$(control helper reset)" "has removed itself" "reset"
isGone || fail "something is left after a reset"
expectStatus 1 control helper reset 2>/dev/null

# One byte more.
control helper install
{ cat "$helperFile" && printf x; } >/run/differing
install -m 755 /run/differing "$helperFile"
expectContains "$(control helper status)" "another file than this build's" "status"
expectContains "$(control helper status --json)" '"matchesThisBuild": false' "status"
refusal=$(control helper reset 2>&1) && fail "another file was reset: $refusal"
expectContains "$refusal" "tavoctl helper uninstall" "the refusal"
helperStateIs ready || fail "the helper has gone"
control helper uninstall
helperStateIs notInstalled || fail "the helper is left"
