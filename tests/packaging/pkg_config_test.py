#!/usr/bin/env python3
"""Fails when a pkg-config module for C++ does not say which standard its headers need. usage: pkg_config_test.py PREFIX COMPILER"""

import os
import pathlib
import subprocess
import sys
import unittest

PREFIX, COMPILER = sys.argv[1:3]
(CONFIGS,) = pathlib.Path(PREFIX).glob("lib*/**/pkgconfig")
ENVIRONMENT = os.environ | {"PKG_CONFIG_PATH": str(CONFIGS)}


def flags(module):
    asked = subprocess.run(["pkg-config", "--cflags", module], env=ENVIRONMENT, capture_output=True, text=True, check=True)
    return asked.stdout.split()


def compiled(header, *options):
    return subprocess.run([COMPILER, *flags("vellora"), *options, "-fsyntax-only", "-x", "c++", "-"],
                          input=f"#include <{header}>\n", capture_output=True, text=True)


class PkgConfigTest(unittest.TestCase):
    def test_every_module_says_the_standard(self):
        for module in ("vellora", "vellora-hostkit", "vellora-testkit", "vellora-conformance"):
            self.assertIn("-std=c++20", flags(module), module)

    def test_a_later_standard_may_stand_behind_it(self):
        done = compiled("vellora/Catalog/Catalog.h", "-std=c++2b")
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_for_an_older_standard_the_headers_say_what_is_needed(self):
        for header in ("vellora/Catalog/Catalog.h", "hostkit/StandardPlatformAPI.h", "vellora/Host/Network.h"):
            done = compiled(header, "-std=c++17")
            self.assertNotEqual(done.returncode, 0)
            first = next(line for line in done.stderr.splitlines() if "error" in line)
            self.assertIn("Vellora needs C++20 or later: compile with -std=c++20", first)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
