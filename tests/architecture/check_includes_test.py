#!/usr/bin/env python3
"""Shows that check_includes.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_includes


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def problems(self):
        check_includes.given.cache_clear()
        return list(check_includes.problems(self.root))

    def test_a_file_that_includes_what_it_uses_is_fine(self):
        self.write("vellora/A.cpp", "#include <vector>\nstd::vector<int> a;\n")
        self.assertEqual(self.problems(), [])

    def test_a_missing_header_is_found(self):
        self.write("vellora/A.h", "#include <vector>\nstd::optional<int> a();\n")
        self.assertEqual(self.problems(), ["vellora/A.h: uses std::optional, but does not include <optional>"])

    def test_headers_of_ours_bring_what_they_include(self):
        self.write("vellora/A.h", "#include <vector>\n")
        self.write("vellora/B.h", '#include "vellora/A.h"\n')
        self.write("tests/ATest.cpp", '#include "vellora/B.h"\nstd::vector<int> a;\n')
        self.assertEqual(self.problems(), [])

    def test_the_header_of_the_assertions_is_asked_for(self):
        self.write("tests/ATest.cpp", "#include <gtest/gtest.h>\nTEST(A, B) {\n  EXPECT_THAT(1, 1);\n}\n")
        self.write("tests/BTest.cpp", "TEST(A, B) {\n  EXPECT_EQ(1, 1);\n}\n")
        self.assertEqual(
            self.problems(),
            ["tests/ATest.cpp: uses EXPECT_THAT, but does not include <gmock/gmock.h>",
             "tests/BTest.cpp: uses TEST or EXPECT, but does not include <gtest/gtest.h>"],
        )

    def test_comments_and_texts_use_nothing(self):
        self.write("vellora/A.cpp", '// std::vector\nconst char* a = "std::map";\n')
        self.assertEqual(self.problems(), [])


if __name__ == "__main__":
    unittest.main()
