# The desktop app, asked to stay awake only while the watched program works.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
beginDesktop

root=$(mktemp -d)/tavo
mkdir "$root"
"$TAVO_BIN/tavoctl" --root "$root" match --command idler-of-this-test >/dev/null
"$TAVO_BIN/tavoctl" --root "$root" enable >/dev/null
bash -c 'exec -a idler-of-this-test sleep infinity' &
idler=$!

beginApp "$root" --hidden --while-working --grace 0
expectHeld 'sleep:idle block'
expectContains "$(cat "$root/activity.json")" '"verdict": "firstSighting"' activity.json

# A second start shows the window, and says that the running Tavo keeps the options of its own start.
expectEqual '' "$("$TAVO_BIN/tavo" --root "$root" --while-working --grace 0 2>&1)" "a second start with the same options"
expectEqual '' "$("$TAVO_BIN/tavo" --root "$root" 2>&1)" "a second start without options"
expectContains "$("$TAVO_BIN/tavo" --root "$root" --while-working --busy 3 2>&1)" \
    "keeps its own options, --while-working --grace 0" "a second start with another share"
expectWithin 10 isShown settingsWindow

expectWithin 33 holds tavo ''
stateSays "$root" insufficientActivity || fail "state: $(cat "$root/state.json")"
expectContains "$("$TAVO_BIN/tavoctl" --root "$root" status)" "waiting for activity: sleep is idle" status

kill "$idler"
kill -TERM "$app"
wait "$app" || fail "the app did not end properly"
[ ! -e "$root/activity.json" ] || fail "activity.json outlived the app"
