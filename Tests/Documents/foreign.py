"""What the texts name and other people make: programs with their options, files of systems, names in their interfaces.

Each line of foreign.txt is one of

    option PROGRAM OPTION...
    path PATH...
    name NAME...
    link ADDRESS...

and is used by some text, or it has to go."""

import pathlib
import shutil
import subprocess

from programs import helpOf


class Foreign:
    def __init__(self, file: pathlib.Path):
        self.options: dict[str, set[str]] = {}
        self.entries: dict[str, set[str]] = {"path": set(), "name": set(), "link": set()}
        self.used: set[tuple[str, ...]] = set()
        for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), 1):
            words = line.split()
            if not words or words[0].startswith("#"):
                continue
            if words[0] == "option" and len(words) > 1:
                self.options.setdefault(words[1], set()).update(words[2:])
            elif words[0] in self.entries:
                self.entries[words[0]].update(words[1:])
            else:
                raise ValueError(f"{file.name}:{number}: an entry begins with option, path, name or link")

    def has(self, kind: str, text: str) -> bool:
        if text not in self.entries[kind]:
            return False
        self.used.add((kind, text))
        return True

    def knowsProgram(self, word: str) -> bool:
        return pathlib.PurePath(word).name in self.options

    def hasOption(self, option: str, program: str | None = None) -> bool:
        found = False
        for name, options in self.options.items():
            if option in options and program in (None, name):
                self.used.add(("option", name, option))
                found = True
        return found

    def unused(self) -> list[str]:
        entries = [(kind, text) for kind, texts in self.entries.items() for text in texts]
        entries += [("option", name, option) for name, options in self.options.items() for option in options]
        return sorted(" ".join(entry) for entry in set(entries) - self.used)

    def unknownOptions(self) -> list[str]:
        """Options that the programs themselves do not name, of programs that this machine has."""
        unknown = []
        for name, options in sorted(self.options.items()):
            if shutil.which(name) is None:
                continue
            said = helpOf([name]) + manualOf(name)
            unknown += [f"{name} {option}" for option in sorted(options) if option not in said]
        return unknown


def manualOf(name: str) -> str:
    if shutil.which("man") is None:
        return ""
    environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "MANWIDTH": "200"}
    result = subprocess.run(["man", "--pager=cat", name], capture_output=True, text=True, check=False,
                            stdin=subprocess.DEVNULL, env=environment)
    return result.stdout
