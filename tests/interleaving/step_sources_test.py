#!/usr/bin/env python3
"""Tests of step_sources.py."""

import pathlib
import tempfile
import unittest

import step_sources


class StepSourcesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root, self.target = pathlib.Path(folder.name, "root"), pathlib.Path(folder.name, "target")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def copied(self, *paths):
        self.assertEqual(list(step_sources.copy(self.root, self.target, paths)), [])
        return {str(each.relative_to(self.target)): each.read_text() for each in self.target.rglob("*.*")}

    def test_puts_the_tests_primitives_in_place_of_the_standard_ones(self):
        here = "vellora::tests::interleaving::standard::"
        self.assertEqual(step_sources.stepped("std::atomic<std::thread::id> a; std::lock_guard lock(b); std::mutex b;"),
                         f"{here}atomic<{here}thread::id> a; std::lock_guard lock(b); {here}mutex b;")
        other = "#include <map>\nauto mutex = mystd::mutex_of(std::mutexes);"
        self.assertEqual(step_sources.stepped(other), other)
        self.assertEqual(step_sources.stepped("#include <map>\n#include <mutex>\n"),
                         '#include <map>\n#include "tests/interleaving/Standard.h"\n')

    def test_puts_a_variable_of_the_tests_in_place_of_one_of_each_thread(self):
        self.assertEqual(step_sources.stepped("thread_local bool isHere = false;"),
                         "vellora::tests::interleaving::standard::thread_local_variable<bool> isHere = false;")

    def test_copies_the_sources_of_folders_and_single_files(self):
        self.write("a/One.h", "std::mutex")
        self.write("a/b/Two.cpp", "two")
        self.write("a/CMakeLists.txt", "three")
        self.write("c/Three.h", "three")
        self.write("c/Four.h", "four")
        self.assertEqual(self.copied("a", "c/Three.h"),
                         {"a/One.h": "vellora::tests::interleaving::standard::mutex", "a/b/Two.cpp": "two", "c/Three.h": "three"})

    def test_leaves_alone_what_has_not_changed(self):
        self.write("a/One.h", "one")
        self.copied("a")
        before = (self.target / "a/One.h").stat().st_mtime_ns
        self.copied("a")
        self.assertEqual((self.target / "a/One.h").stat().st_mtime_ns, before)
        self.write("a/One.h", "another")
        self.assertEqual(self.copied("a"), {"a/One.h": "another"})

    def test_refuses_primitives_that_the_tests_do_not_have(self):
        self.write("a/One.h", "std::shared_mutex mutex;")
        self.write("a/Two.h", "thread_local std::map<int, int> numbers{};")
        self.assertEqual(list(step_sources.copy(self.root, self.target, ["a"])),
                         ["a/One.h: the tests have nothing in place of std::shared_mutex",
                          "a/Two.h: the tests have nothing in place of thread_local"])


if __name__ == "__main__":
    unittest.main()
