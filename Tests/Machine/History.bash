# The history of runs that ended properly, were killed, and go on; and that it costs no lock.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
history() { printedJson history --root "$root"; }
# endings: the endings of all periods, the oldest first.
endings() { history | grep -o '"ending": "[a-zA-Z]*"' | cut -d'"' -f4 | paste -sd' '; }
endingsAre() { [ "$(endings)" = "$1" ]; }

sleep 1000 &
watched=$!
atExit 'kill "$watched" 2>/dev/null'
beginRun "$root" --command "sleep 1000"
expectHeld 'sleep:idle block'
expectEqual ongoing "$(endings)" "endings while it runs"
kill -s USR1 "$run"
kill -s USR1 "$run"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" explain)" "> trigger  sleep 1000: matches sleep (process id $watched" explain
kill -s TERM "$run"
wait "$run"
expectEqual quit "$(endings)" "endings after a proper end"
expectEqual 'start change end' "$(grep -o '"event":"[a-z]*"' "$root/history.jsonl" | cut -d'"' -f4 | paste -sd' ')" "lines"
checkJson history-file --lines <"$root/history.jsonl"
expectEqual 600 "$(stat -c %a "$root/history.jsonl")" "mode"
not grep -q 1000 "$root/history.jsonl" || fail "a command line in the history: $(cat "$root/history.jsonl")"

# A killed run has no end, and shows as such, while nobody runs and when another does.
beginRun "$root" --always
expectHeld 'sleep:idle block'
kill -s KILL "$run"
wait "$run" 2>/dev/null || true
expectWithin 20 endingsAre 'quit killed'
beginRun "$root" --always
expectHeld 'sleep:idle block'
expectEqual 'quit killed ongoing' "$(endings)" "endings with another run"
table=$("$TAVO_BIN/tavoctl" --root "$root" history)
expectContains "$table" "was killed, or the computer went down" "table"
expectContains "$table" "still awake" "table"
expectContains "$table" "#" "drawn day"
kill -s TERM "$run"
wait "$run"

# Where there is no room for it, the lock is held all the same, and doctor says so.
rm "$root/history.jsonl"
mkfifo "$root/history.jsonl"
beginRun "$root" --always
expectHeld 'sleep:idle block'
expectEqual 1 "$(grep -c 'the history cannot be written' "$root.err")" "words on standard error"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" doctor || true)" "history.jsonl" doctor
kill -s TERM "$run"
wait "$run"
expectHeld ''
