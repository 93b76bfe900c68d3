# The scripts that a Mac runs keep to bash 3.2, which is all that macOS has, and to options that BSD's tools know too;
# and their first steps, with stand-ins for the programs that a Mac has. Usage: MacScripts.bash PROJECT
set -euo pipefail
project=$1
scripts=(scripts/bootstrap scripts/build scripts/run scripts/test scripts/screenshots scripts/package scripts/release
    Resources/Completions/tavoctl.bash)

fail() {
    echo "failed: $*" >&2
    exit 1
}
expectEqual() { [ "$1" = "$2" ] || fail "$3: expected '$1', got '$2'"; }
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# Where a command's name may stand, and any words before one of its options.
command='(^|[|;&(!{`]|\b(then|do|else|exec|if|while|until|xargs|env|sudo|asRoot)\b)[[:space:]]*'
words='([^|;&)]* )?'
name='[A-Za-z_][A-Za-z0-9_]*(\[[^]]*\])?'

# forbid WORDS REGEX SAMPLE...: REGEX matches a line that does not work on a Mac, such as each SAMPLE.
reasons=() patterns=() samples=() sampleOf=()
forbid() {
    local sample
    reasons+=("$1")
    patterns+=("$2")
    for sample in "${@:3}"; do
        samples+=("$sample")
        sampleOf+=($((${#patterns[@]} - 1)))
    done
}
forbid "mapfile is bash 4" '\b(mapfile|readarray)\b' 'mapfile -t lines <file' 'readarray lines'
forbid "changing case is bash 4" "\\\$\{$name(,|\^)" 'echo "${word,,}"' 'echo ${word^}' 'echo "${words[0]^^}"'
forbid "this attribute is bash 4" '\b(declare|local|typeset|readonly) -[a-z]*[Aglnu]' 'declare -A ages' 'local -n other=$1' \
    'declare -g all=1' 'local -l small' 'readonly -A ages'
forbid "&>> and |& are bash 4" '&>>|\|&' 'run &>>log' 'run |& cat'
forbid ";& and ;;& are bash 4" ';&' 'a) run ;&' 'a) run ;;&'
forbid "coproc is bash 4" '\bcoproc\b' 'coproc cat'
forbid "wait has no options" '\bwait -' 'wait -n' 'wait -f "$child"'
forbid "\${x@Q} is bash 4.4" "\\\$\{$name@[A-Za-z]\}" 'echo "${word@Q}"'
forbid "a negative index is bash 4.3" '\$\{[A-Za-z_][A-Za-z0-9_]*\[-' 'echo "${words[-1]}"'
forbid "a negative length is bash 4.2" "\\\$\{$name:[[:space:]]*[0-9]+:[[:space:]]*-" 'echo "${word:0:-1}"' 'echo "${word:1: -1}"'
forbid "printf has no %(...)T" '%\([^)]*\)T' "printf '%(%s)T' -1"
forbid "this variable is newer" '\$\{?(EPOCHREALTIME|EPOCHSECONDS|BASHPID|SRANDOM)\b' 'now=$EPOCHSECONDS' \
    'now=${EPOCHREALTIME/./}' 'echo $BASHPID' 'echo $SRANDOM'
forbid "-v is bash 4.2" '(\[|\btest) (! )?-[vR] ' '[[ -v HOME ]]' '[ ! -v HOME ]' 'test -v HOME'
forbid "this option of shopt is newer" 'shopt .*(globstar|lastpipe|inherit_errexit|autocd|localvar)' 'shopt -s globstar' \
    'shopt -s lastpipe' 'shopt -s inherit_errexit'
forbid "padded and stepped sequences are bash 4" '\{0[0-9]+\.\.|\{[^},]+\.\.[^},]+\.\.' 'echo {01..10}' 'echo {1..9..2}'
forbid "{name}> is bash 4.1" '(^|[^$])\{[A-Za-z_][A-Za-z0-9_]*\}[<>]' 'exec {lock}>file'
forbid "read has no fractions, no -N and no -i" '\bread [^|;]*(-t ?[0-9]*\.[0-9]|-[a-z]*[Ni]\b)' 'read -t 0.5 line' 'read -N 1 byte' \
    'read -e -i text line'
forbid "\\u is bash 4.2" "\\$'[^']*\\\\[uU]" "echo \$'\\u00e9'"
forbid "source reads nothing from a process" '(^|[[:space:]])(source|\.) <\(' 'source <(generate)' '. <(generate)'
forbid "case inside \$( ) takes the first ) for its end" '\$\([[:space:]]*case\b' 'x=$(case $y in a) echo b ;; esac)'

forbid "macOS has no such program" \
    "$command(nproc|timeout|tac|shuf|numfmt|(sha[0-9]+|md5)sum|setsid|flock|pidof|getent|truncate|stdbuf|unshare|realpath)\b" \
    'jobs=$(nproc)' 'timeout 5 run' 'run | tac' 'exec setsid run' 'md5sum file' 'if flock 9; then' 'x=$(realpath "$1")'
forbid "macOS has no /proc" '/proc/' 'cat /proc/self/stat'
forbid "BSD's readlink follows one link" '\breadlink -' 'readlink -f "$0"' 'readlink -e "$0"'
forbid "BSD's tools have no long options" \
    "\\b(cat|cp|mv|rm|rmdir|ln|ls|mkdir|mktemp|sed|awk|cut|head|tail|sort|tr|uniq|wc|xargs|find|stat|date|touch|chmod|chown|du|df|id|readlink|tee|od|ps|pgrep|basename|dirname|base64|paste|seq|kill) $words--[a-z]|\\benv --" \
    'ls --color' 'sort a --unique' 'env --chdir=/ run' 'date --iso-8601' 'rm -r --one-file-system "$folder"' 'mktemp --suffix=.mm'
forbid "BSD's sed wants a suffix after -i, and -E" "\\bsed $words-[a-zA-Z]*[irsz]" 'sed -i s/a/b/ file' 'sed -n -r p' "sed -Ei 's/a/b/'"
forbid "BSD's grep knows no Perl" "\\bgrep $words-[a-zA-Z]*P" 'grep -P a' 'grep -oP a file'
forbid "BSD's date reads and counts otherwise" "\\bdate $words(-[dIr]|\\+[^ ]*%N)" 'date -d yesterday' 'date -I' 'date -r file' 'date +%s%N'
forbid "BSD's stat has -f" "\\bstat $words-[a-zA-Z]*c" 'stat -c %s file' 'stat -L -c %s file'
forbid "BSD's cp, mv and ln know neither -T, -t nor -r" "\\b((cp|mv|ln) $words-[a-zA-Z]*[Tt]|ln $words-[a-z]*r)" 'cp -aT a b' \
    'mv -t folder a' 'ln -sT a b' 'ln -sr a b'
forbid "BSD's xargs knows neither -d, -r nor -a" "\\bxargs $words-[a-zA-Z0-9]*[dra]" "xargs -d '\\n' run" 'xargs -0r run' 'xargs -a file run'
forbid "BSD's find wants a folder, and prints nothing of its own" "\\bfind (-|$words-(printf|regextype|executable))" 'find -name a' \
    "find . -printf '%p'" 'find . -executable'
forbid "BSD's head counts from the start" "\\bhead $words-[nc] ?-" 'head -n -1 file' 'head -c -1 file'
forbid "BSD's mktemp, base64 and du have no such option" "\\b(mktemp $words-p|base64 $words-w|du $words-[a-z]*b)" 'mktemp -d -p folder' \
    'base64 -w 0' 'du -sb .'

# Arrays that may be empty: expanding one is an error in bash 3.2 with `set -u`, unless with ${name[@]+...}, or after a
# line that leaves when it is empty.
emptyArrays() {
    awk '
        { line = $0 }
        # Its other way to say so, both halves of it.
        { while (match(line, /\$\{[A-Za-z_][A-Za-z0-9_]*\[[@*]\]\+"?\$\{[A-Za-z_][A-Za-z0-9_]*\[[@*]\]\}"?\}/))
              line = substr(line, 1, RSTART - 1) substr(line, RSTART + RLENGTH) }
        {
            rest = line
            while (match(rest, /[A-Za-z_][A-Za-z0-9_]*=\((\)|"?\$[@*({]|$)?/)) {
                word = substr(rest, RSTART, RLENGTH)
                before = RSTART > 1 ? substr(rest, RSTART - 1, 1) : " "
                rest = substr(rest, RSTART + RLENGTH)
                array = word
                sub(/=.*/, "", array)
                if (before == " ") maybeEmpty[array] = word ~ /(\)|[@*({])$/ && word !~ /=\($/
            }
            rest = line
            while (match(rest, /(declare|local|typeset) -a [A-Za-z_][A-Za-z0-9_]*([ ;]|$)/)) {
                array = substr(rest, RSTART, RLENGTH)
                rest = substr(rest, RSTART + RLENGTH)
                sub(/.* -a /, "", array)
                sub(/[ ;]$/, "", array)
                maybeEmpty[array] = 1
            }
            if (match(line, /^ *\[ \$\{#[A-Za-z_][A-Za-z0-9_]*\[@\]\} -gt 0 \] \|\| (return|exit)/)) {
                array = substr(line, index(line, "#") + 1)
                sub(/\[.*/, "", array)
                maybeEmpty[array] = 0
            }
            rest = line
            while (match(rest, /\$\{[A-Za-z_][A-Za-z0-9_]*\[[@*]\]/)) {
                array = substr(rest, RSTART + 2, RLENGTH - 5)
                rest = substr(rest, RSTART + RLENGTH)
                if (maybeEmpty[array]) print FNR ": " array " may be empty, which bash 3.2 calls an unbound variable: " $0
            }
        }' "$1"
}

# Prints a line for each line of FILE that does not work on a Mac.
findings() {
    local code=$folder/code index
    # Without comments, and as many lines.
    sed -E 's/^[[:space:]]*#.*//; s/[[:space:]]#[[:space:]].*//' "$1" >"$code"
    emptyArrays "$code"
    for index in "${!patterns[@]}"; do
        grep -nE -- "${patterns[index]}" "$code" | sed "s/\$/   <- ${reasons[index]//[&\/]/.}/" || true
    done
}

# Each of them is found, and by its own pattern.
for index in "${!samples[@]}"; do
    grep -qE -- "${patterns[sampleOf[index]]}" <<<"${samples[index]}" ||
        fail "nothing was found in: ${samples[index]} (${reasons[sampleOf[index]]})"
done
expectFindings() {
    local found
    printf '%s\n' "${@:2}" >"$folder/sample"
    found=$(findings "$folder/sample")
    expectEqual "$1" "$(grep -c . <<<"$found" || true)" "lines found in '${*:2}' ($found)"
}
expectFindings 1 'options=()' '[ -z "$CI" ] || options+=(-D)' 'cmake "${options[@]}"'
expectFindings 1 'local all=("$@") x' 'run "${all[*]}"'
expectFindings 1 'all=($(list))' 'for x in "${all[@]}"; do'
expectFindings 1 'local -a all' 'run "${all[@]}"'
expectFindings 1 '    a=(); run "${a[@]}"'
expectFindings 1 'a=()' '[ ${#b[@]} -gt 0 ] || return 0' 'run "${a[@]}"'
expectFindings 1 '[ ${#a[@]} -gt 0 ] || return 0' 'a=()' 'run "${a[@]}"'
# Lines that work are let through.
expectFindings 0 'a=()' 'run ${a[@]+"${a[@]}"}' 'echo ${#a[@]}'
expectFindings 0 'a=()' 'a+=(one)' '[ ${#a[@]} -gt 0 ] || return 0' 'run "${a[@]}"'
expectFindings 0 'a=(' '    one' ')' 'run "${a[@]}"' 'b=(two "$@")' 'run "${b[@]}"'
expectFindings 0 'run "$@" # mapfile' '# mapfile -t lines' 'sed -n s/a/b/p' "sed -E 's/a/b/'" 'xargs -n 1 run' 'find . -name a' \
    'grep -qx a' 'date +%s' 'echo "${word:-other}" "${word#*/}" "${word:1:2}"' 'brew list --formula -1' 'apt-get install -q --no-recommends' \
    'cmake --build --preset a' 'f() { echo {a,b} {1..3}; }' 'local missing=() package' 'wait "$child"' 'a || b && c' \
    'ctest --test-dir build -j2' 'head -n 1' '[[ ${1-} =~ ^[a-z] ]]'

found=""
for script in "${scripts[@]}"; do
    bash -n "$project/$script"
    lines=$(findings "$project/$script")
    [ -z "$lines" ] || found+=$'\n'"$script:"$'\n'"$lines"
done
[ -z "$found" ] || fail "this does not work on a Mac:$found"

# Stand-ins for the programs that the scripts call there. Each notes how it was called; brew knows the formulae that are
# in a file.
mac=$folder/mac
mkdir -p "$mac/bin" "$mac/scripts" "$mac/build/release/bin" "$mac/build/release/Tavo.app/Contents/MacOS"
cp "$project"/scripts/{bootstrap,build,run,test,screenshots} "$mac/scripts"
standIn() { # standIn FILE [COMMAND]
    printf '#!/bin/sh\necho "%s${*:+ $*}" >>"%s"\n%s\n' "$(basename "$1")" "$folder/calls" "${2-}" >"$1"
    chmod 755 "$1"
}
standIn "$mac/bin/uname" 'echo Darwin'
standIn "$mac/bin/brew" "[ \"\$1\" != list ] || cat '$folder/formulae'"
standIn "$mac/bin/cmake"
standIn "$mac/bin/ctest"
standIn "$mac/build/release/Tavo.app/Contents/MacOS/tavo"
standIn "$mac/build/release/bin/tavoctl"
standIn "$mac/build/release/bin/tavo-screenshots"
# The real names: pkg-config is an alias that Homebrew never lists.
printf '%s\n' asio cli11 cmake fmt google-benchmark googletest ninja nlohmann-json pkgconf pugixml qt qtbase utf8proc >"$folder/formulae"

# expectCalls CALLS SCRIPT [ARGUMENTS...], but for uname and for brew's list
expectCalls() {
    : >"$folder/calls"
    env -u CI -u DISPLAY "${inCI[@]}" PATH="$mac/bin:$PATH" "$mac/$2" "${@:3}" >"$folder/output" 2>&1 ||
        fail "$2 failed: $(cat "$folder/output")"
    expectEqual "$1" "$(grep -vE '^(uname|brew list)' "$folder/calls" || true)" "what $2 calls"
}
inCI=()
built=$'cmake --preset release\ncmake --build --preset release'
expectCalls "" scripts/bootstrap
expectCalls "$built" scripts/build
expectCalls $'cmake --preset debug\ncmake --build --preset debug' scripts/build debug
# What runs is built alone, unless everything was built there before.
programs='cmake --preset release -DTAVO_TESTS=OFF -DTAVO_BENCHMARKS=OFF'
app='cmake --build --preset release --target tavoctl desktop'
expectCalls "$programs -DTAVO_DESKTOP=ON"$'\n'"$app"$'\ntavo' scripts/run
expectCalls "$programs -DTAVO_DESKTOP=OFF"$'\ncmake --build --preset release --target tavoctl\ntavoctl run --preset codex' \
    scripts/run --preset codex
echo 'TAVO_TESTS:BOOL=ON' >"$mac/build/release/CMakeCache.txt"
expectCalls "$app"$'\ntavo' scripts/run
expectCalls "$built"$'\nctest --test-dir build/release --output-on-failure -j2 -R form' scripts/test -R form
expectCalls "$built"$'\n'"tavo-screenshots $folder/pictures" scripts/screenshots "$folder/pictures"
expectCalls "$built"$'\n'"tavo-screenshots --pictures $mac/docs/pictures" scripts/screenshots --pictures
inCI=(CI=true)
expectCalls $'cmake --preset release -DTAVO_WARNINGS_AS_ERRORS=ON\ncmake --build --preset release' scripts/build
inCI=()
sed -i '/^googletest$/d' "$folder/formulae"
expectCalls "" scripts/bootstrap --desktop
expectCalls "brew install googletest" scripts/bootstrap
sed -i '/^qt$/d' "$folder/formulae"
expectCalls "" scripts/bootstrap --terminal
expectCalls "brew install qt" scripts/bootstrap --desktop
printf '%s\n' googletest qt >>"$folder/formulae"
sed -i '/^pkgconf$/d' "$folder/formulae"
expectCalls "brew install pkgconf" scripts/bootstrap
