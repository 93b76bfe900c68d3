# Shared by the tests of the helper as a package ships it; sourced after helper.bash.

packagedHelper=/usr/libexec/tavo/TavoPrivilegedHelper
socketUnit=com.vrd.tavo.helper.socket
socketFile=/run/com.vrd.tavo.helper/socket
grantFile=/etc/systemd/system/$socketUnit.d/grant.conf

# installPackage: puts the programs and the files of a distribution's package below /usr. To be called before
# createUser, which moves TAVO_BIN away from the build folder.
installPackage() {
    requireMachine installPackage
    local component build
    build=$(dirname "$TAVO_BIN")
    # The build folder is read-only in here, and cmake leaves a list of what it has installed in it.
    mkdir -p /run/build/{changes,work}
    mount -t overlay overlay "$build" -o "lowerdir=$build,upperdir=/run/build/changes,workdir=/run/build/work"
    for component in tavoctl system; do
        cmake --install "$build" --prefix /usr --component "$component" >/run/install.log ||
            fail "not installed: $(cat /run/install.log)"
    done
    systemctl daemon-reload
}

# packaged ARGUMENTS...: tavoctl, as the package has it.
packaged() { /usr/bin/tavoctl "$@"; }

packagedJson() { tavoctl=/usr/bin/tavoctl printedJson "$@"; }

packagedStateIs() { [[ $(packagedJson helper status) == *"\"state\": \"$1\""* ]]; }

# approve ACTION USER: from now on polkit lets USER run a program as root through this action, as if an administrator
# had typed a password, and through no other.
approve() {
    cat >/etc/polkit-1/rules.d/10-test.rules <<RULE
polkit.addRule(function(action, subject) {
    if (action.id == "org.freedesktop.policykit.exec" || action.id.indexOf("com.vrd.tavo.") == 0) {
        return action.id == "$1" && subject.user == "$2" ? polkit.Result.YES : polkit.Result.NO;
    }
});
RULE
}

# isIdle: no process of root's runs for the helper.
isIdle() {
    [ "$(helperProcess)" = 0 ] && [ "$(systemctl show --property=ActiveState --value "$helperUnit")" = inactive ]
}

# More than the helper waits for another command before it exits, on a busy machine.
idleWithin=10
