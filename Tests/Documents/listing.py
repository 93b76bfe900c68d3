"""The list of blocks, blocks.txt: for each fenced block of each text, how it is checked.

    [FILE]
    FIRST LINE OF THE BLOCK
        WAY

A block is known by its first line; of several that begin alike, the first entry is for the first one. The ways:

    scene NAME [MODE...]    its commands are run, in their order, in the surroundings that scenes/NAME.bash prepares
    config | state | history    the program itself reads the block as that file
    trigger                 it takes the block as the value of that setting
    diagram                 a Mermaid flowchart or sequence diagram, whose names are looked up in the sources
    test NAME: HOW          the test NAME does the same
    hand: REASON            done by hand before a release
"""

import dataclasses
import pathlib

import texts

ways = ("scene", "config", "state", "history", "trigger", "diagram", "test", "hand:")


@dataclasses.dataclass(frozen=True)
class Entry:
    file: str
    key: str
    way: str
    rest: str
    line: int


def readEntries(path: pathlib.Path) -> list[Entry]:
    entries: list[Entry] = []
    file, key = "", ""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        place = f"{path.name}:{number}"
        if not line.strip() or (not file and line.startswith("#")):
            continue
        if line.startswith("[") and line.endswith("]") and not key:
            file = line[1:-1]
        elif not line.startswith(" "):
            if key:
                raise ValueError(f"{place}: nothing says how the block before it is checked")
            key = " ".join(line.split())
        else:
            way, _, rest = line.strip().partition(" ")
            if not key or way not in ways:
                raise ValueError(f"{place}: not a way to check a block: {line.strip()}")
            if way in ("scene", "test", "hand:") and not rest.strip():
                raise ValueError(f"{place}: {way.strip(':')} alone says too little")
            entries.append(Entry(file, key, way, rest.strip(), number))
            key = ""
    if key:
        raise ValueError(f"{path.name}: nothing says how the last block is checked")
    return entries


def assign(blocks: list[texts.Block], entries: list[Entry]) -> tuple[list[tuple[texts.Block, Entry]], list[str]]:
    """Each block with its entry, and the faults: blocks without an entry, and entries without a block."""
    left = list(entries)
    pairs, faults = [], []
    for block in blocks:
        entry = next((entry for entry in left if (entry.file, entry.key) == (block.file, block.key)), None)
        if entry is None:
            faults.append(f"{block.place}: blocks.txt does not say how this block is checked: {block.key}")
        else:
            left.remove(entry)
            pairs.append((block, entry))
    faults += [f"blocks.txt:{entry.line}: {entry.file} has no such block: {entry.key}" for entry in left]
    return pairs, faults


def projectBlocks(project: pathlib.Path) -> list[texts.Block]:
    return [block for path in texts.documents(project) for block in texts.read(path, project).blocks]
