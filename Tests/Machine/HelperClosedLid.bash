# The lid is closed already when the last override ends: the machine is asked to sleep where nobody else would ask. A
# machine without a lid needs a stand-in for logind, on a bus of its own.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

mkdir -p /run/stand-in /run/systemd/logind.conf.d
address=unix:path=/run/stand-in/bus
dbus-daemon --session --nofork --address="$address" >/run/stand-in/bus.log 2>&1 &
bus=$!
expectWithin "$soon" test -S /run/stand-in/bus
state=/run/stand-in/state

# lidIs PROPERTY=VALUE...: the stand-in's answers, besides those common to all tests.
lidIs() {
    local closed=true docked=false external=false blocked=handle-lid-switch assignment
    for assignment in "$@"; do local "$assignment"; done
    printf '%s\n' "HandleLidSwitch s suspend" "HandleLidSwitchExternalPower s" "HandleLidSwitchDocked s ignore" \
        "LidClosed b $closed" "Docked b $docked" "OnExternalPower b $external" "BlockInhibited s $blocked" >"$state"
}

asked() { cat "$state.calls" 2>/dev/null || true; }
hasAsked() { [[ $(asked) == *"$1"* ]]; }

lidIs
"$TAVO_BIN/stand-in-logind" "$address" "$state" &
standIn=$!
hasName() { [ "$(busctl --address="$address" call org.freedesktop.DBus / org.freedesktop.DBus NameHasOwner s \
    org.freedesktop.login1)" = "b true" ]; }
expectWithin "$soon" hasName
mkdir -p /run/com.vrd.tavo.helper
DBUS_SYSTEM_BUS_ADDRESS=$address "$TAVO_BIN/TavoPrivilegedHelper" --user 0 2>/run/stand-in/helper.log &
helper=$!
expectWithin "$soon" test -S /run/com.vrd.tavo.helper/socket

# overrideAndDie: an override begins and ends with its process.
overrideAndDie() {
    rm -f "$state.calls"
    beginHold all
    hasAsked 'Inhibit "sleep"' || fail "no lock was asked for: $(asked)"
    kill -s KILL "$holder"
    journalIsGone() { [ ! -e /run/com.vrd.tavo.helper/overrides.json ]; }
    expectWithin "$soon" journalIsGone
    endHold
}

overrideAndDie
expectWithin "$soon" hasAsked Suspend
expectEqual "" "$(ls -A /run/systemd/logind.conf.d)" "drop-ins"

for situation in closed=false docked=true blocked=sleep:handle-lid-switch blocked=; do
    lidIs "$situation"
    overrideAndDie
    expectNeverWithin 1 hasAsked Suspend
done

# Ended and begun again at once, as by a Tavo whose plan changes: with the lid closed nothing happens in between.
lidIs
rm -f "$state.calls"
exec {plans}> >(exec "$TAVO_BIN/helper-client" plans >/run/stand-in/plans.out)
expectWithin "$soon" hasContent /run/stand-in/plans.out
expectNeverWithin 4 hasAsked Suspend
expectContains "$(cat /run/systemd/logind.conf.d/*)" "HandleLidSwitchExternalPower=ignore" "the override"
exec {plans}>&-
expectWithin "$soon" hasAsked Suspend

# Stopped with the lid closed: the override ends, and the machine goes to sleep.
rm -f "$state.calls"
beginHold all
kill -s TERM "$helper"
status=0
wait "$helper" || status=$?
expectEqual 0 "$status" "the helper's exit status"
hasAsked Suspend || fail "nobody asked for sleep: $(asked)"
expectEqual "" "$(ls -A /run/systemd/logind.conf.d)" "drop-ins after a stop"
endHold

kill "$standIn" "$bus"
