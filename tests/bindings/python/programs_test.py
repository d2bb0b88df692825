#!/usr/bin/env python3
"""Runs the programs that the documents show, as somebody does who has the wheel only, beside a demo server.

usage: programs_test.py ROOT WHEEL RECORDS_SERVER
"""

import base64
import csv
import hashlib
import os
import pathlib
import platform
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from demo_server import demo_server

ROOT, WHEEL, RECORDS_SERVER = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
MOST_LINES = 10
# What an ELF file calls a processor, and what a wheel's name does.
PROCESSORS = {3: "i686", 22: "s390x", 62: "x86_64", 183: "aarch64"}


class ProgramsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.server = cls.enterClassContext(demo_server(RECORDS_SERVER))
        with zipfile.ZipFile(WHEEL) as wheel:
            wheel.extractall(cls.folder / "installed")

    def output(self, program, *arguments):
        done = subprocess.run([sys.executable, "-B", "-X", "dev", "-W", "error", program, *arguments], text=True,
                              capture_output=True, env=os.environ | {"PYTHONPATH": str(self.folder / "installed")})
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def test_the_quickstart_tells_what_the_record_is_or_why_it_cannot(self):
        program, = re.findall(r"```python\n(import.*?)^```$", (ROOT / "bindings/python/README.md").read_text(), re.M | re.S)
        self.assertLessEqual(len(program.splitlines()), MOST_LINES)
        quickstart = self.folder / "quickstart.py"
        quickstart.write_text(program)
        self.assertEqual(self.output(quickstart, self.server), "Account\n")
        # On a very busy machine the deadline may come before the last attempt.
        self.assertRegex(self.output(quickstart, "http://127.0.0.1:1"), r"^001000000000009: (could not be asked: .+|timed out)\n$")

    def test_the_host_over_urllib_asks_the_server(self):
        program = ROOT / "examples/python-own-host/own_host.py"
        self.assertEqual(self.output(program, self.server, "001000000000009"), "Account\n")
        self.assertEqual(self.output(program, self.server, "zzz"), "zzz: unknown to the server\n")
        self.assertEqual(self.output(program, self.server + "/nowhere", "001000000000009"),
                         "001000000000009: could not be asked: The server answers 404. (/services/data/v50.0/sobjects)\n")

    def test_the_wheel_is_for_this_system_and_has_the_library_inside(self):
        self.assertRegex(WHEEL.name, r"^vellora-[\d.]+-py3-none-linux_\w+\.whl$")
        with zipfile.ZipFile(WHEEL) as wheel:
            names = wheel.namelist()
        for name in ("vellora/__init__.py", "vellora/records.py", "vellora/py.typed", "vellora/libvellora-c.so.1"):
            self.assertIn(name, names)
        self.assertEqual([name for name in names if "__pycache__" in name], [])

    def test_the_wheel_names_the_processor_that_its_library_is_made_for(self):
        with zipfile.ZipFile(WHEEL) as wheel:
            head = wheel.read("vellora/libvellora-c.so.1")[:20]
        begins_with_highest_byte = head[5] == 2
        machine, = struct.unpack_from(">H" if begins_with_highest_byte else "<H", head, 18)
        self.assertTrue(WHEEL.name.endswith(f"_{PROCESSORS.get(machine, platform.machine())}.whl"), (WHEEL.name, machine))

    def test_the_wheel_records_each_file_as_it_is(self):
        with zipfile.ZipFile(WHEEL) as wheel:
            record, = (name for name in wheel.namelist() if name.endswith(".dist-info/RECORD"))
            rows = {name: digest for name, digest, _ in csv.reader(wheel.read(record).decode().splitlines())}
            self.assertEqual(set(rows), set(wheel.namelist()))
            for name in rows.keys() - {record}:
                digest = base64.urlsafe_b64encode(hashlib.sha256(wheel.read(name)).digest()).decode().rstrip("=")
                self.assertEqual(rows[name], f"sha256={digest}")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
