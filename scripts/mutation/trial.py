"""Runs a module's test program, fenced in, until a test fails."""

import contextlib
import os
import queue
import re
import subprocess
import threading
import time
from dataclasses import dataclass

RUN = re.compile(r"\[ RUN      \] (\S+)")
END = re.compile(r"\[ +(OK|FAILED|SKIPPED) +\] (\S+?)(, where .*)? \((\d+) ms\)")
MEMORY = 4 << 30


@dataclass
class Outcome:
    """How a run ended: "passed", "failed", "crashed" or "hung", in which test, and each finished test's seconds."""

    result: str
    test: str
    seconds: dict
    failed: list
    output: str


class Sandbox:
    """Changed code may remove or end anything: it gets a read-only system, no network, and its own processes alone."""

    def __init__(self, folder):
        self.folder = folder

    def command(self, program, cwd):
        return ["bwrap", "--ro-bind", "/", "/", "--dev", "/dev", "--proc", "/proc", "--tmpfs", "/tmp",
                "--tmpfs", "/var/tmp", "--tmpfs", "/run", "--dir", "/tmp/home", "--setenv", "HOME", "/tmp/home",
                "--setenv", "TMPDIR", "/tmp", "--ro-bind", str(self.folder), str(self.folder), "--chdir", str(cwd),
                "--unshare-pid", "--unshare-net", "--unshare-ipc", "--die-with-parent", str(program)]

    def run(self, program, cwd, bound, only=(), without=(), fail_fast=True):
        """Runs the tests `only` (else all) but for those in `without`; a test may take `bound` seconds."""
        chosen = (":".join(only) or "*") + ("-" + ":".join(without) if without else "")
        command = self.command(program, cwd) + ["--gtest_color=no", f"--gtest_filter={chosen}"]
        if fail_fast:
            command.append("--gtest_fail_fast")
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("GTEST_", "TAVO_", "XDG_", "DBUS_"))}
        # A shell's background jobs ignore the signals of its terminal, which tests send.
        prepared = ["env", "--default-signal=HUP,INT,QUIT", "prlimit", f"--as={MEMORY}", *command]
        process = subprocess.Popen(prepared, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment)
        lines = queue.Queue(maxsize=10000)
        reader = threading.Thread(target=self.read, args=(process.stdout, lines), daemon=True)
        reader.start()
        seconds, failed, recent = {}, [], []
        current, deadline, hung = "", time.monotonic() + bound, False
        while True:
            try:
                line = lines.get(timeout=max(0.0, deadline - time.monotonic()))
            except queue.Empty:
                hung = True
                break
            if line is None:
                break
            recent = recent[-40:] + [line]
            if match := RUN.search(line):
                current = match[1]
                deadline = time.monotonic() + bound
            elif match := END.search(line):
                seconds[match[2]] = int(match[4]) / 1000
                if match[1] == "FAILED":
                    failed.append(match[2])
                current = ""
                deadline = time.monotonic() + bound
            elif time.monotonic() > deadline:
                hung = True
                break
        if hung:
            # With the first process of the sandbox all others end.
            process.kill()
        try:
            status = process.wait(timeout=bound)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            hung = True
        for _ in range(100000):
            if not reader.is_alive():
                break
            with contextlib.suppress(queue.Empty):
                lines.get(timeout=0.1)
        output = "".join(recent)
        if hung:
            return Outcome("hung", current, seconds, failed, output)
        if failed:
            return Outcome("failed", failed[0], seconds, failed, output)
        if status != 0:
            return Outcome("crashed", current, seconds, failed, output)
        return Outcome("passed", "", seconds, failed, output)

    @staticmethod
    def read(stream, lines):
        try:
            for line in stream:
                lines.put(line[:2000].decode(errors="replace"))
        except ValueError:
            pass
        lines.put(None)
