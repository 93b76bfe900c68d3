# Floods and nonsense: the helper answers or closes each, keeps serving, and does not grow.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

createUser mallory
control helper install
process=$(helperProcess)
residentMemory() { awk '$1 == "VmRSS:" { print $2 }' "/proc/$process/status"; }

client flood 1000 # what it grows to with a thousand connections at once, it may keep
client noise 1000
before=$(residentMemory)

expectEqual "500 answered, 500 closed" "$(client flood 1000)" "the flood"
runWithoutSession mallory "$TAVO_BIN/helper-client" flood 1000 >/run/flood.out 2>&1 && fail "mallory was served"
expectContains "$(cat /run/flood.out)" "does not serve this user" "mallory's flood"
expectEqual "100000 refused" "$(client noise 100000)" "the noise"

# Nothing, half a length, half a body, lengths of 64 KiB + 1 and of 4 GiB, a length of 0.
for bytes in 00 0000000b7b22 00010001 ffffffff 00000000; do client raw "$bytes"; done >/run/replies
expectEqual "closed" "$(sed -n 1p /run/replies)" "half a length"
expectEqual "closed" "$(sed -n 2p /run/replies)" "half a body"
expectContains "$(sed -n 3p /run/replies)" "message a message of 65537 bytes is too long" "64 KiB + 1"
expectContains "$(sed -n 4p /run/replies)" "message a message of 4294967295 bytes is too long" "4 GiB"
expectContains "$(sed -n 5p /run/replies)" "message " "nothing"
for body in '' '{' '[]' 'null' '{}' '{"ping":{},"resetSupport":{}}' '{"setSleepDisabled":{"scope":"dc","disabled":true}}' \
    '{"setSleepDisabled":{"scope":"ac"}}' '{"ping":null}'; do
    expectContains "$(client send "$body")" "message " "answer to '$body'"
done

after=$(residentMemory)
[ "$after" -le $((before + 512)) ] || fail "the helper has grown from $before to $after KiB"
expectEqual "$process" "$(helperProcess)" "the helper's process"
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"
expectNothingInForce
