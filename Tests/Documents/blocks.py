"""Every block is in the list, every entry has its block, and the blocks that take no commands hold.

Usage: blocks.py PROJECT PROGRAMS BUILD"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import listing
import texts
from names import Names, namePattern


class Checks:
    def __init__(self, programs: pathlib.Path, names: Names):
        self.tavoctl = programs / "tavoctl"
        self.names = names
        self.faults: list[str] = []

    def run(self, root: str, *arguments: str) -> subprocess.CompletedProcess:
        return subprocess.run([self.tavoctl, *arguments, "--root", root], capture_output=True, text=True, timeout=60,
                              check=False, stdin=subprocess.DEVNULL, env={**os.environ, "TZ": "UTC"})

    def check(self, block: texts.Block, entry: listing.Entry) -> None:
        faults: list[str] = []
        if entry.way == "diagram":
            faults = self.diagram(block)
        elif entry.way == "test":
            name = entry.rest.split(":")[0]
            if name not in self.names.tests:
                faults = [f"no test {name} is known that does the same"]
        elif entry.way in ("config", "state", "history", "trigger"):
            with tempfile.TemporaryDirectory() as root:
                os.chmod(root, 0o700)
                faults = getattr(self, entry.way)(block, pathlib.Path(root))
        self.faults += [f"{block.place}: {fault}" for fault in faults]

    def config(self, block: texts.Block, root: pathlib.Path) -> list[str]:
        (root / "config.json").write_text("\n".join(block.lines))
        result = self.run(str(root), "get", "--json")
        if result.returncode != 0:
            return [result.stderr.strip()]
        # A key that is left out gets its default, and a preset brings its rule along.
        return differences(block, json.loads(result.stdout))

    def trigger(self, block: texts.Block, root: pathlib.Path) -> list[str]:
        result = self.run(str(root), "set", "trigger", "\n".join(block.lines))
        if result.returncode != 0:
            return [result.stderr.strip()]
        return differences(block, json.loads(self.run(str(root), "get", "--json").stdout)["trigger"])

    def state(self, block: texts.Block, root: pathlib.Path) -> list[str]:
        (root / "state.json").write_text("\n".join(block.lines))
        result = self.run(str(root), "status", "--json")
        return differences(block, json.loads(result.stdout)["snapshot"])

    def history(self, block: texts.Block, root: pathlib.Path) -> list[str]:
        lines = [line for line in block.lines if line.strip()]
        (root / "history.jsonl").write_text("\n".join(lines) + "\n")
        # The dates of a text may lie before that; whether a line can be read is another matter.
        result = self.run(str(root), "history", "--json", "--since", "8000h")
        if result.returncode != 0:
            return [result.stderr.strip()]
        skipped = json.loads(result.stdout)["skippedLines"]
        return [f"{skipped} lines are not read"] if skipped else []

    def diagram(self, block: texts.Block) -> list[str]:
        whole = "\n".join(block.lines)
        content = "\n".join(block.lines[1:])
        if re.match(r"\s*flowchart (TD|LR)\b", whole):
            declared = set(re.findall(r"(\w+)\[\"", whole)) | set(re.findall(r"subgraph (\w+)", whole))
            bare = re.sub(r"\[\"[^\"]*\"\]|\"[^\"]*\"", "", whole)
            arrows = [line for line in bare.splitlines() if re.search(r"-[-.]", line)]
            used = {word for line in arrows for word in re.findall(r"[A-Za-z]\w*", line)}
            faults = [f"the diagram declares no {word}" for word in sorted(used - declared)]
        elif re.match(r"\s*sequenceDiagram\b", whole):
            declared = set(re.findall(r"participant (\w+)", whole))
            used = set(re.findall(r"^\s*(\w+)-", whole, re.MULTILINE)) | set(re.findall(r"-?>>\+?(\w+):", whole))
            faults = [f"the diagram declares no {word}" for word in sorted(used - declared)]
        else:
            return ["neither a flowchart nor a sequence diagram"]
        joined = content.replace("-<br/>", "")
        names = {*re.findall(r"<b>(.*?)</b>", joined), *namePattern.findall(re.sub(r"<[^>]*>", " ", joined))}
        return faults + [f"nothing of the project is called {name}" for name in sorted(names) if not self.isKnown(name)]

    def isKnown(self, name: str) -> bool:
        """A type, a module's folder, or a program."""
        folders = (self.names.project / root for root in ("Sources", "Sources/TavoApp"))
        return (name.removesuffix("()") in self.names.words or (name,) in self.names.programs.options
                or any((folder / name).exists() for folder in folders))


def differences(block: texts.Block, read: dict) -> list[str]:
    """The fields that a program has read otherwise than the block has them."""
    given = json.loads("\n".join(block.lines))
    return [f"{key} is read as {read.get(key)}" for key, value in given.items() if not holds(read.get(key), value)]


def holds(read: object, given: object) -> bool:
    """Whether all that was given is in what was read."""
    if isinstance(given, dict) and isinstance(read, dict):
        return all(holds(read.get(key), value) for key, value in given.items())
    return read == given


def main() -> int:
    project, programs, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    here = pathlib.Path(__file__).parent
    pairs, faults = listing.assign(listing.projectBlocks(project), listing.readEntries(here / "blocks.txt"))
    checks = Checks(programs, Names(project, programs, build))
    for block, entry in pairs:
        if entry.way == "scene" and not (here / "scenes" / f"{entry.rest.split()[0]}.bash").exists():
            faults.append(f"blocks.txt:{entry.line}: there is no scene {entry.rest.split()[0]}")
        checks.check(block, entry)
    for fault in faults + checks.faults:
        print(f"failed: {fault}", file=sys.stderr)
    print(f"{len(pairs)} blocks, {sum(entry.way == 'hand:' for _, entry in pairs)} of them by hand")
    return 1 if faults or checks.faults else 0


if __name__ == "__main__":
    sys.exit(main())
