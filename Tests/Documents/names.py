"""Looks up every path, option, command, name and link of the project's texts.

Usage: names.py PROJECT PROGRAMS BUILD

PROGRAMS is the folder of the built programs, BUILD the build folder, whose tests are those that ctest lists."""

import pathlib
import re
import shlex
import subprocess
import sys

import texts
from foreign import Foreign
from programs import Programs, optionPattern

suffixes = ("md|h|cpp|mm|txt|bash|sh|py|json|jsonl|conf|plist|service|socket|desktop|xml|svg|png|icns|deb|dmg|gz|in|"
            "lock|cmake")
pathPattern = re.compile(rf"[\w.~@$*{{}},+-]*(?:/[\w.~@$*{{}},+-]*)+|[\w.-]+\.(?:{suffixes})")
# A word that nobody writes in prose: capitals inside, an underscore, or a pair of colons.
namePattern = re.compile(r"(?:[A-Za-z_]\w*::)*(?=\w*(?:[a-z0-9][A-Z]|_))[A-Za-z_]\w*(?:\(\))?")
pagePattern = re.compile(r"([\w-]+)\((\d)\)")
testPattern = re.compile(r"[A-Za-z]\w*\.[A-Z]\w+(?:[./][\w/]+)*")
# Folders that a path in a text may be written from.
roots = ("", "Sources", "Sources/TavoApp", "Sources/TavoApp/app", "Tests", "Resources/Linux")
# Made by a build or by the user, not part of the sources.
madeLater = re.compile(r"build(/|$)")


class Names:
    def __init__(self, project: pathlib.Path, programs: pathlib.Path, build: pathlib.Path):
        self.project = project
        self.programs = Programs(project, programs)
        self.foreign = Foreign(pathlib.Path(__file__).parent / "foreign.txt")
        self.sources = self.readSources()
        # A long text is several literals in the sources.
        self.joinedSources = re.sub(r'"\s*\n\s*"', "", self.sources)
        self.words = set(re.findall(r"\w+", self.sources))
        listed = subprocess.run(["ctest", "--test-dir", str(build), "-N"], capture_output=True, text=True, check=True)
        self.tests = set(re.findall(r"^ *Test +#\d+: (\S+)", listed.stdout, re.MULTILINE))
        self.faults: list[str] = []

    def readSources(self) -> str:
        """All that is no text for readers: a name has to be in there."""
        files = [self.project / name for name in ("CMakeLists.txt", "CMakePresets.json")]
        for folder in ("Sources", "Resources", "Tests", "Benchmarks", "Fuzz", "cmake", "scripts", ".ci"):
            files += (path for path in (self.project / folder).rglob("*") if "corpus" not in path.parts)
        # The lists of this folder would otherwise be their own witness.
        own = pathlib.Path(__file__).parent.name
        texts = (".1", ".5", ".8", ".png")
        kept = (path for path in files if path.is_file() and own not in path.parts and path.suffix not in texts)
        return "\n".join(path.read_text(encoding="utf-8", errors="replace") for path in kept)

    def fault(self, place: str, what: str) -> None:
        self.faults.append(f"{place}: {what}")

    def look(self, text: texts.Text) -> None:
        for span in text.spans:
            self.lookAtSpan(span)
        for link in text.links:
            self.lookAtLink(text, link)
        for line in text.prose:
            # In a manual page options stand in plain text too.
            for option in optionPattern.findall(re.sub(r"`[^`]*`", "", line.text)):
                self.lookAtOption(line.place, option, None)
        self.lookAtFindings(text)
        for block in text.blocks:
            if block.language in ("sh", "bash") or any(line.startswith("$ ") for line in block.lines):
                self.lookAtCommands(block)

    def lookAtSpan(self, span: texts.Span) -> None:
        if testPattern.fullmatch(span.text) and span.text.split(".")[0] in {name.split(".")[0] for name in self.tests}:
            if span.text not in self.tests:
                self.fault(span.place, f"there is no test {span.text}")
            return
        if page := pagePattern.fullmatch(span.text):
            own = self.project / f"Resources/Linux/{page[1]}.{page[2]}"
            if not own.exists() and not self.foreign.has("name", span.text):
                self.fault(span.place, f"there is no page {span.text}")
            return
        first = span.text.split(" ")[0]
        if " " in span.text or first in ("tavoctl", "tavo"):
            self.lookAtWords(span.place, wordsOf(span.text))
        else:
            for option in optionPattern.findall(span.text):
                self.lookAtOption(span.place, option, None)
        for word in span.text.split(" "):
            word = word.strip("()\"',;=")
            if pathPattern.fullmatch(word) and not optionPattern.match(word):
                self.lookAtPath(span, word)
        if namePattern.fullmatch(span.text):
            self.lookAtName(span.place, span.text)

    def lookAtCommands(self, block: texts.Block) -> None:
        lines = block.lines
        if any(line.startswith("$ ") for line in lines):
            lines = tuple(line[2:] for line in lines if line.startswith("$ "))
        for line in "\n".join(lines).replace("\\\n", " ").splitlines():
            self.lookAtWords(block.place, wordsOf(line), isBlock=True)

    def lookAtWords(self, place: str, words: list[str], isBlock: bool = False) -> None:
        """A command line: its options are those of the program that it calls."""
        for command in simpleCommands(words):
            own = self.programs.longest(command)
            if own is None:
                # Of a command line that is cut short, as "history --json", nobody knows the program.
                program = command[0] if isBlock or self.foreign.knowsProgram(command[0]) else None
                for option in (word for word in command if optionPattern.match(word)):
                    self.lookAtOption(place, option, program)
                continue
            rest = command[len(own):]
            if self.programs.hasCommands(own) and rest and re.fullmatch(r"[a-z]\w*", rest[0]):
                self.fault(place, f"{' '.join(own)} has no command {rest[0]}")
            for word in rest:
                option = optionPattern.match(word)
                if option and option[0] not in self.programs.options[own] and not self.isPassedOn(own, option[0]):
                    self.fault(place, f"{' '.join(own)} has no option {option[0]}")

    def isPassedOn(self, own: tuple[str, ...], option: str) -> bool:
        """Two scripts take the options of the program that they end with."""
        if own == ("scripts/run",):
            return option in self.programs.options[("tavoctl", "run")]
        return own == ("scripts/test",) and self.foreign.hasOption(option, "ctest")

    def lookAtOption(self, place: str, option: str, program: str | None) -> None:
        option = optionPattern.match(option)[0]
        if program is not None:
            if not self.foreign.hasOption(option, pathlib.PurePath(program).name):
                self.fault(place, f"no option {option} of {program} is known")
        elif option not in self.programs.all() and not self.foreign.hasOption(option):
            self.fault(place, f"no program has the option {option}")

    def lookAtPath(self, span: texts.Span, path: str) -> None:
        if madeLater.match(path) or self.foreign.has("path", path):
            return
        if path.startswith(("/", "~", "$")):
            # A place in somebody's system: the sources have to know of it.
            name = path.rstrip("/").rsplit("/", 1)[-1]
            if path.rstrip("/") not in self.sources and name not in self.sources:
                self.fault(span.place, f"nothing of the project knows {path}")
            return
        if any(matches(self.project / root, path) for root in (*roots, pathlib.PurePath(span.file).parent)):
            return
        if path in self.sources or ("/" not in path and list(self.project.glob(f"[!b]*/**/{path}"))):
            return
        if path.strip("/").split("/")[-1] in ("linux", "macos"):
            return
        self.fault(span.place, f"there is no {path}")

    def lookAtName(self, place: str, name: str) -> None:
        parts = name.removesuffix("()").split("::")
        if not all(part in self.words for part in parts) and not self.foreign.has("name", name):
            self.fault(place, f"nothing of the project is called {name}")

    def lookAtLink(self, text: texts.Text, link: texts.Span) -> None:
        target, _, anchor = link.text.partition("#")
        if "://" in target or target.startswith("mailto:"):
            if not self.foreign.has("link", link.text):
                self.fault(link.place, f"the link {link.text} is not known")
            return
        path = (self.project / text.file).parent / target if target else self.project / text.file
        if not path.exists():
            self.fault(link.place, f"the link {link.text} leads nowhere")
        elif anchor and anchor not in texts.read(path, self.project).headings:
            self.fault(link.place, f"{target or text.file} has no heading #{anchor}")

    def lookAtLength(self, path: pathlib.Path) -> None:
        """A newcomer reads README.md to its end, or not at all."""
        if len(path.read_text(encoding="utf-8").splitlines()) >= 200:
            self.fault(path.name, "it has 200 lines or more; details belong into docs/")

    def lookAtFindings(self, text: texts.Text) -> None:
        """In a table of what doctor says, the code spans of the first column are its words."""
        isFindings = False
        for row in text.prose:
            cell = row.text.strip("|").split("|")[0]
            if not row.text.startswith("|") or "`tavoctl doctor` says" in cell:
                isFindings = "`tavoctl doctor` says" in cell
            elif isFindings:
                self.faults += [f"{row.place}: doctor does not say: {words}" for words in re.findall(r"`([^`]+)`", cell)
                                if words not in self.joinedSources]

    def lookAtPromises(self, text: texts.Text) -> None:
        """Each row of the tables in docs/trust.md ends with the tests that keep it."""
        heads = re.compile(r"\|[- |]+\|$|\| Promise")
        rows = [row for row in text.prose if row.text.startswith("|") and not heads.match(row.text)]
        if not rows:
            self.fault(text.file, "no promise was found")
        for row in rows:
            promise, _, keepers = row.text.strip().strip("|").partition("|")
            named = re.findall(r"`([^`]+)`", keepers)
            if not named or not all(name in self.tests for name in named):
                self.fault(row.place, f"no test that exists keeps the promise: {promise.strip()}")


def matches(root: pathlib.Path, path: str) -> bool:
    pattern = re.sub(r"\{[^}]*\}", "*", path)
    if "*" in pattern:
        return any(root.glob(pattern.strip("/")))
    return (root / path).exists()


def wordsOf(line: str) -> list[str]:
    lexer = shlex.shlex(line, posix=True, punctuation_chars=True)
    lexer.whitespace_split = True
    try:
        return list(lexer)
    except ValueError:  # a quote that ends on another line
        return line.split()


def simpleCommands(words: list[str]) -> list[list[str]]:
    """The commands of a line, each without what stands before it: variables, and programs that run others."""
    commands: list[list[str]] = [[]]
    for word in words:
        if re.fullmatch(r"[|&;()<>]+", word) or word == "--":
            commands.append([])
        elif commands[-1] or not (word in ("sudo", "exec", "then", "do") or re.match(r"\w+=", word)):
            commands[-1].append(word)
    return [command for command in commands if command]


def main() -> int:
    project, programs, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    names = Names(project, programs, build)
    for path in texts.documents(project):
        text = texts.read(path, project)
        names.look(text)
        if path == project / "README.md":
            names.lookAtLength(path)
        if path.name == "trust.md":
            names.lookAtPromises(text)
    names.faults += [f"foreign.txt: no text names this any more: {entry}" for entry in names.foreign.unused()]
    names.faults += [f"foreign.txt: there is no such option: {entry}" for entry in names.foreign.unknownOptions()]
    for fault in names.faults:
        print(f"failed: {fault}", file=sys.stderr)
    return 1 if names.faults else 0


if __name__ == "__main__":
    sys.exit(main())
