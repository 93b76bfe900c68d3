. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/privacy.bash"
tests=$(cd "$(dirname "$0")" && pwd)
inMachine=$scripts/in-machine
before=$(describeHost)

checkStatusAndStreams "$inMachine"
checkSaysThatRootIsNeeded "$inMachine"
expectStatus 125 "$inMachine" --copy /no-such-file:/etc/x true 2>/dev/null
expectStatus 125 "$inMachine" --no-such-option true 2>/dev/null
expectStatus 125 "$inMachine" --system "$scratch" true 2>/dev/null

# A whole system, the project in it, and none of this machine's services.
expectContains "running degraded" "$("$inMachine" systemctl is-system-running)" "state of the system"
expectEqual systemd-nspawn "$("$inMachine" systemd-detect-virt)" "virtualization"
expectStatus 0 "$inMachine" test -x "$inMachine"
expectStatus 0 "$inMachine" busctl status org.freedesktop.PolicyKit1 >/dev/null
expectEqual "" "$("$inMachine" sh -c 'ls -A /sys/power 2>/dev/null; grep " /sys " /proc/mounts | grep -w rw')" \
    "what of the kernel's power states can be written"

# The command's changes are thrown away.
expectStatus 0 "$inMachine" sh -c 'echo x >/etc/tavo-was-here; echo x >/tmp/tavo-was-here; useradd --create-home tavo-was-here'
for path in /etc/tavo-was-here /tmp/tavo-was-here /home/tavo-was-here; do
    [ ! -e "$path" ] || fail "$path stayed"
done
expectEqual "" "$(grep tavo-was-here /etc/passwd)" "accounts"

# Another system than this one: a layer over this one with one more file. The mount is visible nowhere else, and ends
# with the command.
mkdir -p "$scratch"/{system,work,upper/etc}
touch "$scratch/upper/etc/tavo-other-system"
other=(unshare --mount --propagation private bash -euc '
    mount --no-mtab -t overlay overlay "$1/system" -o "lowerdir=/,upperdir=$1/upper,workdir=$1/work"
    exec "${@:2}"' - "$scratch")
expectStatus 0 "${other[@]}" "$inMachine" --system "$scratch/system" test -e /etc/tavo-other-system
expectStatus 1 "$inMachine" test -e /etc/tavo-other-system

# Prepared files are there before logind starts; bound folders are shared.
printf '%s\n' '[Login]' HandleLidSwitch=lock >"$scratch/lid.conf"
expectEqual '"lock"' "$("$inMachine" --copy "$scratch/lid.conf:/etc/systemd/logind.conf.d/50-lid.conf" \
    bash -c '. "$0"; logindProperty HandleLidSwitch' "$tests/machine.bash")" HandleLidSwitch
mkdir "$scratch/shared"
expectStatus 0 "$inMachine" --bind "$scratch/shared:/srv/shared" touch /srv/shared/made
[ -e "$scratch/shared/made" ] || fail "the bound folder is not shared"
expectStatus 1 "$inMachine" --bind-ro "$scratch/shared:/srv/shared" touch /srv/shared/more 2>/dev/null

for ending in INT:130 TERM:143; do
    startAndEnd "$inMachine" "${ending%:*}" "${ending#*:}"
    hasNoProcessOf "$scratch/namespace" || fail "processes are left after SIG${ending%:*}"
    hasNoTraceOf "$ended" || fail "something is left after SIG${ending%:*}"
done

# Killed outright it cannot remove its control groups: its processes end all the same, and the next one tidies up.
startAndEnd "$inMachine" KILL 137 2>/dev/null
expectWithin 10 hasNoProcessOf "$scratch/namespace"
"$inMachine" true
expectWithin 10 hasNoTraceOf "$ended"

expectEqual "$before" "$(describeHost)" "this machine's mounts and files"
