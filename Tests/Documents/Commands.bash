# The commands of the texts do what the texts say, in a disposable machine in which Tavo is installed.
# Usage: Commands.bash PROJECT BUILD PYTHON [SCENE...]
set -euo pipefail
project=$1 build=$2 python=$3
shift 3

staged=$(mktemp -d)
trap 'rm -r "$staged"' EXIT
{
    DESTDIR=$staged cmake --install "$build" --prefix /usr
    DESTDIR=$staged cmake --install "$build" --prefix /usr --component system
} >"$staged/log"
TAVO_BIN=$build/bin "$project/scripts/in-machine" --bind-ro "$build:$build" --copy "$staged/usr:/usr" \
    "$python" "$project/Tests/Documents/scenes.py" "$project" "$@"
