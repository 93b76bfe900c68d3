# A package is upgraded while its helper is in use: the override of a living process goes on without a gap.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
. "$(dirname "$0")/packaged.bash"

installPackage
packaged helper install
lidDropIn=/run/systemd/logind.conf.d/zzz-com.vrd.tavo.helper.conf

# watchLid: notes each moment at which the drop-in is not there, until endWatch.
watchLid() {
    rm -f /run/gaps /run/watching.end
    : >/run/watches
    while [ ! -e /run/watching.end ]; do
        [ -e "$lidDropIn" ] || echo gap >>/run/gaps
        echo x >>/run/watches
    done &
    watcher=$!
}
endWatch() {
    touch /run/watching.end
    wait "$watcher"
    [ "$(wc -l </run/watches)" -gt 100 ] || fail "the lid was looked at only $(wc -l </run/watches) times"
    [ ! -e /run/gaps ] || fail "the drop-in was missing $(wc -l </run/gaps) times"
}

# upgrade: another program at the package's path, as dpkg puts it there, and the maintainer script's part.
upgrade() {
    { cat "$packagedHelper" && printf x; } >/run/upgraded
    install -m 755 /run/upgraded "$packagedHelper.dpkg-new"
    mv -f "$packagedHelper.dpkg-new" "$packagedHelper"
    systemctl daemon-reload
    systemctl try-restart "$helperUnit"
}

root=/run/tavo-files
/usr/bin/tavoctl --root "$root" run --always --lid closed >/run/run.out 2>/run/run.err </dev/null &
run=$!
expectWithin "$soon" lidActionsAre "ignore ignore"
beginHold battery
# One that ends while the helper is being replaced must not be kept.
watchLid
for ((count = 0; count < 3; count++)); do
    before=$(helperProcess)
    upgrade
    helperIsBack() { [ "$(helperProcess)" != "$before" ] && [ "$(helperProcess)" != 0 ] && holds tavo-helper "sleep block"; }
    expectWithin "$soon" helperIsBack
    expectEqual "ignore ignore" "$(lidActions)" "the lid after an upgrade"
    expectEqual "$packagedHelper" "$(readlink "/proc/$(helperProcess)/exe")" "the program that runs"
done
endWatch
expectContains "$(packaged helper status)" "override     all for process $run" "status"
kill -0 "$run" || fail "tavoctl run has ended: $(cat /run/run.err)"
endHold
kill -s KILL "$run"
expectWithin "$soon" nothingInForce
expectWithin "$idleWithin" isIdle

# An idle helper is left alone.
upgrade
isIdle || fail "an upgrade has started the helper"
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer after an upgrade"

# Removed while it is in use: the override ends before the program goes, and tavoctl says a sentence.
beginHold all
"$packagedHelper" --revoke
nothingInForce || fail "something is left in force"
isIdle || fail "the helper runs on"
rm "$packagedHelper"
expectContains "$(packaged helper status)" "helper       not " "status without a program"
refusal=$(packaged helper install 2>&1) && fail "granted without a program: $refusal"
expectContains "$refusal" "could not find the tavo helper" "the refusal"
endHold
