# Shared by the tests of the privileged helper; sourced after machine.bash.

unitFile=/etc/systemd/system/com.vrd.tavo.helper.service
helperFile=/usr/local/libexec/TavoPrivilegedHelper
helperUnit=com.vrd.tavo.helper.service

control() { "$TAVO_BIN/tavoctl" "$@"; }
client() { "$TAVO_BIN/helper-client" "$@"; }

# lidActions: logind's HandleLidSwitch and HandleLidSwitchExternalPower, as in "suspend ignore"; "-" for one that is not
# set.
lidActions() {
    local battery external
    battery=$(logindProperty HandleLidSwitch)
    external=$(logindProperty HandleLidSwitchExternalPower)
    battery=${battery//\"/} external=${external//\"/}
    echo "${battery:--} ${external:--}"
}

lidActionsAre() { [ "$(lidActions)" = "$1" ]; }

# expectNothingInForce: the settings are those of a fresh system, and the helper holds no lock and has left no file.
expectNothingInForce() {
    lidActionsAre "suspend -" || fail "the lid: $(lidActions)"
    holds tavo-helper "" || fail "a lock of the helper's is left: $(heldBy tavo-helper)"
    expectEqual "" "$(ls -A /run/systemd/logind.conf.d 2>/dev/null)" "drop-ins"
    [ ! -e /run/com.vrd.tavo.helper/overrides.json ] || fail "the journal is left"
}

nothingInForce() { (expectNothingInForce) 2>/dev/null; }

# beginHold SCOPE: a process that holds an override until endHold or the end of its life; its process id is in $holder.
beginHold() {
    rm -f /tmp/hold.out
    exec {keepHolding}> >(exec "$TAVO_BIN/helper-client" hold "$1" >/tmp/hold.out 2>/tmp/hold.err)
    holder=$!
    expectWithin "$soon" hasContent /tmp/hold.out
    expectEqual '{"ok":{}}' "$(cat /tmp/hold.out)" "answer to an override for $1"
}

endHold() { exec {keepHolding}>&-; }

helperProcess() { systemctl show --property=MainPID --value "$helperUnit"; }

helperStateIs() { [[ $(printedJson helper status) == *"\"state\": \"$1\""* ]]; }
