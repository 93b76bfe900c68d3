. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/privacy.bash"
withLogind=$scripts/with-logind
before=$(describeHost)

checkStatusAndStreams "$withLogind"
checkSaysThatRootIsNeeded "$withLogind"

"$withLogind" systemd-inhibit --list >"$scratch/list"
expectContains "$(<"$scratch/list")" "No inhibitors"

# Root may take any lock, and nobody else any: there is no polkit to ask.
expectStatus 0 "$withLogind" systemd-inhibit --what=sleep:idle:handle-lid-switch true
expectStatus 1 "$withLogind" setpriv --reuid=65534 --regid=65534 --clear-groups systemd-inhibit --what=idle true \
    2>"$scratch/refusal"

# Two side by side: neither sees the other's lock.
mkfifo "$scratch/held" "$scratch/seen"
"$withLogind" systemd-inhibit --who=tavo bash -c "echo >'$scratch/held'; read -r <'$scratch/seen'" &
read -r <"$scratch/held"
expectEqual "No inhibitors." "$("$withLogind" systemd-inhibit --list 2>&1)" "list of the second"
echo >"$scratch/seen"
wait $!

for ending in INT:130 TERM:143 HUP:129; do
    startAndEnd "$withLogind" "${ending%:*}" "${ending#*:}"
    hasNoProcessOf "$scratch/namespace" || fail "processes are left after SIG${ending%:*}"
done
startAndEnd "$withLogind" KILL 137 2>/dev/null
expectWithin 10 hasNoProcessOf "$scratch/namespace"

expectEqual "$before" "$(describeHost)" "this machine's mounts and files"
