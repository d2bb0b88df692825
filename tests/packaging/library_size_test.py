#!/usr/bin/env python3
"""Fails when the stripped shared library is larger than it may be. usage: library_size_test.py PREFIX BYTES"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

(LIBRARY,) = pathlib.Path(sys.argv[1]).glob("lib*/**/libvellora.so")
CEILING = int(sys.argv[2])


class LibrarySizeTest(unittest.TestCase):
    def test_the_stripped_library_is_as_small_as_it_was(self):
        with tempfile.TemporaryDirectory() as folder:
            stripped = pathlib.Path(folder) / "libvellora.so"
            subprocess.run(["strip", "-s", "-o", stripped, LIBRARY], check=True)
            self.assertLessEqual(stripped.stat().st_size, CEILING)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
