# Shared by the scripts and by the end-to-end tests, which source it.

# waitUntil SECONDS COMMAND...: tries COMMAND every 20 ms; fails when it still fails after SECONDS.
waitUntil() {
    local deadline=$((${EPOCHREALTIME/./} + $1 * 1000000))
    shift
    until "$@"; do
        [ "${EPOCHREALTIME/./}" -lt "$deadline" ] || return 1
        sleep 0.02
    done
}

# hasEnded PID: whether the process is gone or a zombie that its parent has not collected yet.
hasEnded() {
    local state
    state=$(ps -o stat= -p "$1") || return 0
    [[ $state == Z* ]]
}
