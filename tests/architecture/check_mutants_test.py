#!/usr/bin/env python3
"""Shows that check_mutants.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_mutants


class CheckMutantsTest(unittest.TestCase):
    def problems(self, row):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name in ("docs", "vellora", "tests"):
                (root / name).mkdir()
            (root / "docs/reliability.md").write_text(row + "\n")
            (root / "vellora/A.cpp").write_text("if (a ||\n    b) run(1, 2);\n")
            (root / "tests/ATest.cpp").write_text("TEST_F(ATest, Runs) {}\n")
            (root / "tests/JTest.java").write_text("final class JTest {\n  @Test\n  public void runs() {}\n}\n")
            (root / "tests/p_test.py").write_text("class PTest(TestCase):\n    def test_runs(self):\n        pass\n")
            return list(check_mutants.problems(root))

    def test_a_line_and_a_test_that_are_there_are_fine(self):
        self.assertEqual(self.problems(r"| `A.cpp`: `if (a \|\| b) run(…)` | never runs | `ATest.Runs` |"), [])

    def test_tests_in_java_and_python_are_known(self):
        self.assertEqual(self.problems("| `A.cpp`: `run` | never runs | `JTest.runs`, `PTest.test_runs` |"), [])
        self.assertEqual(len(self.problems("| `A.cpp`: `run` | never runs | `JTest.stops`, `PTest.test_stops` |")), 2)

    def test_a_line_that_is_no_more_is_found(self):
        self.assertEqual(
            self.problems("| `A.cpp`: `if (b)` | never runs | `ATest.Runs` |"),
            ["docs/reliability.md: no line of A.cpp is: if (b)"],
        )

    def test_a_file_that_is_no_more_is_found(self):
        self.assertEqual(len(self.problems("| `B.cpp`: `run` | never runs | `ATest.Runs` |")), 1)

    def test_a_test_that_is_no_more_is_found(self):
        self.assertEqual(
            self.problems("| `A.cpp`: `run` | never runs | `ATest.Runs`, `ATest.Stops` |"),
            ["docs/reliability.md: there is no test ATest.Stops"],
        )

    def test_a_list_that_is_no_more_is_found(self):
        self.assertEqual(self.problems("Nothing."), ["docs/reliability.md: has no list of mutants"])


if __name__ == "__main__":
    unittest.main()
