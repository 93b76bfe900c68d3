"""The project's texts as the tests of this folder see them: blocks, code spans, links, examples of manual pages."""

import dataclasses
import pathlib
import re


@dataclasses.dataclass(frozen=True)
class Block:
    """A fenced block of a Markdown file, or an example of a manual page."""

    file: str
    line: int
    language: str
    lines: tuple[str, ...]

    @property
    def key(self) -> str:
        """The first line that is not empty, with single spaces: what a block is known by."""
        return " ".join(next((line for line in self.lines if line.strip()), "").split())

    @property
    def place(self) -> str:
        return f"{self.file}:{self.line}"


@dataclasses.dataclass(frozen=True)
class Span:
    """Text in backticks, or in a manual page's bold or italic."""

    file: str
    line: int
    text: str

    @property
    def place(self) -> str:
        return f"{self.file}:{self.line}"


@dataclasses.dataclass
class Text:
    file: str
    blocks: list[Block] = dataclasses.field(default_factory=list)
    spans: list[Span] = dataclasses.field(default_factory=list)
    links: list[Span] = dataclasses.field(default_factory=list)
    headings: list[str] = dataclasses.field(default_factory=list)
    prose: list[Span] = dataclasses.field(default_factory=list)
    """Each line outside of blocks, as it reads."""


def documents(project: pathlib.Path) -> list[pathlib.Path]:
    """Every text whose claims are checked. CHANGELOG.md is not among them: it tells of versions that were."""
    markdown = [project / name for name in ("README.md", "CONTRIBUTING.md", "SECURITY.md")]
    pages = [page for section in "158" for page in sorted((project / "Resources/Linux").glob(f"*.{section}"))]
    return markdown + sorted((project / "docs").rglob("*.md")) + pages


def read(path: pathlib.Path, project: pathlib.Path) -> Text:
    name = str(path.relative_to(project)) if path.is_relative_to(project) else path.name
    lines = path.read_text(encoding="utf-8").splitlines()
    return readMarkdown(name, lines) if path.suffix == ".md" else readPage(name, lines)


def slug(heading: str) -> str:
    """The anchor that a heading gets where Markdown is shown."""
    return re.sub(r"[^\w\- ]", "", heading.lower().replace("`", "")).strip().replace(" ", "-")


def readMarkdown(name: str, lines: list[str]) -> Text:
    text = Text(name)
    fence, language, start, inside = "", "", 0, []
    paragraph: list[tuple[int, str]] = []
    for number, line in enumerate(lines, 1):
        marker = re.match(r"\s*(```+|~~~+)\s*(\w*)", line)
        if fence:
            if marker and marker[1].startswith(fence) and not marker[2]:
                text.blocks.append(Block(name, start, language, tuple(inside)))
                fence = ""
            else:
                inside.append(line)
            continue
        if marker:
            fence, language, start, inside = marker[1], marker[2], number, []
            continue
        if heading := re.match(r"#+ (.*)", line):
            text.headings.append(slug(heading[1]))
        if not line.strip() or heading:
            readParagraph(text, paragraph)
            paragraph = []
        if line.strip():
            paragraph.append((number, line))
    if fence:
        raise ValueError(f"{name}:{start}: the block does not end")
    readParagraph(text, paragraph)
    return text


def readParagraph(text: Text, paragraph: list[tuple[int, str]]) -> None:
    """Spans and links may go over the end of a line, but not over that of a paragraph."""
    whole = "\n".join(line for _, line in paragraph)
    if not whole:
        return

    def lineOf(position: int) -> int:
        return paragraph[0][0] + whole.count("\n", 0, position)

    for match in re.finditer(r"(`+)(.+?)\1(?!`)", whole, re.DOTALL):
        text.spans.append(Span(text.file, lineOf(match.start()), " ".join(match[2].split())))
    for match in re.finditer(r"\]\(([^)\s]+)\)|\b(?:src|srcset|href)=\"([^\"]+)\"", whole):
        text.links.append(Span(text.file, lineOf(match.start()), match[1] or match[2]))
    text.prose.extend(Span(text.file, number, line) for number, line in paragraph)


# Macros of mdoc(7) that may stand within a line.
inlineMacros = {"Ar", "Cm", "Dq", "Dv", "Ev", "Fl", "Nm", "Op", "Pa", "Ql", "Sx", "Va", "Xr"}


def plainPageText(line: str) -> str:
    """A line of a manual page without its escapes."""
    for escape, character in ((r"\-", "-"), (r"\(aq", "'"), (r"\(dq", '"'), (r"\(ti", "~"), (r"\(ha", "^"),
                              (r"\e", "\\"), (r"\&", ""), (r"\ ", " "), (r"\~", " ")):
        line = line.replace(escape, character)
    return line


def spansOfMacros(line: str) -> list[str]:
    """What the macros of a line mark as paths, options, command lines, variables and other pages."""
    found: list[tuple[str, list[str]]] = []
    for word in line.split():
        if word in inlineMacros:
            found.append((word, []))
        elif found and not re.fullmatch(r"[.,;:()]", word):
            found[-1][1].append(word)
    spans = []
    for macro, words in found:
        if macro == "Xr":
            spans.append(f"{words[0]}({words[1]})")
        elif macro == "Fl":
            spans.append("-" + words[0])
        elif macro in ("Ev", "Pa", "Ql"):
            spans.append(" ".join(words))
    return spans


def readPage(name: str, lines: list[str]) -> Text:
    """A page in mdoc(7): examples are the lines of .Dl and what stands between .Bd -literal and .Ed."""
    text = Text(name)
    start, inside = 0, []
    for number, line in enumerate(map(plainPageText, lines), 1):
        if line.startswith(".Bd -literal"):
            start, inside = number, []
        elif line.startswith(".Ed"):
            text.blocks.append(Block(name, start, "", tuple(inside)))
            start = 0
        elif start:
            inside.append(line)
        elif line.startswith(".Dl "):
            text.blocks.append(Block(name, number, "sh", (line.removeprefix(".Dl "),)))
        elif line.startswith("."):
            text.spans += [Span(name, number, span) for span in spansOfMacros(line[1:])]
        else:
            text.prose.append(Span(name, number, line))
    return text
