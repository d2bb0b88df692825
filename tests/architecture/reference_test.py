#!/usr/bin/env python3
"""Makes the reference, and looks at what was made. usage: reference_test.py ROOT"""

import pathlib
import re
import subprocess
import sys
import unittest

import check_reference

ROOT = pathlib.Path(sys.argv[1])


class ReferenceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.made = subprocess.run([ROOT / "scripts/docs"], capture_output=True, text=True)
        cls.begin = re.search(r"^The reference begins at (.*)$", cls.made.stdout, re.MULTILINE)

    def test_is_made_without_warnings(self):
        self.assertEqual(self.made.returncode, 0, self.made.stdout + self.made.stderr)

    def test_begins_where_the_script_says(self):
        self.assertIsNotNone(self.begin, self.made.stdout)
        self.assertTrue(pathlib.Path(self.begin[1]).is_file(), self.begin[1])

    def test_shows_and_leads_to_what_is_there(self):
        pages = pathlib.Path(self.begin[1]).parent
        self.assertEqual(list(check_reference.problems(pages)), [])
        self.assertIn('<img src="explorer', (pages / "index.html").read_text())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
