# Between two evaluations nothing wakes up: every thread of a run, of the lock's child and of the helper waits without a
# bound, and of the timers that the kernel keeps for them one alone is armed, that of the next evaluation, for a full second.
. "$(dirname "$0")/machine.bash"

root=$(mktemp -d)/tavo

# The system calls in which a process may rest, as "NUMBER BOUND": the argument that bounds the wait, counted from 0 ("-"
# when nothing does), which then has to be -1 or no address. poll, ppoll, select, epoll_wait, epoll_pwait, futex, read,
# rt_sigtimedwait, wait4, waitid, recvmsg.
case $(uname -m) in
    x86_64) unbounded="7 2, 271 2, 23 4, 232 3, 281 3, 202 3, 0 -, 128 2, 61 -, 247 -, 47 -," ;;
    aarch64) unbounded="73 2, 22 3, 98 3, 63 -, 137 2, 260 -, 95 -, 212 -," ;;
    *) fail "the system calls of this processor are not known here" ;;
esac

# A build with ThreadSanitizer has a thread of the sanitizer's own, which sleeps: nanosleep, clock_nanosleep.
! grep -q __tsan_init "$TAVO_BIN/tavoctl" || unbounded+=" 35 -, 230 -, 101 -, 115 -,"

# restsUnbounded PID: proc(5), /proc/[pid]/syscall: the number and six arguments, all but the first in hexadecimal.
restsUnbounded() {
    local file call argument
    for file in "/proc/$1/task/"*/syscall; do
        read -r -a call <"$file" || return 1
        [[ ", $unbounded" =~ ", ${call[0]} "([-0-9]+)"," ]] || return 1
        argument=${BASH_REMATCH[1]}
        [ "$argument" = - ] || case ${call[argument + 1]} in 0x0 | 0xffffffff | 0xffffffffffffffff) ;; *) return 1 ;; esac
    done
}

# timers PID: one line for each timer that is armed, "SECONDS NANOSECONDS INTERVAL_SECONDS INTERVAL_NANOSECONDS".
timers() {
    awk 'FNR == 1 { value = "" } /^it_value:/ { gsub(/[(),]/, ""); value = $2 " " $3 }
        /^it_interval:/ { gsub(/[(),]/, ""); if (value != "0 0") print value, $2, $3 }' "/proc/$1/fdinfo/"*
}

atRest() {
    local process
    for process in "$@"; do restsUnbounded "$process" || return 1; done
}

# A timer's distance from a full second, in milliseconds; the clock is read before and after, and the reading repeated
# until nothing came in between.
firesAtFullSecond() {
    local before after value part
    read -r before _ </proc/uptime
    value=$(timers "$1")
    read -r after _ </proc/uptime
    [ $((${after/./} - ${before/./})) -le 1 ] || return 1
    read -r seconds part _ <<<"$value"
    # In hundredths of a second, which is as exact as the clock is told there.
    part=$(((${before/./} + 10#$seconds * 100 + 10#$part / 10000000) % 100))
    [ "$part" -le 3 ] || [ "$part" -ge 97 ]
}

beginRun "$root" --always
expectHeld 'sleep:idle block'
inhibitor=$(inhibitorOf "$run")
expectWithin "$soon" atRest "$run" "$inhibitor"
expectEqual "" "$(timers "$inhibitor")" "the child's timers"
armed=$(timers "$run")
expectEqual 1 "$(wc -l <<<"$armed")" "the number of timers that are armed ($armed)"
read -r seconds _ interval rest <<<"$armed"
[ "$seconds" -le 61 ] || fail "the next evaluation is $seconds seconds away"
expectEqual "0 0" "$interval $rest" "the timer's interval"
expectWithin "$soon" firesAtFullSecond "$run"
# It is the child that talks to the system's services.
not grep -q libsystemd "/proc/$run/maps" || fail "the run has loaded libsystemd"
endRun TERM

# The helper, after it has served somebody.
mkdir -p -m 0755 /run/com.vrd.tavo.helper /run/systemd/logind.conf.d
"$TAVO_BIN/TavoPrivilegedHelper" --user 0 2>/dev/null &
helper=$!
expectWithin "$soon" test -S /run/com.vrd.tavo.helper/socket
expectContains "$("$TAVO_BIN/helper-client" send '{"ping":{}}')" pong "the helper's answer"
expectWithin "$soon" atRest "$helper"
expectEqual "" "$(timers "$helper")" "the helper's timers"
kill "$helper"
wait "$helper" || true
