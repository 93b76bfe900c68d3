# Every message that the client sends, misspelt, must be found by scripts/check-cocoa, and named.
set -euo pipefail
project=$(cd "$(dirname "$0")/.." && pwd)
client=$project/Sources/TavoApp/helper/macos/XPCPrivilegedHelperClient.mm
copy=$(mktemp --suffix=.mm)
trap 'rm -f "$copy"' EXIT

cp "$client" "$copy"
"$project/scripts/check-cocoa" "$copy" >/dev/null || { echo "the client itself does not check" >&2; exit 1; }

for selector in initWithMachServiceName setRemoteObjectInterface interfaceWithProtocol remoteObjectProxyWithErrorHandler \
    withReply localizedDescription; do
    misspelt=${selector}ed
    sed "s/$selector/$misspelt/" "$client" >"$copy"
    grep -q "$misspelt" "$copy" || { echo "the client does not say $selector" >&2; exit 1; }
    if words=$("$project/scripts/check-cocoa" "$copy" 2>&1); then
        echo "$misspelt was not found" >&2
        exit 1
    fi
    [[ $words == *"$misspelt"* ]] || { echo "$misspelt was not named: $words" >&2; exit 1; }
done
