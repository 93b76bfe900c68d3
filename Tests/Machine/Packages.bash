# The packages are installed, upgraded over a Tavo that runs, removed and purged: no override ends that somebody needs, none
# outlives its program, and users keep their files.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
createUser alice
createUser bob
programs=$TAVO_BIN
grant=/etc/systemd/system/com.vrd.tavo.helper.socket.d/grant.conf
packagedHelper=/usr/libexec/tavo/TavoPrivilegedHelper
dropIn=/run/systemd/logind.conf.d/zzz-com.vrd.tavo.helper.conf
export DEBIAN_FRONTEND=noninteractive
said=/run/package-manager.out

# The package manager's own words matter only when it fails, and a maintainer script has nothing to say.
packages() {
    dpkg "$@" >"$said" 2>&1 || fail "dpkg $*: $(cat "$said")"
    ! grep -iE 'warning|error|failed|cannot' "$said" || fail "dpkg $* said: $(cat "$said")"
}
installed() { dpkg-query --show --showformat '${Package} ${Version} ${db:Status-Status}\n' tavo tavoctl 2>/dev/null || true; }
asAlice() { runInSession alice env PATH=/usr/bin:/bin QT_QPA_PLATFORM=offscreen "$@"; }
# As machine.bash has them, for the installed programs.
TAVO_BIN=/usr/bin
client() { "$programs/helper-client" "$@"; }
checkJson() { "$programs/check-json" "$(dirname "$0")/../../docs/schema" "$@"; }
noHelperRuns() { [ "$(helperProcess)" = 0 ]; }
isGone() { [ ! -e "/proc/$1" ]; }
systemFiles() { find /etc /usr /var/lib/systemd /run/systemd/system -xdev -path /var/lib/dpkg -prune -o -print | sort; }

systemFiles >/run/files.before
before=$(find /home -printf '%p %T@\n' | sort)
# As a user does it; apt looks whether the packages that they depend on exist.
apt-get --assume-yes --no-install-recommends install "$TAVO_PACKAGES"/tavoctl_*.deb "$TAVO_PACKAGES"/tavo_*.deb >"$said" 2>&1 ||
    fail "not installed: $(cat "$said")"

# Installed, nothing runs, nothing is enabled and nobody is served.
expectEqual disabled "$(systemctl is-enabled com.vrd.tavo.helper.socket || true)" "the socket after the installation"
expectEqual inactive "$(systemctl is-active com.vrd.tavo.helper.socket || true)" "the socket after the installation"
noHelperRuns || fail "the helper runs without having been granted"
expectEqual "$before" "$(find /home -printf '%p %T@\n' | sort)" "the homes after the installation"
helperStateIs notInstalled || fail "the helper counts as installed: $(control helper status)"

cat >/etc/polkit-1/rules.d/10-test.rules <<'RULE'
polkit.addRule(function(action, subject) {
    if (action.id.indexOf("com.vrd.tavo.helper.") == 0 && subject.user == "alice") {
        return polkit.Result.YES;
    }
});
RULE
granted() { asAlice tavoctl helper install >/run/install.out 2>&1; }
expectWithin 20 granted
expectContains "$(cat "$grant")" "SocketUser=$(id -u alice)" "the grant"
expectContains "$(asAlice tavoctl helper status)" "ready" "the helper for alice"
expectWithin 10 noHelperRuns

# Alice's laptop stays awake with its lid closed in the terminal, and the desktop app runs as well.
cat >/run/stay.bash <<'STAY'
tavoctl --root ~/other enable >/dev/null
tavo --root ~/other --hidden &
echo $! >/run/user/$UID/app
tavoctl --root ~/third run --always &
echo $! >/run/user/$UID/run
exec tavoctl run --always --lid closed
STAY
# beginStay: alice's $app and $run, and $owner, which has the override, all of them in $session.
beginStay() {
    asAlice bash /run/stay.bash >/run/stay.out 2>&1 &
    session=$!
    expectWithin 10 lidActionsAre "ignore ignore"
    owner=$(control helper status | sed -n 's/^override .* process //p')
    app=$(cat "/run/user/$(id -u alice)/app")
    run=$(cat "/run/user/$(id -u alice)/run")
    expectWithin 20 test -s ~alice/other/state.json
    expectWithin 20 test -s ~alice/third/state.json
}
beginStay
locksBefore=$(heldByTavo)
expectContains "$locksBefore" block "the locks before the upgrade"
configuration=$(cat ~alice/.config/Tavo/config.json)
oldHelper=$(helperProcess)

# An upgrade replaces all programs. Somebody watches the lid meanwhile.
(
    looks=0
    while [ ! -e /run/watched ]; do
        [ -e "$dropIn" ] || echo "without the drop-in at $(cut -d ' ' -f 1 /proc/uptime)"
        looks=$((looks + 1))
    done
    [ "$looks" -gt 1000 ] || echo "looked only $looks times"
) >/run/gaps &
watcher=$!
packages --install "$TAVO_PACKAGES"/next/*.deb
expectEqual $'tavo 99.0.0-1 installed\ntavoctl 99.0.0-1 installed' "$(installed | sort)" "what is installed"
isReplaced() { [ "$(helperProcess)" != 0 ] && [ "$(helperProcess)" != "$oldHelper" ]; }
expectWithin 10 isReplaced
expectEqual "$(sha256sum <"$packagedHelper")" "$(sha256sum <"/proc/$(helperProcess)/exe")" "the helper that runs"
expectContains "$(control helper status)" "override     all for process $owner" "the override after the upgrade"
touch /run/watched
wait "$watcher"
expectEqual "" "$(cat /run/gaps)" "moments in which the lid was not covered"
expectEqual "ignore ignore" "$(lidActions)" "the lid after the upgrade"
expectEqual "$locksBefore" "$(heldByTavo)" "the locks after the upgrade"
[ -e "/proc/$owner" ] && [ -e "/proc/$app" ] || fail "the upgrade has ended a running Tavo: $(cat /run/stay.out)"
expectEqual "$configuration" "$(cat ~alice/.config/Tavo/config.json)" "the configuration after the upgrade"

# An override that began before the upgrade ends after it like any other.
kill -s TERM "$owner" "$app" "$run" 2>/dev/null || true
wait "$session" || true
expectWithin 10 nothingInForce
expectWithin 10 noHelperRuns

# Removed while Tavo runs: the override ends before the helper's program goes, and so does the grant. What alice runs goes on as
# far as it can, and says what is missing once it needs it.
beginStay
loginctl enable-linger bob
expectWithin 20 systemctl --machine=bob@.host --user start tavo.service
bobsRun=$(systemctl --machine=bob@.host --user show --property=MainPID --value tavo.service)
[ "$bobsRun" -gt 1 ] || fail "bob's service has no process"
packages --remove tavo tavoctl
[ ! -e "$packagedHelper" ] || fail "the helper's program is left"
noHelperRuns || fail "the helper runs without its program"
expectEqual "suspend -" "$(lidActions)" "the lid after the removal"
expectWithin "$soon" nothingInForce
[ ! -e /run/com.vrd.tavo.helper/socket ] || fail "the socket is left"
[ ! -e "${grant%/*}" ] || fail "the grant is left"
expectWithin 10 isGone "$bobsRun"
[ -e "/proc/$app" ] && [ -e "/proc/$run" ] || fail "the removal has ended a running Tavo: $(cat /run/stay.out)"
kill "$(pgrep --parent "$run" --exact tavo-inhibit)"
waitUntil 10 grep -q "/usr/libexec/tavo/tavo-inhibit" /run/stay.out ||
    fail "without its programs the run says: $(cat /run/stay.out)"
kill -s TERM "$owner" "$app" "$run" 2>/dev/null || true
wait "$session" || true
expectWithin 10 holds tavo ""

# Purged, the system is as it was before; alice's files are hers.
packages --purge tavoctl
rm -f /etc/polkit-1/rules.d/10-test.rules
left=$(systemFiles | comm -13 /run/files.before - | grep -vE '\.cache$|/dpkg|/icon-theme\.cache|/mimeinfo|/ld\.so|/linger|/(clock|timers)$' || true)
expectEqual "" "$left" "files that are left"
expectEqual "$configuration" "$(cat ~alice/.config/Tavo/config.json)" "the configuration after the purge"

# A package that comes back serves nobody. One whose helper is gone, or cannot run any more, can still be removed, and its grant with it.
packages --install "$TAVO_PACKAGES"/tavoctl_*.deb
helperStateIs notInstalled || fail "the helper serves somebody again: $(control helper status)"
control helper install >/run/install.out 2>&1 || fail "not granted again: $(cat /run/install.out)"
TAVO_BIN=$programs beginHold all
rm "$packagedHelper"
packages --remove tavoctl
expectWithin 10 nothingInForce
expectWithin 10 noHelperRuns
[ ! -e "${grant%/*}" ] && [ ! -e /run/com.vrd.tavo.helper/socket ] || fail "the grant or the socket is left"
endHold
