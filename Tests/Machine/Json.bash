# Everything that tavoctl prints as JSON, and every file that it writes, is as docs/schema says.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
printAll() {
    local command
    for command in status explain history doctor get 'get trigger' 'get trigger.preset' 'get batteryCutoffPercent' \
        'get watchMode' 'helper status' processes 'processes --command sleep' 'processes --command sleep --cpu'; do
        # shellcheck disable=SC2086
        printedJson $command --root "$root" >/dev/null || fail "$command prints something else"
    done
}
# hasLines FILE COUNT
hasLines() { [ "$(wc -l <"$1")" -ge "$2" ]; }

# Of a folder without files, and of the files of a run.
printAll
sleep 1000 &
watched=$!
atExit 'kill "$watched" 2>/dev/null'
beginRun "$root" --json --command "sleep 1000" --while-working --for 1h
expectHeld 'sleep:idle block'
printAll
"$TAVO_BIN/tavoctl" --root "$root" watch --json >"$root.watch" &
watch=$!
expectWithin 10 hasLines "$root.watch" 1
"$TAVO_BIN/tavoctl" --root "$root" match --executable nothing-of-this-name >/dev/null
kill "$watched"
expectHeld ''
expectWithin 10 hasLines "$root.watch" 2
kill -s TERM "$watch"
wait "$watch" || fail "watch did not end properly"
printAll

# Its lines: states, a notice, and the end.
echo '{' >"$root/config.json"
reevaluate
expectWithin "$soon" grep -q 'config.json cannot be used' "$root.out"
rm "$root/config.json"
endRun TERM
beginRun "$root.bounded" --json --always --for 2s
expectWithin 10 hasEnded "$run"
wait "$run"
expectContains "$(tail -n 1 "$root.bounded.out")" '"ended":' "the last line"
checkJson watch --lines <"$root.watch"
checkJson run --lines <"$root.out"
checkJson run --lines <"$root.bounded.out"

checkJson state <"$root/state.json"
checkJson history-file --lines <"$root/history.jsonl"
"$TAVO_BIN/tavoctl" --root "$root" preset claudeCode >/dev/null
checkJson config <"$root/config.json"
printAll

# The check itself.
not checkJson status <<<'{"running": false}' 2>/dev/null || fail "a status without its fields is taken for one"
not checkJson run --lines </dev/null 2>/dev/null || fail "no line is taken for one"
