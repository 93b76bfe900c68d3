# The comparison of costs: medians, ratios and goals of probes whose figures are known, and probes that fail.
# Usage: Compare.bash PROJECT
set -euo pipefail
compare=$1/scripts/compare
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
export PYTHONDONTWRITEBYTECODE=1

fail() {
    echo "failed: $*" >&2
    exit 1
}
expectEqual() { [ "$1" = "$2" ] || fail "$3: expected '$1', got '$2'"; }
expectHas() { grep -qF -- "$1" "$2" || fail "'$1' is not in $2: $(cat "$2")"; }

mkdir -p "$folder/probes" "$folder/bin"
# probe FOLDER NAME, with its lines on standard input. $round counts its calls.
probe() {
    {
        printf '#!/usr/bin/env bash\necho >>"%s/calls.%s"\nround=$(wc -l <"%s/calls.%s" | tr -d " ")\n' "$folder" "$2" "$folder" "$2"
        cat
    } >"$folder/$1/$2"
    chmod 755 "$folder/$1/$2"
}
goals() { printf '%s\n' "$@" | tr '~' '\t' >"$folder/goals.tsv"; }
run() { # run STATUS OPTIONS...
    local status=0
    rm -f "$folder"/calls.*
    "$compare" --benchmarks "$folder" --programs "$folder/bin" --json "$folder/json" --markdown "$folder/table.md" "${@:2}" \
        >"$folder/output" 2>"$folder/errors" || status=$?
    expectEqual "$1" "$status" "status of compare ${*:2} ($(cat "$folder/errors"))"
}
# figure EXPRESSION: of the JSON, with the rows by their names.
figure() {
    python3 -c 'import json, sys
all = json.load(open(sys.argv[1]))
row = {row["row"]: row for row in all["rows"]}
print(eval(sys.argv[2]))' "$folder/json" "$1"
}

# Three rounds in which the machine is busy once: the medians are those of the sides, the ratio that of the rounds.
probe probes times <<'PROBE'
tavo=(0 2 40 3) other=(0 10 100 10)
printf 'fast\ttavo\t%s\tms\nfast\tplain\t%s\tms\n' "${tavo[round]}" "${other[round]}"
printf 'slow\tplain\t4\tus\nslow\ttavo\t10\tus\n'
PROBE
probe bin counts <<'PROBE'
printf 'wakes\ttavo\t3\twake-ups\nheld\ttavo\t0.15\tallocations\n'
PROBE
goals '# a remark' 'fast~a quick one~`plain`~at least 3.5 times faster~times' 'slow~a slow one~`plain`~at most 2 times~times' \
    'wakes~wake-ups in a while~-~at most 0~counts' 'held~pieces~-~at most 0.2 allocations~counts'
run 0 --rounds 3
expectEqual "3.0 10.0" "$(figure 'row["fast"]["tavo"]["median"], row["fast"]["other"]["median"]' | tr -d '(),')" "medians"
expectEqual "[0.2, 0.4, 0.3]" "$(figure 'row["fast"]["ratio"]["values"]')" "ratios"
expectEqual 0.3 "$(figure 'row["fast"]["ratio"]["median"]')" "ratio"
expectEqual "[False, False, False, True]" "$(figure '[row["isReached"] for row in all["rows"]]')" "the goals that are reached"
expectHas '| a quick one | `plain` | 3.00 ms | 10.0 ms | 3.33 times faster | at least 3.5 times faster | **no** |' "$folder/output"
expectHas '| a slow one | `plain` | 10.0 us | 4.00 us | 2.50 times | at most 2 times | **no** |' "$folder/output"
expectHas '| pieces | - | 0.150 allocations | - | - | at most 0.2 allocations | yes |' "$folder/output"
expectHas "the medians of 3 rounds" "$folder/table.md"
cmp "$folder/output" "$folder/table.md" || fail "the table is not what was printed"

# The bounds themselves are reached.
probe probes times <<'PROBE'
printf 'fast\ttavo\t2\tms\nfast\tplain\t7\tms\nslow\tplain\t4\tus\nslow\ttavo\t8\tus\n'
PROBE
run 0 --rounds 1
expectEqual "[True, True]" "$(figure '[row["isReached"] for row in all["rows"]][:2]')" "goals that are just reached"

# Only the rows that are named, and a short run is told to the probe.
probe probes times <<'PROBE'
[ "$2" = --short ] && [ -d "$1" ] || exit 3
printf 'fast\ttavo\t1\tms\nfast\tplain\t9\tms\nslow\tplain\t4\tus\nslow\ttavo\t8\tus\n'
PROBE
run 0 --short fast
expectEqual "['fast']" "$(figure 'list(row)')" "rows of a choice"
expectEqual 1 "$(figure 'all["rounds"]')" "rounds of a short run"
[ ! -e "$folder/calls.counts" ] || fail "a probe ran for no row"
run 1 nothing
expectHas "there is no row nothing; there are fast, slow, wakes, held." "$folder/errors"

# A page keeps what is around the table.
printf '%s\n' "before" "<!-- measured by scripts/compare: begin -->" "old" "<!-- measured by scripts/compare: end -->" "after" \
    >"$folder/table.md"
run 0 --short
expectEqual "before after" "$(sed -n '1p;$p' "$folder/table.md" | tr '\n' ' ' | sed 's/ $//')" "text around the table"
expectHas "a quick one" "$folder/table.md"
! grep -qx old "$folder/table.md" || fail "the old table is still there"

# Where a probe cannot measure, its rows say why, and that is no failure.
probe probes times <<'PROBE'
echo "times: this takes a clock." >&2
exit 77
PROBE
run 0 --short
expectHas '| a quick one | `plain` | not measured |  |  | at least 3.5 times faster | times: this takes a clock. |' "$folder/output"
expectEqual "None True" "$(figure 'row["fast"]["isReached"], row["held"]["isReached"]' | tr -d '(),')" "what was measured nevertheless"

# A probe that fails is named, the others are measured all the same.
expectFailure() { # expectFailure WORDS, with the probe's lines on standard input
    probe probes times
    run 1 --rounds 2
    expectHas "$1" "$folder/errors"
    expectHas '| pieces | - | 0.150 allocations | - | - | at most 0.2 allocations | yes |' "$folder/output"
    expectHas '| a quick one | `plain` | not measured |  |  | at least 3.5 times faster | the probe failed |' "$folder/output"
    expectEqual 1 "$(wc -l <"$folder/calls.times" | tr -d ' ')" "rounds of a probe that failed"
}
expectFailure "the probe times failed with status 4: no luck" <<<'echo "no luck" >&2; exit 4'
expectFailure "printed a line that is no measurement: nonsense" <<<'echo nonsense'
expectFailure "printed a line that is no measurement: fast" <<<'printf "fast\ttavo\tnan\tms\n"'
expectFailure "printed a line that is no measurement: fast" <<<'printf "fast\ttavo\t-1\tms\n"'
expectFailure "measures other, which is no row of it" <<<'printf "other\ttavo\t1\tms\n"'
expectFailure "does not give the other's side of fast" <<<'printf "fast\ttavo\t1\tms\n"'
expectFailure "does not give Tavo's side of fast" <<<'printf "fast\tplain\t1\tms\n"'
expectFailure "gives a side of fast twice" <<<'printf "fast\ttavo\t1\tms\nfast\ttavo\t1\tms\n"'
expectFailure "measures fast in ms and in us" <<<'printf "fast\ttavo\t1\tms\nfast\tplain\t1\tus\n"'

# So is one that does not exist, and a goal that nobody can reach.
goals 'fast~a quick one~`plain`~none~absent'
run 1
expectHas "there is no probe absent in Benchmarks/probes" "$folder/errors"
goals 'fast~a quick one~`plain`~soon~times'
run 1
expectHas "the goal of fast is not understood: soon" "$folder/errors"
goals 'fast~a quick one~-~faster~times'
run 1
expectHas "fast is compared with nothing, and its goal is a ratio: faster" "$folder/errors"
goals 'fast~a quick one~none~times'
run 1
expectHas "line 1: a row has five fields" "$folder/errors"
goals 'wakes~wake-ups in a while~-~at most 50 ms~counts' 'held~pieces~-~none~counts'
run 1
expectHas "the goal of wakes is in ms, and its probe counts measures wake-ups." "$folder/errors"
