# tavoctl is configured without anything that only the desktop app and the tests need. Usage: TerminalBuild.bash PROJECT CMAKE
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

hidden=()
for package in Qt6 GTest benchmark; do hidden+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON"); done
configure() { "$2" -G Ninja -S "$1" -B "$folder/build" "${hidden[@]}" "${@:3}" >"$folder/output" 2>&1; }

! configure "$1" "$2" || { echo "failed: the packages are not hidden" >&2; exit 1; }
configure "$1" "$2" -DTAVO_TESTS=OFF -DTAVO_BENCHMARKS=OFF -DTAVO_DESKTOP=OFF || {
    echo "failed: it does not configure: $(cat "$folder/output")" >&2
    exit 1
}
