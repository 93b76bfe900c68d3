"""Has running Tavos evaluate without a pause, and measures whether they grow. Soak.bash starts it.

An evaluation is counted when state.json has been replaced, as inotify(7) tells.
"""

import argparse
import ctypes
import os
import select
import signal
import statistics
import struct
import subprocess
import sys
import time

BIN = os.environ.get("TAVO_BIN")
PATIENCE = 120  # seconds; a busy machine with a sanitizer is slow
WARM_UP = 0.2  # of the whole
SAMPLES = 60
WATCHED_STEPS = 20  # the watched program runs for the second half of them
IN_MOVED_TO = 0x80
SETTINGS_WIDTH = 378
COLUMNS = (
    ("Program", "evaluations", "memory after the warm-up", "at the end")
    + ("growth per evaluation", "open files", "threads", "zombies")
)


class Program:
    """A Tavo under test, and what was measured of it."""

    def __init__(self, name, process, root):
        self.name, self.process, self.root = name, int(process), root
        self.evaluations = 0
        self.samples = []  # (evaluations, memory, descriptors, threads, zombies)
        executable = open(f"/proc/{process}/exe", "rb").read()
        # A sanitizer keeps freed memory, and a record of where it was allocated.
        self.is_sanitized = b"__asan_init" in executable or b"__tsan_init" in executable

    def field(self, file, name):
        for line in open(f"/proc/{self.process}/{file}"):
            if line.startswith(name + ":"):
                return int(line.split()[1])
        return 0

    def children(self):
        states = []
        for task in os.listdir(f"/proc/{self.process}/task"):
            for child in open(f"/proc/{self.process}/task/{task}/children").read().split():
                try:
                    states.append(open(f"/proc/{child}/stat").read().rsplit(")", 1)[1].split()[0])
                except OSError:
                    pass  # it has just been collected
        return states

    def counts(self):
        return (
            len(os.listdir(f"/proc/{self.process}/fd")),
            self.field("status", "Threads"),
            self.children().count("Z"),
        )

    def sample(self):
        # The lowest of some readings: a thread or a child that is just ending is no growth.
        counts = [self.counts()]
        for _ in range(5):
            time.sleep(0.01)
            counts.append(self.counts())
        memory = self.field("smaps_rollup", "Anonymous") + self.field("smaps_rollup", "Swap")
        self.samples.append((self.evaluations, memory, *(min(column) for column in zip(*counts))))


class Changes:
    """Counts the evaluations of all programs."""

    def __init__(self, programs):
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.descriptor = self.libc.inotify_init1(os.O_CLOEXEC | os.O_NONBLOCK)
        self.programs = {}
        for program in programs:
            watch = self.libc.inotify_add_watch(self.descriptor, program.root.encode(), IN_MOVED_TO)
            if watch < 0:
                sys.exit(f"soak: {program.root}: {os.strerror(ctypes.get_errno())}")
            self.programs[watch] = program

    def read(self):
        try:
            events = os.read(self.descriptor, 65536)
        except BlockingIOError:
            return
        while events:
            watch, _, _, length = struct.unpack_from("iIII", events)
            if events[16 : 16 + length].rstrip(b"\0") == b"state.json":
                self.programs[watch].evaluations += 1
            events = events[16 + length :]

    def wait_for(self, program, count):
        deadline = time.monotonic() + PATIENCE
        while program.evaluations < count:
            if time.monotonic() > deadline:
                sys.exit(f"soak: {program.name} has not evaluated within {PATIENCE} seconds.")
            select.select([self.descriptor], [], [], 1)
            self.read()
            os.kill(program.process, 0)


def xdotool(*words):
    """The words that it prints. It fails where there is no such window."""
    return subprocess.run(["xdotool", *words], capture_output=True, text=True).stdout.split()


class Soak:
    def __init__(self, arguments, programs):
        self.arguments, self.programs = arguments, programs
        self.changes = Changes(programs)
        self.began = time.monotonic()
        self.watched = None
        self.step = 0

    def progress(self):
        if self.arguments.hours:
            return (time.monotonic() - self.began) / (3600 * self.arguments.hours)
        return min(program.evaluations for program in self.programs) / self.arguments.evaluations

    def tavoctl(self, program, *words):
        subprocess.run([f"{BIN}/tavoctl", "--root", program.root, *words], check=True, stdout=subprocess.DEVNULL)

    def evaluate(self):
        """One evaluation of each program, or more."""
        self.changes.read()
        wanted = [(program, program.evaluations + 1) for program in self.programs]
        for program in self.programs:
            os.kill(program.process, signal.SIGUSR1)
        for program, count in wanted:
            self.changes.wait_for(program, count)

    def begin_watched(self):
        self.watched = subprocess.Popen(["soaked-program", "infinity"], executable="/bin/sleep")

    def end_watched(self):
        if self.watched:
            self.watched.kill()
            self.watched.wait()
            self.watched = None

    def change_power(self):
        for file, values in (("AC/online", "10"), ("BAT0/capacity", ("80", "79"))):
            with open(f"{self.arguments.supplies}/{file}", "w") as supply:
                supply.write(values[self.step // 60 % 2])
        subprocess.run([f"{BIN}/send-uevent", "kernel"], check=True)

    def change_settings(self):
        for program in self.programs:
            self.tavoctl(program, "set", "batteryCutoffPercent", str(10 + self.step // 200 % 2))

    def open_and_close_window(self):
        """Through a second start, as a user does, and by the keyboard."""
        for program in self.programs:
            if program.name != "tavo":
                continue
            subprocess.run([f"{BIN}/tavo", "--root", program.root, "--settings"], check=True)
            window = self.wait_for_window(program, True)
            subprocess.run(["xdotool", "windowactivate", "--sync", window, "key", "alt+F4"], check=True)
            self.wait_for_window(program, False)

    def wait_for_window(self, program, is_shown):
        """The settings window is told from others, such as the tray's icon, by its width."""
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            for window in xdotool("search", "--onlyvisible", "--pid", str(program.process)):
                if f"WIDTH={SETTINGS_WIDTH}" in xdotool("getwindowgeometry", "--shell", window):
                    break
            else:
                window = None
            if (window is not None) == is_shown:
                return window
            time.sleep(0.02)
        sys.exit(f"soak: the window was not {'shown' if is_shown else 'closed'} within {PATIENCE} seconds.")

    def take_step(self):
        phase = self.step % WATCHED_STEPS
        if phase == 0:
            self.end_watched()
        elif phase == WATCHED_STEPS // 2:
            self.begin_watched()
        if self.step % 60 == 5:
            self.change_power()
        if self.step % 200 == 15:
            self.change_settings()
        if self.step % 1000 == 25:
            self.open_and_close_window()
        self.evaluate()
        self.step += 1

    def run(self):
        taken = 0
        while (progress := self.progress()) < 1:
            self.take_step()
            # Always at the same point: the locks are held, and nothing has changed for a while.
            is_due = progress >= WARM_UP + (1 - WARM_UP) * taken / SAMPLES
            if is_due and self.step % WATCHED_STEPS == WATCHED_STEPS - 1:
                taken += 1
                for program in self.programs:
                    program.sample()
        self.end_watched()


def slope(points):
    """Of a line through the points: the median of the slopes between all pairs, which single jumps do not bend."""
    slopes = [(y2 - y1) / (x2 - x1) for i, (x1, y1) in enumerate(points) for x2, y2 in points[i + 1 :] if x2 > x1]
    return statistics.median(slopes)


def problems_of(program):
    """What has grown. Memory comes in pages and in the allocator's pieces, so it is not expected to be the same."""
    quarter = max(len(program.samples) // 4, 1)
    first, last = program.samples[:quarter], program.samples[-quarter:]
    for column, name in ((2, "open files"), (3, "threads"), (4, "zombies")):
        before, after = max(s[column] for s in first), min(s[column] for s in last)
        if after > before:
            yield f"{program.name}: {name} grew from {before} to {after}"
    evaluations = program.samples[-1][0] - program.samples[0][0]
    grown = slope([(s[0], s[1]) for s in program.samples]) * evaluations
    # 128 KiB, or 8 bytes an evaluation: less than one lost allocation each.
    allowed = max(128, 8 * evaluations / 1024) * (20 if program.is_sanitized else 1)
    if grown > allowed:
        yield f"{program.name}: memory grew by {grown:.0f} KiB in {evaluations} evaluations"


def row(program):
    samples = program.samples
    cells = [f"`{program.name}`", f"{program.evaluations:,}"]
    cells.append(f"{samples[0][1]:,} KiB")
    cells.append(f"{samples[-1][1]:,} KiB")
    cells.append(f"{slope([(s[0], s[1]) for s in samples]) * 1024:.2f} bytes")
    for column in (2, 3, 4):
        cells.append(f"{samples[0][column]}, {samples[-1][column]}")
    return "| " + " | ".join(cells) + " |"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--hours", type=float)
    parser.add_argument("--evaluations", type=int)
    parser.add_argument("--supplies", required=True)
    parser.add_argument("programs", nargs="+", help="NAME:PROCESS:FOLDER")
    arguments = parser.parse_args()
    programs = [Program(*text.split(":")) for text in arguments.programs]
    soak = Soak(arguments, programs)
    soak.run()
    if min(len(program.samples) for program in programs) < 8:
        sys.exit("soak: this was too short to measure anything; take more time or more evaluations.")
    print("| " + " | ".join(COLUMNS) + " |")
    print("|---" * len(COLUMNS) + "|")
    for program in programs:
        print(row(program))
    minutes = (time.monotonic() - soak.began) / 60
    print(f"\n{minutes:.1f} minutes. Open files, threads and zombies: after the warm-up, at the end.")
    problems = [problem for program in programs for problem in problems_of(program)]
    for problem in problems:
        print(f"soak: {problem}", file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
