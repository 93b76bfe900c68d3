# A setting that one command changes takes effect in the running Tavo.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
settings() { "$TAVO_BIN/tavoctl" "$@" --root "$root"; }
beginRun "$root"
expectWithin "$soon" stateSays "$root" disabled
expectHeld ''
switchedOff='keeping awake is switched off (isEnabled); tavoctl enable switches it on'
expectContains "$(cat "$root.out")" "$switchedOff" "what the run said"
expectContains "$(settings match --executable codex)" "$switchedOff" "what match said"
settings preset always >/dev/null

# The command returns once the change has taken effect: the lock is held already.
settings enable >/dev/null
expectEqual 'sleep:idle block' "$(heldByTavo)" "after enable"

# A preset, and a program that comes and goes.
folder=$(mktemp -d)
cp "$(command -v sleep)" "$folder/codex"
said=$(settings preset codex)
expectEqual '' "$(heldByTavo)" "after preset codex"
expectContains "$said" "waiting for codex: starts when codex runs" "what preset printed"
expectContains "$said" "running (process id $run)" "what preset printed"
"$folder/codex" 1000 &
watched=$!
# Until exec has happened, it is still this program.
isCodex() { tr '\0' ' ' <"/proc/$watched/cmdline" | grep -q "^$folder/codex"; }
expectWithin "$soon" isCodex
reevaluate
expectHeld 'sleep:idle block'
kill "$watched"
wait "$watched" 2>/dev/null || true
reevaluate
expectHeld ''

settings preset always >/dev/null
expectEqual 'sleep:idle block' "$(heldByTavo)" "after preset always"
settings disable >/dev/null
expectEqual '' "$(heldByTavo)" "after disable"
settings toggle >/dev/null
expectEqual 'sleep:idle block' "$(heldByTavo)" "after toggle"
settings match --executable "no such program" >/dev/null
expectEqual '' "$(heldByTavo)" "after match"
settings set trigger.preset always >/dev/null
expectEqual 'sleep:idle block' "$(heldByTavo)" "after set"

# A refused change leaves the file and the running Tavo as they were.
before=$(cat "$root/config.json")
expectStatus 64 settings set batteryCutoffPercent 0 2>/dev/null
expectStatus 64 settings set pollIntervalSeconds 5 2>/dev/null
expectStatus 64 settings set closedLidPermissionGranted true 2>/dev/null
expectEqual "$before" "$(cat "$root/config.json")" config.json
expectEqual 'sleep:idle block' "$(heldByTavo)" "after refusals"

# Two at once: neither is lost.
settings set batteryCutoffPercent 41 >/dev/null &
one=$!
settings set powerSourcePolicy acOnly >/dev/null &
wait "$one"
expectEqual 41 "$(settings get batteryCutoffPercent)" cutoff
expectEqual acOnly "$(settings get powerSourcePolicy)" policy

# A run without a window ignores a request to show it.
kill -s USR2 "$run"
settings set powerSourcePolicy any >/dev/null
kill -0 "$run" || fail "the run has ended"

# A stopped process cannot follow: the command says so, and the change is saved.
kill -s STOP "$run"
status=0
message=$(settings disable 2>&1 >/dev/null) || status=$?
expectEqual 1 "$status" "status while nobody follows"
expectContains "$message" "is stopped, and follows once it is continued" "the message"
expectEqual false "$(settings get isEnabled)" isEnabled
kill -s CONT "$run"
expectHeld ''
endRun TERM

# Switched on in the file all the same: the next start resumes.
settings enable >/dev/null
beginRun "$root"
expectHeld 'sleep:idle block'
endRun TERM
expectEqual true "$(settings get isEnabled)" isEnabled
