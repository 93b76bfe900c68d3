"""The soak notices growth of each kind, and takes nothing else for growth."""

import os
import random
import sys
import types
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import soak  # noqa: E402


def problems(evaluations=1200, is_sanitized=False, **growth):
    """Of a program that grows by so much from the first sample to the last, and whose memory varies by 40 KiB."""
    varying = random.Random(7)
    samples = []
    for index in range(60):
        part = index / 59
        grown = {name: int(amount * part) for name, amount in growth.items()}
        memory = 5000 + grown.get("memory", 0) + varying.randrange(40)
        counts = (20 + grown.get("files", 0), 6 + grown.get("threads", 0), grown.get("zombies", 0))
        samples.append((300 + int(evaluations * part), memory, *counts))
    program = types.SimpleNamespace(name="tavo", samples=samples, is_sanitized=is_sanitized)
    return " ".join(soak.problems_of(program))


class GrowthTest(unittest.TestCase):
    def test_what_varies_does_not_grow(self):
        self.assertEqual(problems(), "")
        self.assertEqual(problems(memory=-300, files=-2, threads=-2), "")

    def test_each_kind_is_noticed_and_named(self):
        self.assertIn("open files grew from 20 to", problems(files=4))
        self.assertIn("threads grew from 6 to", problems(threads=4))
        self.assertIn("zombies grew from 0 to", problems(zombies=4))
        self.assertIn("memory grew by", problems(memory=200))

    def test_a_lost_allocation_each_is_noticed_in_a_short_run_and_a_part_of_one_in_a_long_run(self):
        self.assertIn("memory grew by", problems(evaluations=1200, memory=1200 * 160 // 1024))
        self.assertIn("memory grew by", problems(evaluations=100000, memory=100000 * 10 // 1024))
        self.assertEqual(problems(evaluations=100000, memory=100000 * 6 // 1024), "")

    def test_a_single_step_is_no_slope(self):
        program = types.SimpleNamespace(name="tavo", is_sanitized=False)
        program.samples = [(100 * i, 5000 + (2000 if i >= 50 else 0), 20, 6, 0) for i in range(60)]
        self.assertEqual(list(soak.problems_of(program)), [])

    def test_a_sanitizer_may_keep_memory_and_nothing_else(self):
        self.assertEqual(problems(memory=2000, is_sanitized=True), "")
        self.assertIn("threads grew", problems(threads=4, is_sanitized=True))


unittest.main()
