# The helper removes itself when asked; one that differs from the build's is not trusted to.
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

# Many requests at once are one removal.
control helper install
process=$(helperProcess)
requests=()
for ((count = 0; count < 400; count++)); do requests+=('{"resetSupport":{}}'); done
removals() { journalctl --output=cat | grep -c 'Started .*Removes the helper of Tavo' || true; }
before=$(removals)
# The last ones may find it gone already.
client send "${requests[@]}" >/run/storm 2>/dev/null || true
expectContains "$(sort -u /run/storm)" 'data {"ok":{}}' "answers to the storm"
expectWithin 5 isGone
expectEqual $((before + 1)) "$(removals)" "removals"
expectWithin "$soon" nothingInForce

# An installation that comes while a removal is about to begin wins.
control helper install
expectEqual 'data {"ok":{}}' "$(client send '{"resetSupport":{}}')" "answer to a reset"
control helper install
process=$(helperProcess)
expectNeverWithin 3 isGone
helperStateIs ready || fail "the installation has lost"
not systemctl --quiet is-active com.vrd.tavo.helper-removal.service || fail "the removal goes on"

# One byte more.
control helper install
expectContains "$(printedJson helper status)" '"matchesThisBuild": true' "status of this build's helper"
{ cat "$helperFile" && printf x; } >/run/differing
install -m 755 /run/differing "$helperFile"
expectContains "$(control helper status)" "another file than this build's" "status"
expectContains "$(printedJson helper status)" '"matchesThisBuild": false' "status"
refusal=$(control helper reset 2>&1) && fail "another file was reset: $refusal"
expectContains "$refusal" "tavoctl helper uninstall" "the refusal"
helperStateIs ready || fail "the helper has gone"
control helper uninstall
helperStateIs notInstalled || fail "the helper is left"
