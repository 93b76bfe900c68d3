# A helper installed from a build folder and one of a package never serve side by side: the later one replaces the other.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
. "$(dirname "$0")/packaged.bash"

installPackage
control helper install
process=$(helperProcess)
expectEqual "$helperFile" "$(readlink "/proc/$process/exe")" "the program that runs"
packagedStateIs notInstalled || fail "a build folder's helper counts as the package's"

# The package's way.
packaged helper install
[ ! -e "$unitFile" ] || fail "the build folder's unit is left"
[ ! -e "$helperFile" ] || fail "the build folder's program is left"
packagedStateIs ready || fail "the packaged helper is not ready"
expectEqual 'data {"pong":{}}' "$(client send '{"ping":{}}')" "answer to a ping"
expectEqual "$packagedHelper" "$(readlink "/proc/$(helperProcess)/exe")" "the program that runs"
expectWithin "$idleWithin" isIdle
helperStateIs notInstalled || fail "the package's helper counts as the build folder's"

# And back, with an override in force all the while.
beginHold all
control helper install
expectEqual "ignore ignore" "$(lidActions)" "the lid after the replacement"
[ ! -e "$grantFile" ] || fail "the grant is left"
not systemctl --quiet is-enabled "$socketUnit" || fail "the package's socket is still enabled"
not systemctl --quiet is-active "$socketUnit" || fail "the package's socket still listens"
expectEqual "$helperFile" "$(readlink "/proc/$(helperProcess)/exe")" "the program that runs"
helperStateIs ready || fail "the build folder's helper is not ready"
expectEqual "666 root" "$(stat -c '%a %U' "$socketFile")" "the socket"

# The package is removed: the helper of the build folder is none of its business.
"$packagedHelper" --revoke
helperStateIs ready || fail "the package has removed the build folder's helper"
expectEqual "ignore ignore" "$(lidActions)" "the lid after the package's removal"
endHold
expectWithin "$soon" nothingInForce
control helper uninstall

# Masked by an administrator: neither is granted.
systemctl --quiet mask "$helperUnit"
refusal=$(packaged helper install 2>&1) && fail "granted though it is masked: $refusal"
expectContains "$refusal" "systemctl unmask $helperUnit" "the refusal"
[ ! -e "$grantFile" ] || fail "a grant is left"
