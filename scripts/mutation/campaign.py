"""Chooses changes by a seed, tries each one, and counts how many the tests notice."""

import concurrent.futures
import filecmp
import random
import re
import threading
import time
from dataclasses import dataclass, field
from pathlib import Path

from mutation.build import SOURCES, DoesNotCompile

SUITE = re.compile(r"\b(?:TEST|TEST_F|TEST_P|TYPED_TEST)\(\s*(\w+)\s*,")


@dataclass
class Result:
    mutation: object
    verdict: str  # "noticed", "hung", "survived", "identical", "does not compile"
    test: str = ""
    seconds: float = 0.0
    unsteady: list = field(default_factory=list)


class Module:
    """A module's test programs, and which of their tests are tried first."""

    def __init__(self, name, tree, sandbox, patience):
        self.name = name
        self.tree = tree
        self.sandbox = sandbox
        folder = f"Tests/{name}/CMakeFiles/"
        self.programs = sorted({output.split("/")[3][:-4] for output in tree.units if output.startswith(folder)})
        self.folder = tree.build / "Tests" / name
        self.left_out = {program: [] for program in self.programs}
        self.patience = patience
        self.bound = patience
        self.suites = {}

    def check_unchanged(self):
        """Runs the tests over the unchanged code. Gives those that fail in the sandbox, which cannot judge a change."""
        slowest = 0.0
        for program in self.programs:
            path = self.tree.build / "bin" / program
            for _ in range(2):
                outcome = self.sandbox.run(path, self.folder, 120, without=self.left_out[program], fail_fast=False)
                slowest = max([slowest, *outcome.seconds.values()])
                if outcome.result == "passed":
                    break
                if outcome.result != "failed":
                    raise SystemExit(f"mutate: {program} {outcome.result} in {outcome.test or 'no test'} over the unchanged "
                                     f"code:\n{outcome.output}")
                self.left_out[program] += outcome.failed
            else:
                raise SystemExit(f"mutate: over the unchanged code now one and now another test of {program} fails.")
        self.bound = self.patience + 5 * slowest
        return [test for tests in self.left_out.values() for test in tests]

    def read_suites(self):
        for path in (self.tree.tree / "Tests" / self.name).rglob("*.cpp"):
            text = path.read_text()
            found = set(SUITE.findall(text))
            for header in re.findall(r'#include "([^"]+)"', text):
                self.suites.setdefault(Path(header).stem, set()).update(found)
            self.suites.setdefault(re.sub("Test$", "", path.stem), set()).update(found)

    def try_program(self, program, path, file):
        """Runs the tests, those of the changed file first. Gives the verdict and the test that noticed."""
        likely = sorted(f"*{suite}.*" for suite in self.suites.get(Path(file).stem, ()))
        unsteady = []
        rounds = [(likely, []), ([], likely)] if likely else [([], [])]
        for only, without in rounds:
            while True:
                outcome = self.sandbox.run(path, self.folder, self.bound, only,
                                           without + self.left_out[program] + unsteady)
                if outcome.result == "passed":
                    break
                if outcome.result == "hung":
                    return "hung", outcome.test, unsteady
                # A busy machine makes a test fail once, a change makes it fail again.
                again = self.sandbox.run(path, self.folder, self.bound, [outcome.test]) if outcome.test else outcome
                if again.result != "passed":
                    return "noticed", outcome.test or "the program's end", unsteady
                unsteady.append(outcome.test)
        return "survived", "", unsteady


class Campaign:
    def __init__(self, tree, modules, jobs):
        self.tree = tree
        self.modules = modules
        self.jobs = jobs
        self.slots = list(range(jobs))
        self.lock = threading.Lock()

    def choose(self, mutations, count, seed):
        """Queues of changes, a queue a file, and how many are to be taken of each: by the lines that can be changed."""
        generator = random.Random(seed)
        queues, sizes = {}, {}
        for file in sorted({mutation.file for mutation in mutations}):
            kinds = {}
            for mutation in mutations:
                if mutation.file == file:
                    kinds.setdefault(mutation.kind, []).append(mutation)
            for kind in sorted(kinds):
                generator.shuffle(kinds[kind])
            # One of each kind in turn, since the most frequent kind is not the most telling one.
            rounds = []
            while any(kinds.values()):
                names = sorted(kind for kind in kinds if kinds[kind])
                generator.shuffle(names)
                rounds += [kinds[kind].pop() for kind in names]
            queues[file] = rounds
            sizes[file] = len({mutation.line for mutation in rounds})
        total = sum(sizes.values()) or 1
        shares = {file: count * size / total for file, size in sizes.items()}
        quotas = {file: min(int(share), len(queues[file])) for file, share in shares.items()}
        left = count - sum(quotas.values())
        for file in sorted(shares, key=lambda name: int(shares[name]) - shares[name])[:left]:
            quotas[file] += 1
        slots = [file for file in sorted(quotas) for _ in range(quotas[file])]
        generator.shuffle(slots)
        return queues, slots

    def run(self, queues, slots, report):
        """Tries a change a slot; one that cannot count is replaced by the next of its file, or else of its module."""
        results = []

        def take(file):
            with self.lock:
                module = file.split("/")[0]
                for name in [file] + [name for name in sorted(queues) if name.split("/")[0] == module]:
                    if queues[name]:
                        return queues[name].pop(0)
            return None

        def fill(file):
            while mutation := take(file):
                result = self.attempt(mutation)
                with self.lock:
                    results.append(result)
                    report(result)
                if result.verdict in ("noticed", "hung", "survived"):
                    return

        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            for done in concurrent.futures.as_completed([pool.submit(fill, file) for file in slots]):
                done.result()
        return results

    def attempt(self, mutation):
        with self.lock:
            slot = self.slots.pop()
        try:
            started = time.monotonic()
            result = self.attempt_in(self.tree.folder / f"slot{slot}", mutation)
            result.seconds = time.monotonic() - started
            return result
        finally:
            with self.lock:
                self.slots.append(slot)

    def attempt_in(self, slot, mutation):
        module = self.modules[mutation.file.split("/")[0]]
        changed = slot / "overlay" / SOURCES / mutation.file
        source = (self.tree.tree / SOURCES / mutation.file).read_bytes()
        outputs = self.tree.objects_of(mutation.file, module.programs)
        changed.parent.mkdir(parents=True, exist_ok=True)
        unsteady = []
        try:
            changed.write_bytes(mutation.applied(source))
            objects = {output: slot / "objects" / output for output in outputs}
            for output in outputs:
                self.tree.compile(output, slot / "overlay", objects[output])
            for program in module.programs:
                path = slot / program
                self.tree.link(program, objects, path)
                verdict, test, doubted = module.try_program(program, path, mutation.file)
                unsteady += doubted
                if verdict != "survived":
                    return Result(mutation, verdict, test, unsteady=unsteady)
            # After the tests, which notice most changes sooner than the unchanged code is compiled. The optimiser sees
            # through changes that make no difference; for all that includes a header it would take too long.
            if self.is_identical(outputs, slot, changed, source, mutation, []) or \
                    len(outputs) == 1 and self.is_identical(outputs, slot, changed, source, mutation, ["-O2"]):
                return Result(mutation, "identical")
            return Result(mutation, "survived", unsteady=unsteady)
        except DoesNotCompile:
            return Result(mutation, "does not compile")
        finally:
            changed.unlink()

    def is_identical(self, outputs, slot, changed, source, mutation, options):
        """Whether the compiler makes the same of the changed code and of the unchanged code, in the same place."""
        for output in outputs:
            made = []
            for content in (mutation.applied(source), source):
                changed.write_bytes(content)
                made.append(slot / "compared" / str(len(made)) / output)
                self.tree.compile(output, slot / "overlay", made[-1], options)
            if not filecmp.cmp(*made, shallow=False):
                return False
        return True
