#!/usr/bin/env python3
"""Shows that scripts/check finds the test programs of a change in what the build tool was told."""

import importlib.machinery
import importlib.util
import pathlib
import unittest

SCRIPT = pathlib.Path(__file__).parents[2] / "scripts/check"
LOADER = importlib.machinery.SourceFileLoader("quick_loop", str(SCRIPT))
quick_loop = importlib.util.module_from_spec(importlib.util.spec_from_loader("quick_loop", LOADER))
LOADER.exec_module(quick_loop)


class QuickLoopTest(unittest.TestCase):
    def test_a_program_is_found_whatever_else_its_link_makes(self):
        alone = "build tests/vellora/Host/HostTests: CXX_EXECUTABLE_LINKER__HostTests_Debug a.o\n"
        listed = "build tests/hostkit/KitTests tests/hostkit/KitTests[1]_tests.cmake | ${x}y: CXX_EXECUTABLE_LINKER__KitTests_Debug\n"
        self.assertEqual(quick_loop.PROGRAM.findall(alone + listed),
                         [("tests/vellora/Host/HostTests", "vellora/Host"), ("tests/hostkit/KitTests", "hostkit")])

    def test_what_is_no_test_program_is_left_alone(self):
        self.assertEqual(quick_loop.PROGRAM.findall("build bin/vellora: CXX_EXECUTABLE_LINKER__vellora_Debug a.o\n"), [])


if __name__ == "__main__":
    unittest.main()
