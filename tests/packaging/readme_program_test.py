#!/usr/bin/env python3
"""Goes the newcomer's path of the README: an empty folder, the program and the commands as they stand there, a label.

usage: readme_program_test.py PREFIX README RECORDS_SERVER
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import build_examples

PREFIX, README, RECORDS_SERVER = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
ADDRESS = "http://127.0.0.1:8080"
MOST_LINES = 12


def the_only(pattern, text):
    found = re.findall(pattern, text, re.MULTILINE | re.DOTALL)
    if len(found) != 1:
        sys.exit(f"README.md has {len(found)} times what {pattern!r} describes, and should have it once")
    return found[0]


class ReadmeProgramTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        section = the_only(r"^## Embed it\n(.*?)^## ", README.read_text())
        cls.program = the_only(r"\[label\] -->\n```cpp\n(.*?)^```$", section)
        cls.file = the_only(r"save it as `(\S+)`", section)
        cls.build_command = the_only(r"^    (c\+\+ [^\n]+)$", section)
        cls.run_command = the_only(r"^    (\./[^\n]+)$", section)

    def test_it_is_as_short_as_it_is_said_to_be(self):
        self.assertLessEqual(sum(1 for line in self.program.splitlines() if line), MOST_LINES)

    def test_it_shows_a_label(self):
        (configs,) = PREFIX.glob("lib*/**/pkgconfig")
        environment = os.environ | {"PKG_CONFIG_PATH": str(configs), "LD_LIBRARY_PATH": str(configs.parent)}
        self.assertIn(ADDRESS, self.run_command)
        with tempfile.TemporaryDirectory() as folder:
            work = pathlib.Path(folder)
            (work / self.file).write_text(self.program)
            with build_examples.demo_server(RECORDS_SERVER) as url:
                for command in (self.build_command, self.run_command.replace(ADDRESS, url)):
                    done = subprocess.run(command, shell=True, cwd=work, env=environment, capture_output=True, text=True)
                    self.assertEqual(done.returncode, 0, f"{command}\n{done.stdout}{done.stderr}")
            self.assertEqual(done.stdout, "Account\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
