# A program keeps awake while it works, and for the grace while it waits; daemons that it leaves behind do not.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
programs=$(mktemp -d)

# A program with a known use of the CPU, however busy the machine is: in a loop it uses so many milliseconds of CPU time
# and then sleeps for so many. It starts no children, which would count as work.
cat >"$programs/program.py" <<'PROGRAM'
import sys, time
busy, pause = float(sys.argv[2]) / 1000, float(sys.argv[3]) / 1000
while True:
    start = time.process_time()
    while time.process_time() - start < busy:
        pass
    time.sleep(pause)
PROGRAM
start() { # NAME BUSY PAUSE: in the background, with NAME on its command line; its process id is in $started
    python3 "$programs/program.py" "$@" >/dev/null 2>&1 </dev/null &
    started=$!
}
isRunning() { "$TAVO_BIN/tavoctl" processes --command "$1" | grep -q "^ *$2  *python"; }

# One in bursts, and one like an agent at its prompt: 0.3 percent of a core at most.
start bursting-worker 200 1800
worker=$started
start idle-at-prompt 6 2000
prompt=$started
# A program that has ended and left two daemons behind.
bash -c 'for daemon in 1 2; do python3 "$1/program.py" leftover-daemon 0 60000 >/dev/null 2>&1 & echo $! >>"$1/daemons"; done' \
    leftover "$programs"
endPrograms() {
    local program
    for program in "$worker" "$prompt" $(cat "$programs/daemons"); do kill "$program" 2>/dev/null || true; done
}
atExit endPrograms
areAdopted() { # they are daemons once process 1 is their parent
    [ "$(wc -l <"$programs/daemons")" = 2 ] && [ "$(ps -o ppid= -p "$(paste -sd, "$programs/daemons")" | tr -d ' ' | sort -u)" = 1 ]
}
expectWithin "$soon" areAdopted
expectWithin "$soon" isRunning bursting-worker "$worker"
expectWithin "$soon" isRunning idle-at-prompt "$prompt"

verdictOf() { # PID JSON
    python3 -c 'import json, sys; print(next(t["verdict"] for t in json.loads(sys.argv[2]) if t["pid"] == int(sys.argv[1])))' "$@"
}
expectEqual busy "$(verdictOf "$worker" "$(printedJson processes --command bursting-worker --cpu)")" worker
expectEqual idle "$(verdictOf "$prompt" "$(printedJson processes --command idle-at-prompt --cpu)")" prompt
expectContains "$("$TAVO_BIN/tavoctl" processes --command leftover-daemon --cpu)" "% idle" "the daemons' share"

# Side by side, each with its own folder: the verdict comes half a minute after the first sighting.
runs=()
# The folders have other names: the tools that look into them must not be taken for the programs.
for name in bursting-worker idle-at-prompt leftover-daemon; do
    beginRun "$root.${#runs[@]}" --while-working --grace 5s --command "$name"
    expectWithin "$soon" stateSays "$root.${#runs[@]}" active
    runs+=("$run")
done
began=$SECONDS
expectEqual 3 "$(heldByTavo | wc -l)" "number of locks at the first sighting"
expectContains "$(cat "$root.1/activity.json")" '"verdict": "firstSighting"' "activity at the first sighting"
expectEqual 600 "$(stat -c %a "$root.1/activity.json")" "mode of the activity file"
expectContains "$(tail -n 1 "$root.1.out")" "works until it has been measured" "the first line"

# A request to evaluate does not bring the verdict forward.
run=${runs[1]}
reevaluate
expectNeverWithin 15 stateSays "$root.1" insufficientActivity

expectWithin $((began + 33 - SECONDS)) stateSays "$root.1" insufficientActivity
expectWithin "$soon" stateSays "$root.2" insufficientActivity
expectHeld 'sleep:idle block'
expectContains "$("$TAVO_BIN/tavoctl" --root "$root.1" status)" "waiting for activity: python" status
expectContains "$("$TAVO_BIN/tavoctl" --root "$root.1" status)" "): idle, 0." "the program in the status"
worksByItsShare() { grep -q '"verdict": "busy"' "$root.0/activity.json"; }
expectWithin "$soon" worksByItsShare
stateSays "$root.0" active || fail "the worker was taken for idle"
expectContains "$(tail -n 1 "$root.0.out")" "works, more than 1% of a core" "the worker's line"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root.0" status)" "): works, " "the worker in the status"
[ ! -e "$root.0/config.json" ] || fail "something was written into config.json"

for run in "${runs[@]}"; do endRun TERM; done
expectHeld ''
[ ! -e "$root.0/activity.json" ] || fail "the activity file outlived its run"
