#!/usr/bin/env python3
"""Shows that check_scripts.py finds what it is there for."""

import pathlib
import shutil
import tempfile
import unittest

import check_scripts

HELP = pathlib.Path(__file__).parents[2] / "scripts/lib/help.sh"

HEAD = """#!/usr/bin/env bash
# Greets.
#   scripts/greet [--loud] [NAME]
#
# Installs: nothing.
# Writes: nothing.
# Takes: no time.
"""
TAKES = '. "$(dirname "$0")/lib/help.sh"\ntakes 1 "--loud" "$@"\n'


class CheckScriptsTest(unittest.TestCase):
    def problems(self, text):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "scripts/lib").mkdir(parents=True)
            shutil.copy(HELP, root / "scripts/lib")
            script = root / "scripts/greet"
            script.write_text(text)
            script.chmod(0o755)
            return list(check_scripts.problems(root))

    def test_a_script_that_shows_its_head_is_fine(self):
        self.assertEqual(self.problems(HEAD + TAKES + "cmake --build .\n"), [])

    def test_a_script_without_help_is_found(self):
        found = self.problems("#!/usr/bin/env bash\nexit 0\n")
        self.assertIn("scripts/greet --help: does not name the script", found)
        self.assertIn("scripts/greet --help: has no line that begins with Takes:", found)
        self.assertIn("scripts/greet --no-such-option: ends with 0, not with 2", found)
        self.assertIn("scripts/greet --no-such-option: is not named as what is wrong", found)

    def test_a_heading_that_says_nothing_is_found(self):
        self.assertIn("scripts/greet --help: has no line that begins with Takes:",
                      self.problems(HEAD.replace("Takes: no time.", "Takes:") + TAKES))

    def test_a_script_that_does_something_first_is_found(self):
        found = self.problems(HEAD + "cmake --preset release || true\n" + TAKES)
        self.assertEqual(len(found), 3)
        self.assertIn("does or says something else", found[0])
        self.assertIn("cmake", found[0])

    def test_a_script_that_writes_first_is_found(self):
        self.assertEqual(
            self.problems(HEAD + 'date=$(dirname "$0")\necho >>"$date/log"\n' + TAKES),
            [f"scripts/greet {option}: writes a file" for option in ("--help", "-h", "--no-such-option")],
        )

    def test_a_short_form_that_says_less_is_found(self):
        self.assertIn("scripts/greet -h: is not what --help prints",
                      self.problems(HEAD + 'if [ "$1" = -h ]; then echo brief; exit; fi\n' + TAKES))

    def test_no_script_at_all_is_found(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "scripts").mkdir()
            self.assertEqual(list(check_scripts.problems(pathlib.Path(folder))), ["scripts: has no script"])


if __name__ == "__main__":
    unittest.main()
