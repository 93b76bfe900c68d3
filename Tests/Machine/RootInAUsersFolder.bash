# Root with a user's environment, as sudo -E and su leave it, does nothing in that user's folders: no link leads it
# elsewhere, no file changes its owner, no program of the user's is run.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"

createUser alice
echo 'alice ALL=(ALL) NOPASSWD: SETENV: ALL' >/etc/sudoers.d/alice
chmod 440 /etc/sudoers.d/alice

# Everything that a user could prepare: links to root's files, and a bus address that names a program.
folder=~alice/.config/Tavo
cat >/run/prepare.bash <<'PREPARE'
mkdir -p ~/.config/Tavo ~/.config/autostart ~/bin
printf '#!/bin/sh\ntouch /run/ran-as-root\n' >~/bin/bus
chmod +x ~/bin/bus
ln -s /etc/cron.d/planted ~/.config/Tavo/config.json
ln -s /etc/planted-state ~/.config/Tavo/state.json
ln -s /etc/passwd ~/.config/Tavo/tavo.lock
ln -s /etc/cron.d ~/.config/Tavo/helper-installer
ln -s /etc/planted-entry ~/.config/autostart/com.vrd.tavo.desktop
PREPARE
runWithoutSession alice bash /run/prepare.bash
cp /etc/passwd /run/passwd.before
contentOf() { (cd "$1" && find . -printf '%p %u %m %l\n' | sort); }
before=$(contentOf ~alice)

expectNothingPlanted() {
    cmp -s /etc/passwd /run/passwd.before || fail "$1: /etc/passwd was written"
    local planted
    for planted in /etc/cron.d/planted /etc/planted-state /etc/planted-entry /etc/cron.d/com.vrd.tavo.helper.service \
        /run/ran-as-root; do
        [ ! -e "$planted" ] || fail "$1: $planted is there"
    done
    expectEqual "$before" "$(contentOf ~alice)" "alice's files after $1"
}

cat >/run/environment.bash <<'ENVIRONMENT'
export HOME=~alice XDG_CONFIG_HOME=~alice/.config
export DBUS_SESSION_BUS_ADDRESS=unixexec:path=$HOME/bin/bus
export AT_SPI_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
ENVIRONMENT
# withSudo COMMAND..., withSu COMMAND...: as alice, who becomes root and keeps her environment.
withSudo() {
    runWithoutSession alice bash -c '. /run/environment.bash; exec sudo -E env HOME="$HOME" "$@"' bash "$@" 2>&1
}
sed -i '1i auth sufficient pam_permit.so' /etc/pam.d/su
withSu() {
    runWithoutSession alice bash -c '. /run/environment.bash; exec su --preserve-environment root -c "\"\$0\" \"\$@\"" -- "$@"' \
        bash "$@" 2>&1
}

# The preparation works: an ordinary client of the bus does run the program.
withSudo busctl --user list >/dev/null || true
[ -e /run/ran-as-root ] || fail "the address that names a program does nothing here"
rm /run/ran-as-root

for become in withSudo withSu; do
    expectContains "$("$become" sh -c 'id -u; echo "$XDG_CONFIG_HOME"' | tr '\n' ' ')" "0 /home/alice/.config" "$become"
    "$become" "$TAVO_BIN/tavoctl" preset codex >/dev/null
    expectContains "$(cat ~root/.config/Tavo/config.json)" '"codex"' "root's own configuration"
    expectNothingPlanted "$become tavoctl preset"
    "$become" env -u DBUS_SYSTEM_BUS_ADDRESS "$TAVO_BIN/tavoctl" doctor >/run/doctor.out || true
    expectContains "$(cat /run/doctor.out)" "ok           idle lock" doctor
    "$become" "$TAVO_BIN/tavoctl" doctor >/dev/null || true
    expectNothingPlanted "$become tavoctl doctor"

    # The folder by name.
    status=0
    refusal=$("$become" "$TAVO_BIN/tavoctl" --root "$folder" set batteryCutoffPercent 30) || status=$?
    expectEqual 78 "$status" "status of a refused folder: $refusal"
    expectContains "$refusal" "root does not use $folder, since the folder /home/alice belongs to another user (user id \
$(id -u alice)): run tavo as the user who owns it, or name a folder of root's own with --root." "the refusal"
    expectNothingPlanted "$become tavoctl --root"
    rm -r ~root/.config/Tavo
done

# It holds its lock, and asks no desktop.
bash -c '. /run/environment.bash; unset DBUS_SYSTEM_BUS_ADDRESS; exec "$TAVO_BIN/tavoctl" run --always' \
    >/run/out 2>/run/err </dev/null &
run=$!
expectHeld 'sleep:idle block'
stateSays ~root/.config/Tavo active || fail "root's state lies elsewhere"
endRun TERM
expectNothingPlanted "tavoctl run"

# The helper is installed for alice, her configuration is left alone, and nothing is staged in a folder of hers or
# root's.
rm -rf ~root/.config/Tavo
said=$(withSudo env -u DBUS_SYSTEM_BUS_ADDRESS "$TAVO_BIN/tavoctl" helper install) || fail "no installation: $said"
expectContains "$said" "the configuration of the user who called sudo is left as it is" "the installation"
expectContains "$(cat "$unitFile")" " --user $(id -u alice)" "who is served"
expectNothingPlanted "tavoctl helper install"
[ ! -e ~root/.config/Tavo ] || fail "the installation used root's folder"
[ -z "$(find /tmp -maxdepth 1 -name 'tavo-*')" ] || fail "something staged is left"
control helper uninstall >/dev/null

# A file of alice's in a folder of root's stays hers.
mkdir -p ~root/.config/Tavo
chmod 700 ~root/.config/Tavo
"$TAVO_BIN/tavoctl" preset codex >/dev/null
chown alice:alice ~root/.config/Tavo/config.json
"$TAVO_BIN/tavoctl" preset always >/dev/null
expectEqual "alice:alice 600" "$(stat -c '%U:%G %a' ~root/.config/Tavo/config.json)" "the owner of a replaced file"
