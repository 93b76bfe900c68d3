# Usage: leaving-nothing.bash TEST.bash. Runs a test, which gets a folder of its own for temporary files. A test that
# passes and leaves something there fails. The folder is removed in any case, also when this is ended by a signal.
set -euo pipefail

TMPDIR=$(mktemp -d)
chmod 711 "$TMPDIR"
export TMPDIR
trap 'rm -rf --one-file-system "$TMPDIR"' EXIT

running=""
end() {
    kill -TERM ${running:+"$running"} 2>/dev/null || true
    wait ${running:+"$running"} || true
    exit "$1"
}
trap 'end 129' HUP
trap 'end 130' INT
trap 'end 143' TERM
# A shell without job control starts background commands with SIGINT and SIGQUIT ignored, permanently.
env --default-signal=INT,QUIT bash "$1" <&0 &
running=$!
status=0
wait "$running" || status=$?
left=$(ls -A "$TMPDIR")
if [ "$status" -eq 0 ] && [ -n "$left" ]; then
    echo "failed: temporary files are left: $(tr '\n' ' ' <<<"$left")(a test that sets a trap on EXIT wants atExit)" >&2
    exit 1
fi
exit "$status"
