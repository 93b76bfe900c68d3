# Shared by the scenes. A scene is run in a disposable machine in which Tavo is installed, sources this first, prepares
# what its blocks need, and ends as the shell of the reader, who is called ada.
. "$(dirname "${BASH_SOURCE[0]}")/../../Machine/machine.bash"
requireMachine "a scene"

# newReader <FUNCTIONS: an account as if the one before had never been there, whose shells have these functions, and
# waitUntil.
newReader() {
    if id ada >/dev/null 2>&1; then
        loginctl disable-linger ada 2>/dev/null || true
        systemctl stop "user-$(id -u ada).slice"
        expectWithin 20 hasNoProcesses ada
        userdel --force --remove ada 2>/dev/null || true
    fi
    rm -rf /run/scene
    useradd --create-home --shell /bin/bash ada
    install -d -m 1777 /run/scene
    { declare -f waitUntil; cat; } | install -m 644 /dev/stdin /run/scene/functions
    install -d -o ada -g ada /home/ada/bin
}
hasNoProcesses() { not pgrep -u "$1" >/dev/null; }

# beLaptop: a mains adapter and a battery at 80 percent, which everybody can read, as in /sys.
beLaptop() {
    presentLaptop
    chmod 755 "$laptopSupplies"
}

# beServer: a computer without a battery.
beServer() {
    local supplies
    supplies=$(mktemp -d)
    chmod 755 "$supplies"
    presentPowerSupplies "$supplies"
}

# standIn NAME: a program of this name for the reader, which uses a tenth of a core.
standIn() {
    install -m 755 /dev/stdin "/home/ada/bin/$1" <<'PROGRAM'
#!/usr/bin/python3
import time
while True:
    start = time.process_time()
    while time.process_time() - start < 0.1:
        pass
    time.sleep(0.9)
PROGRAM
}

# approve ACTION...: from now on polkit lets ada do these without a password, as if it was typed.
approve() {
    cat >/etc/polkit-1/rules.d/10-scene.rules <<RULE
polkit.addRule(function(action, subject) {
    if ("$*".split(" ").indexOf(action.id) >= 0 && subject.user == "ada") {
        return polkit.Result.YES;
    }
});
RULE
    # polkit notices a new rule by itself, a moment later.
    expectWithin 20 runInSession ada bash -c 'pkcheck --action-id "$1" --process "$BASHPID"' check "${!#}"
}

# becomeShell: reads the reader's commands, in a session at the seat. Not a graphical one for logind: no desktop is
# there to be told, and each status would say so.
becomeShell() {
    sessionType=tty
    runInSession ada env -u TAVO_BIN HOME=/home/ada USER=ada TZ="${zone:-UTC}" LC_ALL=C.UTF-8 \
        BASH_ENV=/run/scene/functions PATH=/home/ada/bin:/usr/bin:/bin:/usr/sbin:/sbin \
        bash -c 'cd && exec bash --norc --noprofile'
}
