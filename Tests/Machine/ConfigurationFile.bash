# The file is obeyed as it changes, and never written by a run.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo
mkdir "$root"
config=$root/config.json
writeConfig() { # writeConfig ENABLED
    cat >"$config.new" <<JSON
{ "isEnabled": $1, "watchMode": "open", "powerSourcePolicy": "any", "maxAwakeDuration": "none", "pollIntervalSeconds": 60,
  "trigger": { "preset": "always" }, "launchAtLoginEnabled": false }
JSON
    mv "$config.new" "$config"
}

writeConfig false
beginRun "$root"
expectWithin "$soon" stateSays "$root" disabled
holds tavo '' || fail "held though switched off"
writeConfig true
reevaluate
expectHeld 'sleep:idle block'

# Broken while it runs: what it said before stays in force.
echo '{ "isEnabled": 1 }' >"$config"
reevaluate
saysWhy() { grep -q 'config.json cannot be used.*isEnabled' "$root.out"; }
expectWithin "$soon" saysWhy
holds tavo 'sleep:idle block' || fail "a broken file released the lock"
endRun TERM
expectEqual '{ "isEnabled": 1 }' "$(cat "$config")" config.json

# Broken at the start: refused, and left as it is.
status=0
message=$("$TAVO_BIN/tavoctl" --root "$root" run --always 2>&1) || status=$?
expectEqual 78 "$status" "exit status for a broken file"
expectContains "$message" "isEnabled: expected true or false but found a number" message
expectEqual '{ "isEnabled": 1 }' "$(cat "$config")" config.json
expectStatus 78 "$TAVO_BIN/tavoctl" --root "$root" status >/dev/null 2>&1

# Overrides are for one run.
writeConfig false
before=$(cat "$config")
beginRun "$root" --always --cutoff none --json
expectHeld 'sleep:idle block'
endRun TERM
expectEqual "$before" "$(cat "$config")" "config.json after a run with overrides"
expectContains "$(head -n 1 "$root.out")" '"decision":"active"' "the object printed"
checkJson run --lines <"$root.out"

expectStatus 64 "$TAVO_BIN/tavoctl" run --always --preset codex 2>/dev/null
