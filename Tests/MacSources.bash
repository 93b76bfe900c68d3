# The C++ that a Mac compiles uses nothing that Darwin's C library or Homebrew's fmt lacks. Usage: MacSources.bash
# PROJECT
set -euo pipefail
project=$1

fail() {
    echo "failed: $*" >&2
    exit 1
}

# Prints a line for each thing in the FILES that a Mac does not compile.
findings() {
    awk '
        function tell(words) { if (!((file, words) in told)) print file ": " words; told[file, words] }
        # A function whose header the file does not include itself.
        function finish(    header) {
            for (header in needed) if (!(header in included)) tell(needed[header])
            delete needed
            delete included
        }
        FNR == 1 { finish(); file = FILENAME }
        /^ *\/\// { next }
        match($0, /^#include <[^>]*>/) { included[substr($0, 11, RLENGTH - 11)] }
        /fmt::localtime/ { tell("fmt::localtime is gone from fmt 12") }
        /fmt::join/ { needed["fmt/ranges.h"] = "fmt::join is declared in <fmt/ranges.h> since fmt 11" }
        /(^|[^A-Za-z_])mk[ds]temp\(/ { needed["unistd.h"] = "mkdtemp and mkstemp are declared in <unistd.h>" }
        /(^|[^A-Za-z_])(pipe2|accept4)\(|SOCK_CLOEXEC|SOCK_NONBLOCK|MSG_CMSG_CLOEXEC/ {
            tell("there is neither pipe2, accept4 nor a flag for sockets that does their work")
        }
        END { finish() }' "$@"
}

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# Each of them is found.
expectFindings() {
    local count
    printf '%s\n' "${@:2}" >"$folder/sample.cpp"
    count=$(findings "$folder/sample.cpp" | wc -l)
    [ "$count" -eq "$1" ] || fail "$count things were found, not $1, in: ${*:2}"
}
expectFindings 1 'fmt::format("{:%H}", fmt::localtime(now));'
expectFindings 1 '#include <fmt/format.h>' 'fmt::join(names, ", ");'
expectFindings 0 '#include <fmt/ranges.h>' 'fmt::join(names, ", ");'
expectFindings 1 '#include <cstdlib>' 'mkdtemp(name.data());'
expectFindings 0 '#include <unistd.h>' '::mkdtemp(name.data());'
for word in 'pipe2(ends, O_CLOEXEC)' 'accept4(socket, 0, 0, 0)' 'AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC' SOCK_NONBLOCK \
    MSG_CMSG_CLOEXEC; do
    expectFindings 1 "$word;"
    expectFindings 0 "// $word"
done

cd "$project"
mapfile -t files < <(find Sources Tests Fuzz \( -name '*.cpp' -o -name '*.h' -o -name '*.mm' \) |
    grep -vE '/linux/|/TavoInhibit/|Tests/Machine/|Tests/Support/(BareListener|KernelEventSender|SpawnedProgram|.*Bus)' | sort)
[ ${#files[@]} -gt 200 ] || fail "most of the sources were not looked at"
found=$(findings "${files[@]}")
[ -z "$found" ] || fail "a Mac does not compile this:"$'\n'"$found"
