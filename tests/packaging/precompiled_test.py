#!/usr/bin/env python3
"""Configures a release, and one that is small throughout.

g++ takes a precompiled header only where it optimises for the same: for size, for speed, or for nothing.

usage: precompiled_test.py SOURCES COMPILER
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCES, COMPILER = sys.argv[1:3]
HEADER = re.compile(r"-include (\S+/cmake_pch\.hxx)\b")


def aim(command):
    """What the compiler optimises for; the last option counts."""
    return {"-O0": "nothing", "-Os": "size"}.get(re.findall(r" (-O\S*)", command)[-1], "speed")


class PrecompiledTest(unittest.TestCase):
    def commands(self, *options):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(
                ["cmake", "-S", SOURCES, "-B", folder, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}",
                 "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DVELLORA_PRECOMPILE=ON",
                 "-DVELLORA_BUILD_TESTS=OFF", *options],
                check=True, stdout=subprocess.DEVNULL)
            return json.loads((pathlib.Path(folder) / "compile_commands.json").read_text())

    def check_that_each_source_aims_at_what_its_precompiled_header_does(self, commands):
        headers = {}
        users = []
        for entry in commands:
            if header := HEADER.search(entry["command"]):
                if entry["file"].endswith("/cmake_pch.hxx.cxx"):
                    headers[header[1]] = aim(entry["command"])
                else:
                    users.append((entry["file"], header[1], aim(entry["command"])))
        self.assertTrue(users)
        self.assertEqual([source for source, header, its_aim in users if its_aim != headers[header]], [])

    def test_each_source_of_a_release_aims_at_what_its_precompiled_header_does(self):
        self.check_that_each_source_aims_at_what_its_precompiled_header_does(self.commands())

    def test_each_source_of_a_small_build_aims_at_what_its_precompiled_header_does(self):
        self.check_that_each_source_aims_at_what_its_precompiled_header_does(self.commands("-DVELLORA_SMALL=ON"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
