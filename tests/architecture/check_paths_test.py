#!/usr/bin/env python3
"""Shows that check_paths.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_paths


class CheckPathsTest(unittest.TestCase):
    def problems(self, text, name="docs/guides/page.md"):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for there in ("docs/guides", "src/room", "build"):
                (root / there).mkdir(parents=True)
            (root / "src/room/A.h").write_text("")
            (root / name).write_text(text)
            return list(check_paths.problems(root))

    def test_files_and_folders_that_are_there_are_fine(self):
        self.assertEqual(self.problems("`src/room/A.h`, `src/room`, `src/room/` and [it](../../src/room/A.h)"), [])

    def test_what_is_no_name_of_a_file_here_is_left_alone(self):
        self.assertEqual(self.problems("`build/release`, `a/b`, `src/*/A.h`, `src/NAME.h`, <https://a.example/b>, "
                                       "[site](https://a.example/b), [below](#below)\n```\n`src/B.h`\n```\n"), [])

    def test_a_file_that_has_moved_is_found_once(self):
        self.assertEqual(self.problems("`src/A.h` and `src/A.h`"),
                         ["docs/guides/page.md: names src/A.h, which is not there"])

    def test_the_end_of_a_path_will_do_for_a_header_or_source(self):
        self.assertEqual(self.problems("`room/A.h`, `detail/A.h`, `oom/A.h`, `a/b.txt` and `build/A.h`"),
                         ["docs/guides/page.md: names detail/A.h, which is not there",
                          "docs/guides/page.md: names oom/A.h, which is not there"])

    def test_a_link_that_leads_nowhere_is_found(self):
        self.assertEqual(self.problems("[page](docs/page.md)", "README.md"),
                         ["README.md: names docs/page.md, which is not there"])

    def test_the_change_log_may_speak_of_what_was(self):
        self.assertEqual(self.problems("`src/A.h`", "CHANGELOG.md"), [])


if __name__ == "__main__":
    unittest.main()
