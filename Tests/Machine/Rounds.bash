# Usage: scripts/in-machine bash Tests/Machine/Rounds.bash [--rounds COUNT] [--seed SEED] [--only ROUND], with TAVO_BIN.
#
# Rounds in which a Tavo of a random configuration is killed at a random moment, started again and ended. After each of
# them nothing is left: no lock, no lid setting, no process, no zombie, no socket, no file, no descriptor. A round that
# fails is repeated alone with the seed and the number that it prints. Without arguments there are a few rounds, or 200
# with TAVO_THOROUGH=1, and the seed is $TAVO_SEED, or a new one.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/helper.bash"
. "$(dirname "$0")/desktop.bash"
. "$(dirname "$0")/leftovers.bash"
. "$(dirname "$0")/round.bash"

rounds=6 seed=${TAVO_SEED:-$((SRANDOM % 1000000))} only=""
[ -z "${TAVO_THOROUGH-}" ] || rounds=200
while [ $# -gt 0 ]; do
    [[ ${2-} =~ ^[0-9]+$ ]] || fail "$1 takes a number"
    case $1 in
        --rounds) rounds=$2 ;;
        --seed) seed=$2 ;;
        --only) only=$2 ;;
        *) fail "unknown argument $1; the arguments are --rounds COUNT, --seed SEED and --only ROUND" ;;
    esac
    shift 2
done

# Below this machine's changes lie the files of the one that booted it, where other programs may add some meanwhile.
requireMachine "$0"
for place in /home /var/tmp; do mount --no-mtab -t tmpfs -o mode=1777 tmpfs "$place"; done

# alice: logged in at the seat, with a service manager and a desktop, and served by the helper.
createUser alice
alice=$(id -u alice)
asAlice() {
    setpriv --reuid=alice --regid=alice --init-groups env HOME=/home/alice USER=alice "XDG_RUNTIME_DIR=/run/user/$alice" "$@"
}
SUDO_UID=$alice control helper install 2>/dev/null >&2
loginctl enable-linger alice
install -d -o alice /run/rounds
mkfifo -m 666 /run/rounds/commands
exec {commands}<>/run/rounds/commands
kinds=(run service)
desktop=none
if [ -x "$TAVO_BIN/tavo" ] && command -v Xvfb >/dev/null; then
    desktop=desktop
    kinds+=(app)
fi
shareTests
# In a group of its own, and so no process of this test's.
setsid -w bash -c '. "$1"; runInSession alice bash "$2/session.bash" /run/rounds "$3"' - "$tests/machine.bash" "$tests" "$desktop" \
    </dev/null >/run/session.log 2>&1 &
expectWithin 60 hasContent /run/rounds/session.pid
testGroup=$(ps -o pgid= -p $$ | tr -d ' ')
presentLaptop

# The service's unit, with a shorter pause between two starts.
asAlice mkdir -p /home/alice/.config/systemd/user/tavo.service.d /home/alice/.config/Tavo
echo always | asAlice tee /home/alice/.config/Tavo/run.conf >/dev/null
asAlice "$TAVO_BIN/tavoctl" login on --headless >/dev/null
printf '[Service]\nRestartSec=200ms\n' | asAlice tee /home/alice/.config/systemd/user/tavo.service.d/pause.conf >/dev/null
asAlice systemctl --user daemon-reload
asAlice systemctl --user stop tavo.service

# What the first use of everything brings up, such as the accessibility bus, stays and is nothing of Tavo's.
for kind in "${kinds[@]}"; do warmUp "$kind"; done
rememberSurroundings
expectNothingLeft
expectLeftoversToBeSeen

echo "seed $seed"
tellOfFailure() {
    [ -n "$round" ] || return 0
    tail -n 5 /run/rounds/{settings.log,*.out,*.err} "$root/state.json" 2>/dev/null
    echo "round $round alone: Tests/Machine/Rounds.bash --seed $seed --only $round"
}
atExit 'tellOfFailure >&2'
for ((round = ${only:-1}; round <= ${only:-$rounds}; ++round)); do playRound; done
round=""
echo "after none of the rounds anything was left"
