#!/usr/bin/env python3
"""Asks find_package for what there is not, and looks at what it says. usage: find_package_test.py PREFIX COMPILER"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PREFIX, COMPILER = sys.argv[1:3]
HAS_REDIS = any(pathlib.Path(PREFIX).glob("lib*/**/libvellora-redishost.so"))


class FindPackageTest(unittest.TestCase):
    def configured(self, *lines):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            project = ["cmake_minimum_required(VERSION 3.25)", "project(Asks LANGUAGES CXX)", *lines]
            (folder / "CMakeLists.txt").write_text("\n".join(project))
            done = subprocess.run(
                ["cmake", "-S", folder, "-B", folder / "build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={PREFIX}",
                 f"-DCMAKE_CXX_COMPILER={COMPILER}", "-DCMAKE_CXX_COMPILER_WORKS=ON"],
                capture_output=True, text=True)
        return done.returncode, " ".join((done.stdout + done.stderr).split())

    def test_what_is_unknown_or_too_new_is_named(self):
        status, said = self.configured(
            "find_package(Vellora QUIET COMPONENTS HostKitt)",
            'message(STATUS "[${Vellora_FOUND}] ${Vellora_NOT_FOUND_MESSAGE}")',
            "find_package(Vellora 99.0 QUIET)",
            'message(STATUS "[${Vellora_FOUND}] ${Vellora_CONSIDERED_VERSIONS}")',
            "find_package(Vellora REQUIRED COMPONENTS HostKitt)",
        )
        self.assertNotEqual(status, 0)
        known = "Vellora, HostKit, RedisHost, TestKit, HostConformance."
        self.assertIn(f'[0] Vellora has no component "HostKitt". There are: {known}', said)
        self.assertIn("[0] 0.", said)
        self.assertIn("CMake Error", said)

    def test_every_component_is_a_target_and_none_comes_unasked(self):
        status, said = self.configured(
            "find_package(Vellora REQUIRED)",
            "if(NOT TARGET Vellora::Vellora OR TARGET Vellora::HostKit)", 'message(FATAL_ERROR "unasked")', "endif()",
            "find_package(Vellora REQUIRED COMPONENTS HostKit TestKit)",
            "if(NOT TARGET Vellora::HostKit OR NOT TARGET Vellora::TestKit)", 'message(FATAL_ERROR "none")', "endif()",
        )
        self.assertEqual(status, 0, said)

    @unittest.skipUnless(HAS_REDIS, "the cache in a Redis is not built")
    def test_the_cache_in_a_redis_is_a_component_in_both_forms_with_all_that_an_archive_needs(self):
        for static in ("ON", "OFF"):
            status, said = self.configured(
                f"set(Vellora_USE_STATIC_LIBS {static})",
                "find_package(Vellora REQUIRED COMPONENTS RedisHost)",
                "if(NOT TARGET Vellora::RedisHost OR TARGET Vellora::HostKit)", 'message(FATAL_ERROR "none")', "endif()",
                "get_target_property(needed Vellora::RedisHost INTERFACE_LINK_LIBRARIES)",
                'message(STATUS "[${needed}]")',
            )
            self.assertEqual(status, 0, said)
            self.assertIn("Vellora::Vellora", said)
            self.assertEqual("Hiredis::Hiredis" in said, static == "ON", said)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
