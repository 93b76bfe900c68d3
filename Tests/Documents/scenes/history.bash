# A laptop with a history: a period of the evening before, and one that goes on.
. "$(dirname "$0")/common.bash"
newReader <<'FUNCTIONS'
beginHistory() {
    local folder=~/.config/Tavo evening now start
    claude &
    mkdir -p "$folder"
    start=$(awk '{ print $22 }' "/proc/$!/stat")
    evening=$(date -d 'yesterday 21:40' +%s)
    now=$(date -d '35 minutes ago' +%s)
    local writer='"onlyOne":true,"program":"tavoctl run"'
    line() { # TIME PID START STATE
        local time
        time=$(date -u -d "@$1" +%Y-%m-%dT%H:%M:%SZ)
        printf '{"time":"%s","pid":%s,"startTime":%s,%s,"event":"change",%s}\n' "$time" "$2" "$3" "$writer" "$4"
    }
    local awake='"awake":true,"reason":"active","held":"idle (logind)","processes":[{"name":"claude","pid":1}]'
    local ended='"awake":false,"reason":"noMatchingProcess","held":"","processes":[]'
    {
        line "$evening" 1 1 "$awake"
        line $((evening + 85 * 60)) 1 1 "$ended"
        line "$now" "$!" "$start" "$awake"
    } >"$folder/history.jsonl"
}
FUNCTIONS
beLaptop
standIn claude
# Where it is noon, the evening before is less than a day away, whatever the hour.
zone=UTC$(printf '%+d' $(($(date -u +%-H) - 12)))
becomeShell
