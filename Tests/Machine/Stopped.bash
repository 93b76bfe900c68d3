# A stopped run keeps nothing awake: it would not notice that its reason has gone.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
status() { "$TAVO_BIN/tavoctl" --root "$root" status; }
isStopped() { [[ $(ps -o stat= -p "$run") == T* ]]; }
not_isStopped() { not isStopped; }
# As a shell at a terminal does it: each job has a process group of its own, which Ctrl-Z and Ctrl-C reach as a whole.
set -m
beginRun "$root" --always
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")

kill -s TSTP -- "-$run"
expectWithin "$soon" isStopped
expectHeld ''
expectWithin "$soon" hasEnded "$inhibitor"
said=$(status)
expectContains "$said" "stopped: tavo does not keep this computer awake until it is continued" "status after Ctrl-Z"
expectContains "$(tail -n 1 "$root.out")" "stopped: nothing is kept awake" "the line printed"
kill -s CONT -- "-$run"
expectHeld 'sleep:idle block'
expectWithin "$soon" not_isStopped

# SIGSTOP cannot be caught. The lock stays, and the status says why that is not as planned.
kill -s STOP "$run"
expectWithin "$soon" isStopped
expectEqual 'sleep:idle block' "$(heldByTavo)" "locks after SIGSTOP"
said=$(status)
expectContains "$said" "stopped: tavo decides nothing until it is continued" "status after SIGSTOP"
[[ $said != *"as planned"* ]] || fail "status after SIGSTOP: $said"
kill -s CONT "$run"
expectWithin "$soon" not_isStopped

kill -s INT -- "-$run"
ended=0
wait "$run" || ended=$?
expectEqual 0 "$ended" "exit status after Ctrl-C"
expectHeld ''
not grep -q paused "$root.out" || fail "it printed: $(cat "$root.out")"
expectEqual '' "$(cat "$root.err")" "standard error"
