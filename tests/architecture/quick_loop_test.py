#!/usr/bin/env python3
"""Shows that scripts/check finds the test programs of a change in what the build tool was told, and where scripts/lint begins afresh."""

import importlib.machinery
import importlib.util
import pathlib
import threading
import unittest



def script(name):
    path = pathlib.Path(__file__).parents[2] / "scripts" / name
    loader = importlib.machinery.SourceFileLoader(name, str(path))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(name, loader))
    loader.exec_module(module)
    return module


quick_loop = script("check")
lint = script("lint")


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


class LintTest(unittest.TestCase):
    def test_a_build_folder_of_another_compiler_is_told(self):
        presets = {"configurePresets": [{"name": "base"}, {"name": "quick", "cacheVariables": {"CMAKE_CXX_COMPILER": "clang++-14"}}]}
        cache = "CMAKE_CXX_COMPILER_AR:FILEPATH=/usr/bin/x\nCMAKE_CXX_COMPILER:{}\nCMAKE_GENERATOR:INTERNAL=Ninja\n"
        self.assertTrue(lint.is_of_another_compiler(cache.format("FILEPATH=/usr/bin/c++"), presets))
        self.assertFalse(lint.is_of_another_compiler(cache.format("STRING=clang++-14"), presets))
        self.assertFalse(lint.is_of_another_compiler(cache.format("STRING=/usr/bin/clang++-14"), presets))
        self.assertFalse(lint.is_of_another_compiler("", presets))


if __name__ == "__main__":
    unittest.main()
