"""The options that there are: those of the project's own programs, by their --help, and those of its scripts, by what
they say of themselves."""

import os
import pathlib
import re
import subprocess

optionPattern = re.compile(r"(?<![\w-])--[A-Za-z][\w-]*")
ownPrograms = ("tavo", "tavoctl", "tavo-inhibit", "TavoPrivilegedHelper")


def helpOf(command: list[str]) -> str:
    # Without a display the desktop app has nothing to say but its help.
    environment = {**os.environ, "QT_QPA_PLATFORM": "offscreen", "LC_ALL": "C.UTF-8", "MANPAGER": "cat"}
    result = subprocess.run([*command, "--help"], capture_output=True, text=True, timeout=60, check=False,
                            stdin=subprocess.DEVNULL, env=environment)
    return result.stdout + result.stderr


def subcommandsIn(text: str) -> list[str]:
    """As the help lists them below "Commands:"."""
    section = re.search(r"^Commands:\n((?:  .*\n?)*)", text, re.MULTILINE)
    return re.findall(r"^  ([a-z]\w*)", section[1], re.MULTILINE) if section else []


class Programs:
    """Which options each program takes, and each of its commands, as ("tavoctl", "helper", "status")."""

    def __init__(self, project: pathlib.Path, folder: pathlib.Path):
        self.options: dict[tuple[str, ...], set[str]] = {}
        for program in ownPrograms:
            self.ask(folder, (program,))
        if not self.hasCommands(("tavoctl",)):
            raise ValueError("tavoctl --help lists no commands")
        for script in [*sorted((project / "scripts").iterdir()), project / ".ci/run"]:
            if script.is_file() and not script.suffix:
                name = str(script.relative_to(project))
                # The comment at its top, and the words that it compares its arguments with.
                text = script.read_text(encoding="utf-8")
                self.options[(name,)] = set(optionPattern.findall(text))

    def ask(self, folder: pathlib.Path, command: tuple[str, ...]) -> None:
        text = helpOf([str(folder / command[0]), *command[1:]])
        # Each begins a line; others are in examples.
        self.options[command] = set(re.findall(r"^ +(?:-\w, *)?(--[\w-]+)", text, re.MULTILINE))
        if not self.options[command]:
            raise ValueError(f"{' '.join(command)} --help lists no options: {text}")
        for name in subcommandsIn(text):
            self.ask(folder, (*command, name))

    def longest(self, words: list[str]) -> tuple[str, ...] | None:
        """The command that these words call, or None when they call none of the project's."""
        found = None
        for length in range(1, min(len(words), 4) + 1):
            if tuple(words[:length]) in self.options:
                found = tuple(words[:length])
        return found

    def hasCommands(self, command: tuple[str, ...]) -> bool:
        return any(other[:-1] == command for other in self.options)

    def all(self) -> set[str]:
        return set().union(*self.options.values())
