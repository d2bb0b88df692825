#!/usr/bin/env python3
"""Shows that check_snippets.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_snippets

BUILD = "if(APP)\n  # [part]\n  project(App)\n  # [part]\nendif()\n"
EXAMPLE = "int main() {\n  // [part]\n  run();\n  // [part]\n}\n"


class CheckSnippetsTest(unittest.TestCase):
    def problems(self, readme):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "README.md").write_text(readme)
            (root / "main.cpp").write_text(EXAMPLE)
            (root / "CMakeLists.txt").write_text(BUILD)
            return list(check_snippets.problems(root))

    def test_a_faithful_quotation_is_fine(self):
        self.assertEqual(self.problems("<!-- main.cpp [part] -->\n```cpp\nrun();\n```\n"), [])

    def test_a_changed_quotation_is_found(self):
        self.assertEqual(
            self.problems("<!-- main.cpp [part] -->\n```cpp\nwalk();\n```\n"),
            ["README.md: quotes main.cpp [part] otherwise than it stands there"],
        )

    def test_an_unknown_example_or_part_is_found(self):
        self.assertEqual(len(self.problems("<!-- gone.cpp [part] -->\n```cpp\nrun();\n```\n")), 1)
        self.assertEqual(len(self.problems("<!-- main.cpp [gone] -->\n```cpp\nrun();\n```\n")), 1)

    def test_code_without_an_example_is_found(self):
        for language in ("cpp", "cmake"):
            self.assertEqual(self.problems(f"```{language}\nrun();\n```\n"),
                             ["README.md: has code that is quoted from no example"])

    def test_cmake_is_quoted_from_between_comments_of_its_own(self):
        self.assertEqual(self.problems("<!-- CMakeLists.txt [part] -->\n```cmake\nproject(App)\n```\n"), [])
        self.assertEqual(len(self.problems("<!-- CMakeLists.txt [part] -->\n```cmake\nproject(Other)\n```\n")), 1)


if __name__ == "__main__":
    unittest.main()
