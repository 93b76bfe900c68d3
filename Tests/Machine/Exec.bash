# A command that runs through tavoctl keeps the computer awake, and otherwise runs as if it had been started directly.
. "$(dirname "$0")/machine.bash"

work=$(mktemp -d)
root=$work/tavo
both='sleep:idle block'
awake() { "$TAVO_BIN/tavoctl" --root "$root" exec "$@"; }
# beginExec ARGUMENTS...: in the background; its process id is in $exec, and $work/begun appears when the command runs.
beginExec() {
    rm -f "$work/begun"
    "$TAVO_BIN/tavoctl" --root "$root" exec "$@" >"$work/out" 2>"$work/err" </dev/null &
    exec=$!
    expectWithin 20 test -e "$work/begun"
}
waitsFor() { printf 'touch "%s/begun"; until test -e "%s"; do sleep 0.05; done' "$work" "$1"; }

# Status, streams, descriptors, arguments.
expectStatus 0 awake -- true
expectStatus 7 awake -- sh -c 'exit 7'
expectStatus 137 awake -- sh -c 'kill -KILL $$'
expectStatus 127 awake -- tavo-no-such-command 2>/dev/null
expectStatus 126 awake -- "$work" 2>/dev/null
expectStatus 64 awake true 2>/dev/null
expectEqual "in:a  b|--|" "$(printf 'in' | awake -- sh -c 'printf "%s:" "$(cat)"; printf "%s|" "$@"' sh 'a  b' --)" "input and arguments"
expectEqual "err" "$(awake -- sh -c 'echo out; echo err >&2' 2>&1 >/dev/null)" "standard error"
expectEqual "passed" "$(awake -- cat /dev/fd/7 7< <(echo passed))" "a passed descriptor"
expectEqual "$(ls /proc/self/fd | wc -l)" "$(awake -- ls /proc/self/fd | wc -l)" "the number of descriptors"
expectEqual "$(LC_ALL=C env | grep -v '^_=' | sort)" "$(LC_ALL=C awake -- env | grep -v '^_=' | sort)" "environment"
expectEqual history.jsonl "$(ls -A "$root")" "the files it left"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" history)" "cat" "the command in the history"

# The lock lasts as long as the command, beside a running Tavo and beside another one.
beginExec -- sh -c "$(waitsFor "$work/one")"
first=$exec
expectHeld "$both"
"$TAVO_BIN/tavoctl" --root "$root" status >"$work/status"
expectContains "$(cat "$work/status")" "not running" "status beside an exec"
beginRun "$root" --always
expectHeld "$both
$both"
beginExec -- sh -c "$(waitsFor "$work/two")"
expectHeld "$both
$both
$both"
touch "$work/two"
wait "$exec" || fail "the second command failed"
expectHeld "$both
$both"
endRun TERM
expectHeld "$both"
touch "$work/one"
wait "$first" || fail "the first command failed"
expectHeld ''
expectEqual '' "$(cat "$work/err")" "standard error"

# Signals go to the command, and tavoctl ends with it.
for signal in TERM HUP USR1 USR2; do
    beginExec -- bash -c "trap 'exit 42' $signal; touch '$work/begun'; while :; do sleep 0.05; done"
    kill -s "$signal" "$exec"
    ended=0
    wait "$exec" || ended=$?
    expectEqual 42 "$ended" "exit status after SIG$signal"
done
expectHeld ''

# A killed tavoctl leaves no lock, and the command runs on.
beginExec -- sh -c "echo \$\$ >'$work/pid'; $(waitsFor "$work/three")"
expectHeld "$both"
kill -s KILL "$exec"
expectHeld ''
hasEnded "$(cat "$work/pid")" && fail "the command went, too"
touch "$work/three"
expectWithin 20 hasEnded "$(cat "$work/pid")"

# Stopped by another process and not by a terminal, then continued: the lock is released and taken again.
beginExec -- sh -c "echo \$\$ >'$work/pid'; $(waitsFor "$work/four")"
expectHeld "$both"
kill -s STOP "$(cat "$work/pid")"
expectHeld ''
kill -s CONT "$(cat "$work/pid")"
expectHeld "$both"
touch "$work/four"
wait "$exec" || fail "the command failed after it was continued"

# At a terminal: Ctrl-Z, fg, Ctrl-C.
mkfifo "$work/keys"
# Without job control a background process would ignore Ctrl-C, and so would everything that it starts.
set -m
script --quiet --flush --return --command "bash --norc --noprofile -i" "$work/typescript" <"$work/keys" >/dev/null &
terminal=$!
set +m
exec 8>"$work/keys"
type() { printf '%b' "$1" >&8; }
shows() { grep -q -- "$1" "$work/typescript"; }
cat >"$work/command" <<COMMAND
interrupts=0
trap 'interrupts=\$((interrupts + 1)); echo "interrupts: \$interrupts"' INT
trap 'exit 9' TERM
echo \$\$ >'$work/pid'
touch '$work/begun'
while :; do sleep 0.05; done
COMMAND
rm -f "$work/begun"
type "'$TAVO_BIN/tavoctl' --root '$root' exec -- bash '$work/command'\n"
expectWithin 20 test -e "$work/begun"
expectHeld "$both"
type '\x1a'
expectHeld ''
expectWithin 20 shows Stopped
isStopped() { [[ $(ps -o stat= -p "$1") == T* ]]; }
expectWithin "$soon" isStopped "$(cat "$work/pid")"
type 'fg; echo status=$?\n'
expectHeld "$both"
not isStopped "$(cat "$work/pid")" || fail "the command is still stopped"
type '\x03'
expectWithin 20 shows 'interrupts: 1'
kill -s TERM "$(cat "$work/pid")"
expectWithin 20 shows "status=9"
not shows 'interrupts: 2' || fail "Ctrl-C reached the command twice"
expectHeld ''
type 'exit\n'
exec 8>&-
wait "$terminal" || true
