# Floods and nonsense: the helper answers or closes each, keeps serving, and does not grow.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

messages=4000
[ "${TAVO_THOROUGH-}" != 1 ] || messages=100000

createUser mallory
control helper install
process=$(helperProcess)
statusOf() { awk -v key="$1:" '$1 == key { print $2 }' "/proc/$process/status"; }
openDescriptors() { find "/proc/$process/fd" -mindepth 1 | wc -l; }
# The other ends of closed connections may still be on their way.
descriptorsAre() { [ "$(openDescriptors)" -eq "$1" ]; }

# provoke COUNT: the helper carries none of them out.
provoke() {
    local said
    said=$(client noise "$1" 2>&1) || fail "hostile messages: $said"
    echo "$said" >&2
}

descriptors=$(openDescriptors)
client flood 1000 # what it grows to with a thousand connections at once, it may keep
provoke 2000
expectWithin "$soon" descriptorsAre "$descriptors"
memory=$(statusOf VmRSS) threads=$(statusOf Threads)

expectEqual "500 answered, 500 closed" "$(client flood 1000)" "the flood"
runWithoutSession mallory "$TAVO_BIN/helper-client" flood 1000 >/run/flood.out 2>&1 && fail "mallory was served"
expectContains "$(cat /run/flood.out)" "does not serve this user" "mallory's flood"
provoke "$messages"

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

# A sanitizer keeps freed memory for a while, to find later uses of it.
mayGrow=512
! grep -qsE '__(asan|tsan)_init' "$helperFile" || mayGrow=524288
after=$(statusOf VmRSS)
[ "$after" -le $((memory + mayGrow)) ] || fail "the helper has grown from $memory to $after KiB"
expectWithin "$soon" descriptorsAre "$descriptors"
expectEqual "$threads" "$(statusOf Threads)" "threads"
expectEqual "$process" "$(helperProcess)" "the helper's process"
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"
expectNothingInForce
