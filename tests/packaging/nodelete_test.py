#!/usr/bin/env python3
"""Fails when an installed shared library does not stay once it is loaded: its threads would lose their code. usage: nodelete_test.py PREFIX"""

import pathlib
import re
import subprocess
import sys
import unittest

LIBRARIES = sorted(pathlib.Path(sys.argv[1]).glob("lib*/**/libvellora*.so"))


class NodeleteTest(unittest.TestCase):
    def test_each_library_stays_once_it_is_loaded(self):
        names = {library.name for library in LIBRARIES}
        self.assertLessEqual({"libvellora.so", "libvellora-hostkit.so"}, names)
        for library in LIBRARIES:
            with self.subTest(library=library.name):
                told = subprocess.run(["readelf", "-dW", library], capture_output=True, text=True, check=True)
                self.assertRegex(told.stdout, re.compile(r"\(FLAGS_1\).*\bNODELETE\b"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
