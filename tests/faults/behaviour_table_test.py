#!/usr/bin/env python3
"""Tests scripts/behaviour-table on a small tree of its own."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).parents[2] / "scripts/behaviour-table"
OUTCOMES = """# How to read this.
#
#   a | b

group useless = error, no body

# A reason.
names | * | GET * | useless | once | empty |
pair | names | useless | error | empty |
"""
MARK = "<!-- What follows is written by scripts/behaviour-table from tests/faults/outcomes.txt. -->\n"


class BehaviourTableTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.outcomes = self.root / "tests/faults/outcomes.txt"
        self.document = self.root / "docs/behaviour.md"
        for file, text in ((self.outcomes, OUTCOMES), (self.document, "# Prose\n\n" + MARK)):
            file.parent.mkdir(parents=True)
            file.write_text(text)

    def run_script(self, *arguments):
        return subprocess.run([sys.executable, SCRIPT, *arguments, self.root], capture_output=True, text=True)

    def test_writes_the_table_behind_the_prose(self):
        self.assertEqual(self.run_script().returncode, 0)
        text = self.document.read_text()
        self.assertTrue(text.startswith("# Prose\n\n" + MARK + "\nHow to read this.\n\n    a | b\n"), text)
        self.assertIn("| useless | error, no body |\n", text)
        self.assertIn("A reason.\n\n| operation | cache |", text)
        self.assertIn("| names | any | GET \\* | useless | once | empty |  |\n", text)

    def test_the_check_passes_on_what_was_written(self):
        self.run_script()
        self.assertEqual(self.run_script("--check").returncode, 0)

    def test_the_check_fails_when_the_table_has_changed(self):
        self.run_script()
        self.outcomes.write_text(OUTCOMES.replace("once", "then on"))
        checked = self.run_script("--check")
        self.assertNotEqual(checked.returncode, 0)
        self.assertIn("run scripts/behaviour-table", checked.stderr)

    def test_the_check_fails_when_the_document_has_changed(self):
        self.run_script()
        self.document.write_text(self.document.read_text().replace("| empty |", "| right |"))
        self.assertNotEqual(self.run_script("--check").returncode, 0)

    def test_a_document_without_the_line_is_left_alone(self):
        self.document.write_text("# Prose\n")
        self.assertNotEqual(self.run_script().returncode, 0)
        self.assertEqual(self.document.read_text(), "# Prose\n")


if __name__ == "__main__":
    unittest.main()
