# The user service: over a logout, after a kill, with damaged options; and switching it on and off.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

# Installing notes in the build folder, which is only shown here, what it has done.
build=$(dirname "$TAVO_BIN")
requireMachine "installing into /usr"
mkdir -p /run/build/{upper,work}
mount --no-mtab -t overlay overlay "$build" -o "lowerdir=$build,upperdir=/run/build/upper,workdir=/run/build/work"
for component in tavoctl system; do
    cmake --install "$build" --prefix /usr --component "$component" >/run/install.log || fail "$(cat /run/install.log)"
done

createUser alice
createUser bob
alice=$(id -u alice)
folder=~alice/.config/Tavo
# asAlice COMMAND...: as a cron job of alice's would, with the way to her service manager.
asAlice() { runWithoutSession alice env XDG_RUNTIME_DIR="/run/user/$alice" "$@"; }
property() { asAlice systemctl --user show --property="$1" --value tavo.service; }
propertyIs() { [ "$(property "$1")" = "$2" ]; }
journal() { journalctl --output=cat _SYSTEMD_USER_UNIT=tavo.service; }
# Whether "sleep" is granted depends on the session, which comes and goes here.
holdsIdle() { [[ $(heldByTavo) == *'idle block' ]]; }
userState() { loginctl show-user alice --property=State --value 2>/dev/null || echo offline; }
userStateIs() { [ "$(userState)" = "$1" ]; }
options() { printf '%s\n' "$@" | runWithoutSession alice tee "$folder/run.conf" >/dev/null; }
contents() { sha256sum "$folder/config.json" "$folder/run.conf"; }

# The installed unit as systemd reads it.
complaints=$(runInSession alice systemd-analyze --user verify --man=no /usr/lib/systemd/user/tavo.service 2>&1) ||
    fail "the unit: $complaints"
expectEqual "" "$complaints" "complaints about the unit"

# Enabled in a session that ends.
runInSession alice tavoctl set batteryCutoffPercent 33 >/dev/null
options '# on this machine' '' always 'power any'
before=$(contents)
loginctl enable-linger alice
cat >/run/enable.bash <<'ENABLE'
systemctl --user enable --now tavo.service
cat /run/session.end
ENABLE
mkfifo /run/session.end
chmod 666 /run/session.end
runInSession alice bash /run/enable.bash 2>/dev/null &
session=$!
expectWithin 20 holdsIdle
expectWithin "$soon" propertyIs ActiveState active
expectContains "$(property StatusText)" "keeping computer awake" "the service's status"
main=$(property MainPID)
inhibitor=$(inhibitorOf "$main")
expectEqual /usr/libexec/tavo/tavo-inhibit "$(readlink "/proc/$inhibitor/exe")" "the program that holds the lock"
not grep -qz '^NOTIFY_SOCKET=' "/proc/$inhibitor/environ" || fail "the lock's process may speak for the service"
for process in "$main" "$inhibitor"; do
    expectEqual "1 2" "$(awk '$1 ~ /^(NoNewPrivs|Seccomp):$/ { printf "%s%s", sep, $2; sep = " " }' "/proc/$process/status")" \
        "privileges and filter of process $process"
done

# The logout changes nothing.
echo >/run/session.end
wait "$session" || fail "the session ended badly"
expectWithin 30 userStateIs lingering
holdsIdle || fail "released at the logout: $(heldByTavo)"
expectEqual "$main $inhibitor" "$(property MainPID) $(inhibitorOf "$main")" "processes after the logout"

# Stopped, started, killed.
asAlice systemctl --user stop tavo.service
expectHeld ''
expectWithin "$soon" hasEnded "$inhibitor"
expectEqual "inactive success" "$(property ActiveState) $(property Result)" "the stopped service"
asAlice systemctl --user start tavo.service
holdsIdle || fail "started, and holds nothing"
main=$(property MainPID)
kill -s KILL "$main"
expectWithin "$soon" hasEnded "$main"
expectWithin 20 holdsIdle
expectEqual 1 "$(property NRestarts)" "restarts after a kill"
not propertyIs MainPID "$main" || fail "the killed process is still the service's"
expectEqual "$before" "$(contents)" "config.json and run.conf"

# A damaged file ends it for good, and is left as it is.
options 'power ac' 'preset claude'
damaged=$(contents)
expectStatus 1 asAlice systemctl --user restart tavo.service 2>/dev/null
expectEqual "failed failed 78 0" "$(property ActiveState) $(property SubState) $(property ExecMainStatus) $(property NRestarts)" \
    "the service with a damaged file"
expectWithin "$soon" holds tavo ''
saysWhichLine() { journal | grep -qF "tavoctl: $folder/run.conf, line 2: --preset takes one of "; }
expectWithin "$soon" saysWhichLine
expectEqual "$damaged" "$(contents)" "the damaged file"
status=0
message=$(asAlice tavoctl login on --headless 2>&1) || status=$?
expectEqual 78 "$status" "status of login on --headless with a damaged file"
expectContains "$message" "run.conf, line 2: " "the message"

# Waiting for a program, the processes of this user are seen; with the lid closed, the helper is reached.
SUDO_UID=$alice tavoctl helper install >/dev/null 2>&1
options 'command watched-by-this-test' 'lid both'
asAlice tavoctl login on --headless >/run/on.out
expectContains "$(cat /run/on.out)" "tavo.service is enabled and started." "login on --headless"
not grep -q 'enable-linger' /run/on.out || fail "lingering is on already: $(cat /run/on.out)"
expectWithin "$soon" holds tavo ''
expectContains "$(property StatusText)" "waiting for" "the status while it waits"
runWithoutSession alice bash -c 'exec -a watched-by-this-test sleep infinity' &
watched=$!
isWatchedFor() { pgrep -u alice -f '^watched-by-this-test' >/dev/null; }
expectWithin 10 isWatchedFor
kill -s USR1 "$(property MainPID)"
expectWithin 10 holdsIdle
expectWithin 10 lidActionsAre "ignore ignore"
pkillByNumber() { kill "$(pgrep -u alice -f '^watched-by-this-test')"; }
pkillByNumber
wait "$watched" || true
expectWithin 10 holds tavo ''
expectWithin 10 nothingInForce

# Switched off; and on from a folder that is no package's, with a unit that names it.
expectContains "$(asAlice tavoctl login off --headless)" "tavo.service is stopped and disabled." "login off --headless"
expectEqual inactive "$(property ActiveState)" "the service after login off --headless"
expectEqual "nothing to change." "$(asAlice tavoctl login off --headless)" "login off --headless again"
options always
asAlice "$TAVO_BIN/tavoctl" login on --headless >/dev/null
expectEqual ~alice/.config/systemd/user/tavo.service "$(property FragmentPath)" "the unit of a build folder"
expectEqual "$TAVO_BIN/tavoctl" "$(readlink "/proc/$(property MainPID)/exe")" "the program that runs"
holdsIdle || fail "holds nothing: $(asAlice systemctl --user status tavo.service)"
# From the package again, whose unit would be hidden by the other.
asAlice tavoctl login on --headless >/dev/null
expectEqual /usr/lib/systemd/user/tavo.service "$(property FragmentPath)" "the package's unit"
expectEqual /usr/bin/tavoctl "$(readlink "/proc/$(property MainPID)/exe")" "the package's program"
asAlice tavoctl login off --headless >/dev/null
[ ! -e ~alice/.config/systemd/user/tavo.service ] || fail "the unit is left"

# A shell whose own files name another folder than the manager knows: what counts is the manager's.
elsewhere() { asAlice env XDG_CONFIG_HOME=/home/alice/elsewhere "$@"; }
message=$(elsewhere "$TAVO_BIN/tavoctl" login on --headless)
expectContains "$message" "the options in /home/alice/.config/Tavo/run.conf; " "the file of options"
expectContains "$message" "that is not /home/alice/elsewhere/Tavo, the folder of this shell" "the warning"
expectEqual /home/alice/.config/systemd/user/tavo.service "$(property FragmentPath)" "the unit from another folder's shell"
holdsIdle || fail "holds nothing: $(asAlice systemctl --user status tavo.service)"
expectContains "$(elsewhere tavoctl login off)" "tavo.service is still started at login" "the reminder"
expectContains "$(elsewhere tavoctl login off --headless)" "tavo.service is stopped and disabled." "login off from there"
expectEqual "inactive " "$(property ActiveState) $(property UnitFileState | grep -v disabled)" "the service after that"
asAlice systemctl --user start tavo.service
expectContains "$(elsewhere tavoctl login off --headless)" "tavo.service is stopped and disabled." "one that was started by hand"
expectEqual inactive "$(property ActiveState)" "one that was started by hand, after login off"
expectEqual "nothing to change." "$(elsewhere tavoctl login off --headless)" "login off once more"
[ ! -e /home/alice/elsewhere/systemd ] || fail "a unit was written where no manager looks"

# A unit of somebody else's stays.
runWithoutSession alice mkdir -p ~alice/.config/systemd/user
printf '[Service]\nExecStart=/bin/true\n' | runWithoutSession alice tee ~alice/.config/systemd/user/tavo.service >/run/theirs
status=0
message=$(asAlice tavoctl login on --headless 2>&1) || status=$?
expectEqual 1 "$status" "status with somebody else's unit"
expectContains "$message" "was not written by tavoctl, so it is left alone" "the message"
cmp -s /run/theirs ~alice/.config/systemd/user/tavo.service || fail "somebody else's unit was changed"
rm ~alice/.config/systemd/user/tavo.service

# Another Tavo is running.
runWithoutSession alice tavoctl run --always >/run/other.out 2>&1 &
other=$!
expectWithin 10 holdsIdle
status=0
message=$(asAlice tavoctl login on --headless 2>&1) || status=$?
expectEqual 75 "$status" "status while another tavo runs"
expectContains "$message" "is enabled, but not started, since another tavo is running" "the message"
expectEqual "failed 75" "$(property ActiveState) $(property ExecMainStatus)" "the service beside another tavo"
kill "$(pgrep -u alice -x tavoctl)"
wait "$other" || fail "the other one ended badly: $(cat /run/other.out)"
asAlice tavoctl login off --headless >/dev/null
loginctl disable-linger alice

# Without a service manager, as over su, there is a sentence and no change.
status=0
message=$(runWithoutSession bob tavoctl login on --headless 2>&1) || status=$?
expectEqual 1 "$status" "status without a service manager"
expectContains "$message" "your service manager cannot be reached: " "the message"
[ ! -e ~bob/.config/systemd ] || fail "a unit was written for bob"
tavoctl helper uninstall >/dev/null
