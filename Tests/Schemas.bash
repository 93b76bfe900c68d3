# The schemas of docs/schema are schemas, and no test reads JSON of tavoctl without them.
# Usage: Schemas.bash PROJECT
set -euo pipefail
project=$1

fail() {
    echo "failed: $*" >&2
    exit 1
}

python3 - "$project"/docs/schema/*.json <<'PYTHON'
import json, sys
from jsonschema import Draft7Validator
for path in sys.argv[1:]:
    with open(path, encoding="utf-8") as file:
        schema = json.load(file)
    assert schema["$schema"] == Draft7Validator.META_SCHEMA["$schema"], path
    Draft7Validator.check_schema(schema)
PYTHON

for schema in "$project"/docs/schema/*.schema.json; do
    name=${schema##*/}
    grep -qF "\`$name\`" "$project/docs/schema/README.md" || fail "the list of schemas lacks $name"
done

# Scripts print it with printedJson, or read the lines of a run or a watch, which they check with checkJson.
for script in "$project"/Tests/Machine/*.bash "$project"/Tests/Rehearsal/*.bash; do
    unchecked=$(grep -nE -- '--json' "$script" | grep -vE '^[0-9]+: *#|printedJson|beginRun|watch --json|"\$@" --json|expectUnwritten|in .status' || true)
    [ -z "$unchecked" ] || fail "$script prints JSON that nothing checks: $unchecked"
    ! grep -qE 'beginRun .*--json|watch --json' "$script" || grep -qE 'checkJson (run|watch) --lines' "$script" ||
        fail "$script reads lines of JSON that nothing checks"
done

# Programs parse it with describedJson.
unchecked=$(grep -nE 'parseJson\((run|output|text|line|lines|printed|get|history)|parseJson\($' "$project"/Tests/TavoControl/*.cpp || true)
[ -z "$unchecked" ] || fail "tests parse JSON that nothing checks: $unchecked"
