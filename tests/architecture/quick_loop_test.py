#!/usr/bin/env python3
"""Shows that scripts/check finds the test programs of a change in what the build tool was told."""

import importlib.machinery
import importlib.util
import pathlib
import threading
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

    def test_objects_are_found_by_what_they_include_named_in_full_or_from_the_build(self):
        header, made = "vellora/Host/Cache.h", quick_loop.BUILD / "tests/made.h"
        deps = (f"one.o: #deps 2, deps mtime 1 (VALID)\n    {quick_loop.ROOT}/{header}\n    /usr/include/Cache.h\n\n"
                "two.o: #deps 1, deps mtime 1 (VALID)\n    ../../vellora/Host/Cache.h\n\n"
                f"three.o: #deps 2, deps mtime 1 (VALID)\n    {quick_loop.ROOT}/{header}.in\n    tests/made.h\n")
        self.assertEqual(quick_loop.touched_objects([header], deps), {"one.o", "two.o"})
        self.assertEqual(quick_loop.touched_objects([str(made.relative_to(quick_loop.ROOT))], deps), {"three.o"})

    def test_a_program_runs_once_it_is_linked_and_each_runs_once(self):
        said = ["[1/9] Building CXX object a.o", "[2/9] Linking CXX executable tests/hostkit/KitTests",
                "[3/9] Linking CXX executable bin/vellora"]
        events, ran = [], threading.Event()

        def built(programs, linked):
            for line in said:
                if program := quick_loop.LINKED.search(line):
                    linked(program[1])
            ran.wait()
            events.append("built")
            return True

        def passes(program):
            events.append(program)
            ran.set()
            return True

        quick_loop.build, quick_loop.passes = built, passes
        self.assertTrue(quick_loop.all_pass(["tests/a/ATests", "tests/hostkit/KitTests"]))
        self.assertEqual(events, ["tests/hostkit/KitTests", "built", "tests/a/ATests"])


if __name__ == "__main__":
    unittest.main()
