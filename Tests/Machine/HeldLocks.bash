. "$(dirname "$0")/machine.bash"

# The reason holds what could mislead whoever reads the list.
holdFor() { systemd-inhibit --who="$1" --what="$2" --why='a "quoted" \reason 5 "tavo"' --mode="$3" sleep infinity & }

expectEqual "" "$(heldByTavo)" "locks of tavo at first"
holdFor tavo sleep:idle block
first=$!
holdFor tavo sleep delay
second=$!
holdFor 'not tavo' idle block
third=$!
atExit 'kill $first $second $third 2>/dev/null'

expectWithin 10 holds tavo $'sleep delay\nsleep:idle block'
expectWithin 10 holds 'not tavo' 'idle block'
kill "$first"
expectWithin 10 holds tavo 'sleep delay'
