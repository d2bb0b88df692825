#!/usr/bin/env python3
"""Tests of plant_faults.py."""

import json
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

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

    def found_by(self, body):
        """What is said of scenarios whose program has this body; $2 names the file for its report."""
        program = self.root / "tests/interleaving/InterleavingTests"
        program.parent.mkdir(parents=True)
        program.write_text(f"#!/bin/sh\nreport=${{2#--gtest_output=json:}}\n{body}\n")
        program.chmod(0o755)
        return plant_faults.found_by_scenarios(self.root, "*")

    def test_names_the_scenario_that_fails_after_the_fewest_orders(self):
        tests = [{"classname": "A", "name": name, "interleavings": orders, **failures} for name, orders, failures in (
            ("Late", "1200", {"failures": []}), ("Early", "1100", {"failures": []}), ("Well", "3", {}))]
        report = json.dumps({"testsuites": [{"testsuite": tests}]})
        self.assertEqual(self.found_by(f"echo '{report}' > $report; exit 1"), "`A.Early`, order 1,100")

    def test_no_scenario_finds_a_fault_with_which_all_go_well(self):
        self.assertIsNone(self.found_by("exit 0"))

    def test_a_scenario_that_crashes_has_found_it(self):
        self.assertEqual(self.found_by("kill -SEGV $$"), "a scenario that crashes")

    def test_a_scenario_that_hangs_has_found_it(self):
        with mock.patch.object(plant_faults, "LONGEST", 0.1):
            self.assertEqual(self.found_by("exec sleep 100"), "a scenario that hangs")

    def test_tries_every_piece_once(self):
        pieces = [each.piece for each in plant_faults.FAULTS]
        self.assertEqual(len(pieces), len(set(pieces)))


if __name__ == "__main__":
    unittest.main()
