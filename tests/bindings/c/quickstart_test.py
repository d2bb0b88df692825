#!/usr/bin/env python3
"""Builds the program of bindings/c/README.md as it stands there, and runs it.

usage: quickstart_test.py FOLDER LIBRARY RECORDS_SERVER C_COMPILER LINKER [FLAG...]

Under sanitizers the linker is the compiler for C++: the library needs that part of their runtime.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from demo_server import demo_server

FOLDER, LIBRARY, RECORDS_SERVER = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
COMPILER, LINKER, FLAGS = sys.argv[4], sys.argv[5], sys.argv[6:]
README = (FOLDER / "README.md").read_text()
(PROGRAM,) = re.findall(r"```c\n(.*?)^```$", README, re.MULTILINE | re.DOTALL)
BODY = re.search(r"int main[^\n]*\n(.*)^}", PROGRAM, re.MULTILINE | re.DOTALL)[1]
MOST_LINES = 10


class QuickstartTest(unittest.TestCase):
    def build(self, folder, *command):
        built = subprocess.run([*command, *FLAGS], cwd=folder, capture_output=True, text=True)
        self.assertEqual(built.returncode, 0, built.stderr)

    def test_it_is_as_short_as_it_is_said_to_be(self):
        self.assertLessEqual(len(BODY.splitlines()), MOST_LINES)

    def test_it_prints_what_the_record_is_or_why_it_cannot(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            (folder / "quickstart.c").write_text(PROGRAM)
            self.build(folder, COMPILER, "-std=c99", "-Wall", "-Wextra", "-Werror", f"-I{FOLDER}", "-c", "quickstart.c")
            self.build(folder, LINKER, "quickstart.o", "-o", "quickstart", LIBRARY)
            run = lambda address: subprocess.run(
                [folder / "quickstart", address], capture_output=True, text=True, check=True,
                env=os.environ | {"LD_LIBRARY_PATH": str(LIBRARY.parent)}).stdout
            with demo_server(RECORDS_SERVER) as address:
                document = json.loads(run(address))
            self.assertEqual(document["question"], "records")
            self.assertEqual(document["found"][0]["record"]["typePresentationInfo"]["label"], "Account")
            self.assertIn("is not a URL", run("no address"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
