# Usage: Soak.bash --hours HOURS | --evaluations COUNT, within scripts/soak, which says what it does.
. "$(dirname "$0")/machine.bash"
. "$(dirname "$0")/desktop.bash"
folder=$(mktemp -d)

# A laptop whose power supply can be changed.
supplies=$folder/supplies
mkdir -p "$supplies/AC" "$supplies/BAT0"
echo Mains >"$supplies/AC/type"
echo 1 >"$supplies/AC/online"
echo Battery >"$supplies/BAT0/type"
echo Discharging >"$supplies/BAT0/status"
echo 80 >"$supplies/BAT0/capacity"
mount --no-mtab --bind "$supplies" /sys/class/power_supply

# AddressSanitizer keeps freed memory for a while, 256 MB of it, which would look like growth.
export ASAN_OPTIONS=quarantine_size_mb=1:thread_local_quarantine_size_kb=64${ASAN_OPTIONS:+:$ASAN_OPTIONS}

programs=()
prepare() { # NAME: a folder of files for a Tavo that watches the program that soak.py starts and ends
    "$TAVO_BIN/tavoctl" --root "$folder/$1" match --command soaked-program >/dev/null
    "$TAVO_BIN/tavoctl" --root "$folder/$1" enable >/dev/null 2>&1
}
isUp() { [ "$(head -n 1 "$1/tavo.lock" 2>/dev/null)" = "$2" ]; }

prepare run
beginRun "$folder/run"
expectWithin 60 isUp "$folder/run" "$run"
programs+=("tavoctl run:$run:$folder/run")
if [ -x "$TAVO_BIN/tavo" ]; then
    # The folder for the window's requests.
    export XDG_RUNTIME_DIR=$folder/runtime
    mkdir -m 700 "$XDG_RUNTIME_DIR"
    TAVO_TEST_DESKTOP=yes beginDesktop
    prepare app
    beginApp "$folder/app" --hidden
    expectWithin 60 isUp "$folder/app" "$app"
    programs+=("tavo:$app:$folder/app")
fi

status=0
python3 "$(dirname "$0")/soak.py" "$@" --supplies "$supplies" "${programs[@]}" || status=$?
for program in "${programs[@]}"; do
    IFS=: read -r name process root <<<"$program"
    kill -s TERM "$process"
    wait "$process" || fail "$name ended with $?: $(tail -n 5 "$root.err")"
done
expectHeld ''
exit "$status"
