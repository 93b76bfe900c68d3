"""Runs the commands of the texts, scene by scene, and compares what they print with what the texts show.

Usage: scenes.py PROJECT [SCENE...]   in a disposable machine, with Tavo installed and TAVO_BIN set

A scene is a script in scenes/ that prepares the surroundings as root and ends as the shell of a user, which reads
commands. The blocks of a scene are run there in the order in which they stand, first the README's. The modes of a block
in blocks.txt:

    interrupted     each command runs until it has printed something, and is then interrupted, as with Ctrl-C
    until=FUNCTION  the same, but it runs until a function of the scene succeeds
    background      the command goes on, next to the following blocks, and is interrupted at the end of the scene
    first=FUNCTION  a function of the scene, which does what the text leaves to the reader, is called before
    into=FILE       the block is no command but the content of this file of the reader's
    last=FUNCTION   a function of the scene is called afterwards
    status=N        the last command ends with this status instead of 0
    A=B             B is written where the text has A, which stands for a reader's own: a shell expands it"""

import pathlib
import re
import shlex
import signal
import subprocess
import sys
import time

import listing
import texts

# How long something may take that is there within a moment on an idle machine.
patience = 30

# A reader sees other numbers. A line of dots stands for any lines.
patterns = [
    (r"\d{4}-\d\d-\d\d(T[\d:]+Z)?", "DATE"),
    (r"\b\d\d:\d\d(:\d\d)?\b", "CLOCK"),
    (r"\b(process(?: id)?) \d+", r"\1 N"),
    (r"\b\d+ (?:h|min|s|seconds?|minutes?|hours?)(?: (?:and )?\d+ (?:min|s|minutes?|seconds?))*(?![\w%])", "DURATION"),
    (r"\b\d+\.\d+(%|s\b)", r"N\1"),
    (r"\b\d+ processes", "N processes"),
    (r"\bversion \S+", "version N"),
    (r"\b\d+\.\d+\.\d+\b", "VERSION"),
    (r"^\d+ ", "N "),
]


def normalised(line: str) -> str:
    line = " ".join(line.split())
    for pattern, word in patterns:
        line = re.sub(pattern, word, line)
    return line


def agrees(shown: list[str], printed: list[str]) -> bool:
    """Whether these lines were printed; "..." stands for any number of lines."""
    if not shown:
        return not printed
    if shown[0] == "...":
        return any(agrees(shown[1:], printed[skipped:]) for skipped in range(len(printed) + 1))
    return bool(printed) and normalised(shown[0]) == normalised(printed[0]) and agrees(shown[1:], printed[1:])


def commandsIn(block: texts.Block) -> list[tuple[str, list[str] | None]]:
    """Each command with the output that the text shows, or None where it shows none."""
    if not any(line.startswith("$ ") for line in block.lines):
        return [(command, None) for command in wholeCommands(list(block.lines))]
    commands: list[tuple[str, list[str]]] = []
    for line in block.lines:
        if line.startswith("$ "):
            commands.append((line[2:], []))
        elif commands and not commands[-1][1] and (line.startswith("> ") or commands[-1][0].endswith("\\")):
            commands[-1] = (commands[-1][0] + "\n" + line.removeprefix("> "), [])
        elif commands:
            commands[-1][1].append(line)
    return [(command, stripped(output)) for command, output in commands]


def stripped(lines: list[str]) -> list[str]:
    while lines and not lines[-1].strip():
        lines = lines[:-1]
    return lines


def wholeCommands(lines: list[str]) -> list[str]:
    """A command may go over several lines: it is whole when a shell takes it."""
    commands, lines = [], list(lines)
    while lines:
        for count in range(1, len(lines) + 1):
            command = "\n".join(lines[:count])
            checked = subprocess.run(["bash", "-n"], input=command + "\n", capture_output=True, text=True, check=False)
            if checked.returncode == 0 and not checked.stderr and not command.endswith("\\"):
                break
        lines = lines[count:]
        if command.strip() and not command.strip().startswith("#"):
            commands.append(command)
    return commands


class Scene:
    def __init__(self, folder: pathlib.Path, name: str, output: pathlib.Path = pathlib.Path("/run/scene")):
        self.output = output
        self.count = 0
        self.background: list[tuple[texts.Block, str, list[str] | None, pathlib.Path, str]] = []
        self.shell = subprocess.Popen(["bash", str(folder / f"{name}.bash")], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, text=True)
        self.ask("set -am")

    def ask(self, command: str) -> str:
        """Has the shell run a line; gives what it answers."""
        self.shell.stdin.write(f"{command}; echo \"@@ $?\"\n")
        self.shell.stdin.flush()
        for line in self.shell.stdout:
            if line.startswith("@@ "):
                return line[3:].strip()
        raise RuntimeError("the scene's shell has ended")

    def newOutput(self) -> pathlib.Path:
        self.count += 1
        file = self.output / str(self.count)
        file.write_text("")
        file.chmod(0o666)
        return file

    def runToItsEnd(self, command: str) -> tuple[str, pathlib.Path]:
        file = self.newOutput()
        return self.ask(f"{{ {command}\n}} >{file} 2>&1 </dev/null"), file

    def begin(self, command: str, until: str | None) -> tuple[str, pathlib.Path]:
        """Starts a command in the background and waits until a function of the scene succeeds, or until it has printed
        something. Not a list of commands: what is interrupted has to be the command itself and no shell around it."""
        file = self.newOutput()
        job = self.ask(f"bash -c {shlex.quote('exec ' + command)} >{file} 2>&1 </dev/null & echo \"@@ $!\"; true")
        self.shell.stdout.readline()  # the status of true
        deadline = time.monotonic() + patience
        while self.isAlive(job) and not (file.read_text() if until is None else self.ask(until) == "0"):
            if time.monotonic() > deadline:
                raise RuntimeError(f"nothing comes of it: {command}")
            time.sleep(0.02)
        return job, file

    def isAlive(self, job: str) -> bool:
        try:
            return ") Z" not in pathlib.Path(f"/proc/{job}/stat").read_text()
        except FileNotFoundError:
            return False

    def interrupt(self, job: str) -> str:
        self.ask(f"kill -s INT -- -{job}")
        return self.ask(f"wait {job}")

    def end(self) -> list[str]:
        faults = []
        for block, command, shown, file, job in self.background:
            faults += judged(block, command, self.interrupt(job), "0", shown, file)
        self.shell.stdin.close()
        self.shell.wait(timeout=patience)
        return faults


def judged(block: texts.Block, command: str, status: str, expected: str, shown: list[str] | None,
           file: pathlib.Path) -> list[str]:
    printed = stripped(file.read_text(errors="replace").splitlines())
    if status != expected:
        return [f"{block.place}: {command}: status {status} instead of {expected}: " + "\n".join(printed)]
    if shown is not None and not agrees(shown, printed):
        return [f"{block.place}: {command} prints\n" + "\n".join(printed) + "\ninstead of\n" + "\n".join(shown)]
    return []


class Modes:
    """How the commands of one block are run, from the words in blocks.txt."""

    def __init__(self, words: list[str]):
        values = dict(word.split("=", 1) for word in words if "=" in word)
        self.flags = {word for word in words if "=" not in word}
        if unknown := self.flags - {"interrupted", "background"}:
            raise ValueError(f"no such mode: {', '.join(unknown)}")
        self.status = values.pop("status", "0")
        self.first = values.pop("first", None)
        self.last = values.pop("last", None)
        self.into = values.pop("into", None)
        self.until = values.pop("until", None)
        self.replacements = values

    def written(self, command: str) -> str:
        for old, new in self.replacements.items():
            command = command.replace(old, new)
        return command


def perform(scene: Scene, block: texts.Block, modes: Modes) -> list[str]:
    def call(function: str | None) -> list[str]:
        if function is None:
            return []
        status, file = scene.runToItsEnd(function)
        return judged(block, function, status, "0", None, file)

    faults = call(modes.first)
    if modes.into is not None:
        pathlib.Path("/home/ada", modes.into).write_text("\n".join(block.lines) + "\n")
        return faults + call(modes.last)
    commands = commandsIn(block)
    for index, (command, shown) in enumerate(commands):
        if modes.flags or modes.until:
            job, file = scene.begin(modes.written(command), modes.until)
            # A text shows what comes first.
            shown = None if shown is None else [*shown, "..."]
            if "background" in modes.flags:
                scene.background.append((block, command, shown, file, job))
                continue
            status = scene.interrupt(job)
        else:
            status, file = scene.runToItsEnd(modes.written(command))
        faults += judged(block, command, status, modes.status if index == len(commands) - 1 else "0", shown, file)
    return faults + call(modes.last)


def main() -> int:
    project = pathlib.Path(sys.argv[1]).resolve()
    here = pathlib.Path(__file__).parent
    pairs, _ = listing.assign(listing.projectBlocks(project), listing.readEntries(here / "blocks.txt"))
    wanted = dict.fromkeys(entry.rest.split()[0] for _, entry in pairs if entry.way == "scene")
    faults, count = [], 0
    for name in (name for name in wanted if name in (sys.argv[2:] or wanted)):
        began = time.monotonic()
        scene = Scene(here / "scenes", name)
        for block, entry in pairs:
            if entry.way == "scene" and entry.rest.split()[0] == name:
                count += 1
                faults += perform(scene, block, Modes(entry.rest.split()[1:]))
        faults += scene.end()
        print(f"{name}: {time.monotonic() - began:.1f} s")
    for fault in faults:
        print(f"failed: {fault}", file=sys.stderr)
    print(f"{count} blocks")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    sys.exit(main())
