"""Finds the places in C++ code that can be changed, by reading it with libclang, so that no comment is ever hit."""

import re
import threading
from dataclasses import dataclass

from clang import cindex
from clang.cindex import CursorKind, TypeKind

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "<<": ">>", ">>": "<<",
              "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|="}

FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE, CursorKind.LAMBDA_EXPR}
REMOVABLE = {CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
             CursorKind.UNARY_OPERATOR, CursorKind.UNEXPOSED_EXPR, CursorKind.CXX_THROW_EXPR, CursorKind.CONTINUE_STMT,
             CursorKind.BREAK_STMT}
INTEGERS = {TypeKind.CHAR_S, TypeKind.CHAR_U, TypeKind.SCHAR, TypeKind.UCHAR, TypeKind.SHORT, TypeKind.USHORT,
            TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG, TypeKind.LONGLONG, TypeKind.ULONGLONG}
NUMBER = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlLzZ]*)$")
FRACTION = re.compile(r"[0-9][0-9']*\.[0-9]*([eE][-+]?[0-9]+)?[fFlL]?$")
STRING = re.compile(r'(u8|u|U|L)?(R"|").*"$', re.DOTALL)


@dataclass(frozen=True)
class Mutation:
    """One change: `length` bytes at `offset` of `file` become `replacement`."""

    file: str
    line: int
    column: int
    kind: str
    offset: int
    length: int
    original: str
    replacement: str

    @property
    def id(self):
        """Names it as long as the file stays as it is."""
        return f"{self.file}:{self.line}:{self.column}:{self.kind}"

    @property
    def change(self):
        return f"{shown(self.original)} became {shown(self.replacement)}" if self.replacement else \
            f"{shown(self.original)} removed"

    def applied(self, source):
        return source[:self.offset] + self.replacement.encode() + source[self.offset + self.length:]


def shown(text):
    text = " ".join(text.split())
    return f"`{text if len(text) <= 60 else text[:40] + '...' + text[-17:]}`"


class Finder:
    """Collects the mutations of the files in `wanted` (path: name) out of translation units that include them."""

    def __init__(self, wanted):
        self.wanted = wanted
        self.sources = {}
        self.found = {}
        self.lock = threading.Lock()

    def read(self, path, arguments):
        """Reads one translation unit; several threads may read others at the same time."""
        unit = cindex.Index.create().parse(path, args=arguments)
        errors = [problem for problem in unit.diagnostics if problem.severity >= cindex.Diagnostic.Error]
        if errors:
            raise SystemExit(f"mutate: libclang cannot read {path}: {errors[0]}")
        included = {path} | {str(entry.include) for entry in unit.get_includes()}
        with self.lock:
            fresh = [name for name in included if name in self.wanted and name not in self.sources]
            for name in fresh:
                with open(name, "rb") as file:
                    self.sources[name] = file.read()
            for cursor in unit.cursor.get_children():
                if cursor.location.file and cursor.location.file.name in fresh:
                    self.visit(cursor, cursor.location.file.name, None)

    def mutations(self):
        return sorted(self.found.values(), key=lambda mutation: (mutation.file, mutation.offset, mutation.kind))

    def add(self, path, kind, start, end, replacement):
        before = self.sources[path][:start]
        line, column = before.count(b"\n") + 1, start - before.rfind(b"\n")
        mutation = Mutation(self.wanted[path], line, column, kind, start, end - start,
                            self.sources[path][start:end].decode(), replacement)
        if mutation.original != mutation.replacement:
            self.found.setdefault(mutation.id, mutation)

    def text(self, path, start, end):
        return self.sources[path][start:end].decode(errors="replace")

    def visit(self, cursor, path, parent):
        kind = cursor.kind
        if kind == CursorKind.STATIC_ASSERT:
            return
        children = list(cursor.get_children())
        self.change(cursor, kind, children, path)
        for index, child in enumerate(children):
            last = index == len(children) - 1
            if kind == CursorKind.COMPOUND_STMT and child.kind in REMOVABLE:
                ends_function = last and parent is not None and parent.kind in FUNCTIONS
                if not (ends_function and child.kind == CursorKind.CXX_THROW_EXPR):
                    self.remove(child, path)
            self.visit(child, path, cursor)

    def remove(self, statement, path):
        start, end = statement.extent.start.offset, statement.extent.end.offset
        # The range of a macro's use may end elsewhere.
        if self.text(path, end, end + 1) == ";" and self.text(path, start, start + 6) != "(void)":
            self.add(path, "remove", start, end, "")

    def change(self, cursor, kind, children, path):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        text = self.text(path, start, end)
        if kind == CursorKind.IF_STMT:
            self.change_if(children, path)
        elif kind in (CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR):
            self.negate(children[0], path)
        elif kind == CursorKind.INTEGER_LITERAL and (number := NUMBER.match(text)):
            value = int(number[1].replace("'", ""), 0) if number[1] != "0" and not number[1].startswith("0") or \
                number[1][:2] in ("0x", "0X") else int(number[1].replace("'", ""), 8)
            self.add(path, "more", start, end, f"{value + 1}{number[2]}")
            if value > 1:
                self.add(path, "zero", start, end, f"0{number[2]}")
        elif kind == CursorKind.FLOATING_LITERAL and FRACTION.match(text):
            self.add(path, "more", start, end, f"({text} + 1)")
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR and text in ("true", "false"):
            self.add(path, "bool", start, end, "false" if text == "true" else "true")
        elif kind == CursorKind.STRING_LITERAL and STRING.match(text):
            self.add(path, "text", start, end, '""' if text != '""' else '"changed"')
        elif kind == CursorKind.UNARY_OPERATOR and text.startswith("!") and not text.startswith("!="):
            self.add(path, "not", start, start + 1, "")
        elif kind == CursorKind.UNARY_OPERATOR and text[:2] in ("++", "--"):
            self.add(path, "step", start, start + 2, "--" if text[:2] == "++" else "++")
        elif kind == CursorKind.RETURN_STMT and children:
            self.change_return(children[0], path)
        elif kind == CursorKind.DECL_REF_EXPR and text in ("std::min", "std::max"):
            self.add(path, "bound", start, end, "std::max" if text == "std::min" else "std::min")
        if len(children) >= 2:
            self.change_operator(cursor, kind, children, path)

    def negate(self, condition, path):
        start, end = condition.extent.start.offset, condition.extent.end.offset
        operands = list(condition.get_children())
        while len(operands) == 1:
            operands = list(operands[0].get_children())
        # Another kind of change does the same to these.
        if self.text(path, start, start + 1) == "!" or self.operator(operands, path)[0] in ("==", "!="):
            return
        self.add(path, "negate", start, end, f"!({self.text(path, start, end)})")

    def change_if(self, children, path):
        then = next((index for index, child in enumerate(children) if child.kind == CursorKind.COMPOUND_STMT), None)
        if not then:
            return
        declared = next((child for child in children[:then] if child.kind == CursorKind.VAR_DECL), None)
        if declared is not None:
            end = declared.extent.end.offset
            start = declared.extent.start.offset
            declaration = self.text(path, start, end)
            self.add(path, "negate", start, end, f"{declaration}; !{declared.spelling}")
        else:
            self.negate(children[then - 1], path)
        if len(children) > then + 1:
            start, end = children[then].extent.end.offset, children[-1].extent.end.offset
            keyword = self.text(path, start, end).find("else")
            if keyword >= 0:
                self.add(path, "no-else", start + keyword, end, "")

    def change_return(self, value, path):
        start, end = value.extent.start.offset, value.extent.end.offset
        text = self.text(path, start, end)
        if text in ("true", "false", "{}", "std::nullopt", "nullptr", "*this") or not text:
            return
        if value.type.get_canonical().kind == TypeKind.BOOL:
            self.add(path, "return", start, end, f"!({text})")
        else:
            self.add(path, "return", start, end, "{}")

    def operator(self, operands, path):
        """The text between the first operand and the last one, and where it stands; none when it is no operator's."""
        if len(operands) < 2:
            return "", 0
        left, right = operands[0].extent.end.offset, operands[-1].extent.start.offset
        if not 0 < right - left < 200:
            return "", 0
        between = self.text(path, left, right)
        return between.strip(), left + len(between) - len(between.lstrip())

    def change_operator(self, cursor, kind, children, path):
        operator, start = self.operator(children, path)
        end = start + len(operator)
        if operator in COMPARISONS:
            self.add(path, "compare", start, end, COMPARISONS[operator])
        elif operator in LOGIC:
            self.add(path, "logic", start, end, LOGIC[operator])
        elif operator in ARITHMETIC:
            builtin = kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR)
            of_time = "chrono" in cursor.type.get_canonical().spelling and operator in ("+", "-", "+=", "-=")
            if builtin or of_time:
                self.add(path, "arithmetic", start, end, ARITHMETIC[operator])
