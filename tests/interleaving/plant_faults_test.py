#!/usr/bin/env python3
"""Tests of plant_faults.py."""

import pathlib
import sys
import tempfile
import unittest

import plant_faults


def fault(*changes):
    return plant_faults.Fault("piece", "what", "a/One.cpp", changes, "", ())


class PlantFaultsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.file = self.root / "a/One.cpp"
        self.file.parent.mkdir()
        self.file.write_text("lock(); look(); wait();")

    def test_plants_a_fault_and_puts_the_file_back(self):
        with plant_faults.planted(self.root, fault(("lock(); look();", "look(); lock();"), ("wait", "sleep"))):
            self.assertEqual(self.file.read_text(), "look(); lock(); sleep();")
        self.assertEqual(self.file.read_text(), "lock(); look(); wait();")

    def test_puts_the_file_back_when_the_trial_fails(self):
        with self.assertRaises(RuntimeError):
            with plant_faults.planted(self.root, fault(("lock", "unlock"))):
                raise RuntimeError
        self.assertEqual(self.file.read_text(), "lock(); look(); wait();")

    def test_names_what_does_not_stand_in_the_sources_once(self):
        self.assertEqual(list(plant_faults.problems(self.root, [fault(("wait", "sleep"))])), [])
        self.assertEqual(list(plant_faults.problems(self.root, [fault(("();", ""), ("enter", ""))])),
                         ["a/One.cpp: stands there 3 times, not once: ();",
                          "a/One.cpp: stands there 0 times, not once: enter"])

    def test_knows_whether_a_program_fails(self):
        self.assertFalse(plant_faults.fails([sys.executable, "-c", ""]))
        self.assertTrue(plant_faults.fails([sys.executable, "-c", "raise SystemExit(1)"]))

    def test_tries_every_piece_once(self):
        pieces = [each.piece for each in plant_faults.FAULTS]
        self.assertEqual(len(pieces), len(set(pieces)))


if __name__ == "__main__":
    unittest.main()
