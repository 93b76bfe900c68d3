"""A copy of the tree with a build folder of its own, and programs made from it with one file changed."""

import hashlib
import json
import os
import shlex
import shutil
import subprocess
import threading
from pathlib import Path

COPIED = ("CMakeLists.txt", "CMakePresets.json", "LICENSE", "CHANGELOG.md", "README.md", "SECURITY.md", "CONTRIBUTING.md",
          "cmake", "docs", "scripts", "Resources", "Sources", "Tests", "Fuzz")
SOURCES = "Sources/TavoApp"


class BuildError(Exception):
    """The unchanged code cannot be built."""


class DoesNotCompile(Exception):
    """The changed code cannot be built."""


def mirror(source, target):
    """Makes `target` a copy of `source`. What has not changed keeps its time, so that it is not compiled again."""
    if source.is_symlink():
        if not target.is_symlink() or os.readlink(target) != os.readlink(source):
            remove(target)
            target.symlink_to(os.readlink(source))
    elif source.is_dir():
        if target.is_symlink() or not target.is_dir():
            remove(target)
            target.mkdir()
        names = {entry.name for entry in source.iterdir() if entry.name != "__pycache__"}
        for entry in target.iterdir():
            if entry.name not in names:
                remove(entry)
        for name in sorted(names):
            mirror(source / name, target / name)
    elif not target.is_file() or target.is_symlink() or target.read_bytes() != source.read_bytes():
        remove(target)
        shutil.copyfile(source, target)
        shutil.copymode(source, target)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def call(command, folder, failure):
    """Gives the output. @raises what `failure` makes of it."""
    result = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, check=False)
    output = result.stdout.decode(errors="replace")
    if result.returncode != 0:
        raise failure(output)
    return output


def run(command, folder):
    name = shlex.join(map(str, command))[:200]
    return call(command, folder, lambda output: BuildError(f"{name} failed:\n{output[-4000:]}"))


class WorkTree:
    """The copy in `folder`/tree, built without optimisation and without information for debuggers."""

    def __init__(self, project, folder, jobs, definitions=()):
        self.folder = Path(folder)
        self.tree = self.folder / "tree"
        # Where other builds have it, so that a compiler cache knows what they have compiled.
        self.build = self.tree / "build" / "release"
        self.jobs = jobs
        self.definitions = [f"-D{definition}" for definition in definitions]
        self.tree.mkdir(parents=True, exist_ok=True)
        for name in COPIED:
            if (Path(project) / name).exists():
                mirror(Path(project) / name, self.tree / name)
            else:
                remove(self.tree / name)
        self.configure()
        self.locks = {}
        self.lock = threading.Lock()
        self.compiled_headers = {}
        self.headers = None

    def configure(self):
        options = ["-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -g0 -DNDEBUG",
                   "-DCMAKE_C_FLAGS_RELEASE=-O0 -g0", "-DTAVO_DESKTOP=OFF", "-DTAVO_BENCHMARKS=OFF"]
        linker = next((name for name in ("mold", "lld") if shutil.which("mold" if name == "mold" else "ld.lld")), None)
        if linker:
            options.append(f"-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld={linker}")
        run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", *options, *self.definitions], self.folder)
        self.units = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            words = shlex.split(entry["command"])
            while os.path.basename(words[0]) in ("ccache", "sccache", "distcc"):
                words = words[1:]
            words = [word for word in words if not word.startswith("-W") and word != "-c"]
            output = words.index("-o")
            self.units[words[output + 1]] = {"file": entry["file"], "words": [
                word for word in words[:output] + words[output + 2:] if word != entry["file"]]}

    def module_units(self, module):
        """The objects of the module's library: path of the object: unit."""
        start = f"{SOURCES}/{module}/CMakeFiles/"
        return {output: unit for output, unit in self.units.items()
                if output.startswith(start) and unit["file"].endswith(".cpp")}

    def make(self, targets):
        run(["ninja", "-C", self.build, f"-j{self.jobs}", *targets], self.folder)

    def read_links(self, programs):
        """How each of the programs is linked, and which objects it holds."""
        self.links = {}
        for program in programs:
            lines = run(["ninja", "-C", self.build, "-t", "commands", program], self.folder).splitlines()
            step = next(step for step in reversed(lines[-1].split(" && ")) if " -o " in step)
            words = shlex.split(step)
            libraries = {Path(word).name[3:-2] for word in words if word.endswith(".a")}
            objects = {output for output in self.units
                       if output in words or any(f"/CMakeFiles/{library}.dir/" in output for library in libraries)}
            self.links[program] = (words, objects)

    def read_dependencies(self):
        """Which objects are made from each of the tree's files."""
        self.dependants = {}
        output = None
        for line in run(["ninja", "-C", self.build, "-t", "deps"], self.folder).splitlines():
            if line and not line.startswith(" "):
                output = line.split(":")[0]
            elif line.startswith("    ") and output in self.units:
                path = os.path.normpath(self.build / line.strip())
                if path.startswith(f"{self.tree}/"):
                    self.dependants.setdefault(path[len(f"{self.tree}/"):], set()).add(output)

    def objects_of(self, file, programs):
        """The objects in the programs that hold code of the file, which is named from the folder of the modules."""
        held = set().union(*(self.links[program][1] for program in programs))
        # The module's own objects say soonest whether it compiles.
        module = f"{SOURCES}/{file.split('/')[0]}/"
        return sorted(self.dependants.get(f"{SOURCES}/{file}", set()) & held,
                      key=lambda output: (not output.startswith(module), output))

    def precompiled(self, words):
        """Options that take the headers of other libraries, most of the work, from a precompiled file."""
        if "-include" in words:
            return []
        flags = tuple(word for word in words if not word.startswith("-I"))
        with self.lock:
            lock = self.locks.setdefault(flags, threading.Lock())
        with lock:
            if flags not in self.compiled_headers:
                name = hashlib.sha256(repr((flags, self.headers)).encode()).hexdigest()[:16]
                header = self.folder / "headers" / name / "headers.hpp"
                header.parent.mkdir(parents=True, exist_ok=True)
                header.write_text("".join(f"#include <{name}>\n" for name in self.headers))
                run([*words, "-x", "c++-header", "-o", f"{header}.gch", header], self.build)
                self.compiled_headers[flags] = ["-Winvalid-pch", "-include", str(header)]
            return self.compiled_headers[flags]

    def compile(self, output, overlay, target, extra=()):
        """Compiles the unit of the object `output` into `target`; what `overlay` holds stands before the tree's."""
        unit = self.units[output]
        words = unit["words"]
        name = os.path.relpath(unit["file"], self.tree)
        source = overlay / name if (overlay / name).exists() else Path(unit["file"])
        command = [words[0], f"-I{overlay / SOURCES}", f"-I{overlay / 'Sources'}", *words[1:],
                   *self.precompiled([*words, *extra]), "-w", *extra, "-o", str(target), "-c", str(source)]
        target.parent.mkdir(parents=True, exist_ok=True)
        call(command, self.build, DoesNotCompile)

    def link(self, program, objects, target):
        """Links the program with `objects` (path of the object: the one to take instead)."""
        words, held = self.links[program]
        command, added = [], False
        for index, word in enumerate(words):
            if word.endswith(".a") and not added:
                # Before the libraries, whose members of the same content are then not asked for.
                command += [str(path) for output, path in objects.items() if output in held and output not in words]
                added = True
            command.append(str(target) if index > 0 and words[index - 1] == "-o" else str(objects.get(word, word)))
        call(command, self.build, DoesNotCompile)
