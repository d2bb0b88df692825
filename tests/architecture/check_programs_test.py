#!/usr/bin/env python3
"""Shows that check_programs.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_programs


class CheckProgramsTest(unittest.TestCase):
    def problems(self, script):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name in ("scripts", "docs", "tests/room"):
                (root / name).mkdir(parents=True)
            (root / "scripts/long").write_text(script)
            (root / "tests/room/CMakeLists.txt").write_text("vellora_test(RoomTests SOURCES ATest.cpp)\nadd_executable(a-b main.cpp)\n")
            (root / "tests/room/ATest.cpp").write_text("TEST_F(ATest, Runs) {}\nTYPED_TEST(BTest, Stops) {}\n")
            return list(check_programs.problems(root))

    def test_programs_and_tests_that_are_there_are_fine(self):
        self.assertEqual(self.problems("build/release/tests/room/RoomTests --gtest_filter='ATest.*'\n"
                                       "build/release/tests/room/a-b\nrun '*BTest.St*'\n"), [])

    def test_a_program_that_is_not_made_there_is_found(self):
        self.assertEqual(self.problems("build/release/tests/room/OtherTests\nbuild/asan/tests/gone/RoomTests\n"),
                         ["scripts/long: names OtherTests, which tests/room/CMakeLists.txt does not make",
                          "scripts/long: names RoomTests, which tests/gone/CMakeLists.txt does not make"])

    def test_a_filter_that_fits_no_test_is_found(self):
        self.assertEqual(self.problems("run 'ATest.Walks*'\n"), ["scripts/long: no test is named ATest.Walks*"])


if __name__ == "__main__":
    unittest.main()
