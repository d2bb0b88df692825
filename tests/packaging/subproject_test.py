#!/usr/bin/env python3
"""Builds an app that has Vellora's sources among its own.

FetchContent does with what it fetched what add_subdirectory does. So the app is built in the first way, whose paths a
compiler's cache finds again, and only configured in the second one.

usage: subproject_test.py SOURCES COMPILER RECORDS_SERVER
"""

import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parent))
import build_examples

SOURCES, COMPILER, RECORDS_SERVER = (pathlib.Path(argument).absolute() for argument in sys.argv[1:4])
HERE = pathlib.Path(__file__).parent / "subproject"


def run(*command, **options):
    return build_examples.run(*command, **options)


class SubprojectTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.app = self.folder / "app"
        shutil.copytree(HERE, self.app)
        shutil.copy(SOURCES / "examples/embed/main.cpp", self.app)
        (self.app / "vellora").symlink_to(SOURCES)
        self.build = self.folder / "build"

    def configure(self, *options):
        # Nothing is optimised: what is tried is how it is built, not how fast it is.
        run("cmake", "-S", self.app, "-B", self.build, "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}",
            f"-DCMAKE_CXX_COMPILER_LAUNCHER={';'.join(build_examples.launcher())}", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
            "-DCMAKE_CXX_FLAGS=-O0", "-DVELLORA_PRECOMPILE=ON", *options)

    def targets(self):
        return {line.split(":")[0] for line in run("ninja", "-C", self.build, "-t", "targets", "all").splitlines()}

    def check_that_nothing_is_imposed_on_the_app(self):
        built = {pathlib.PurePath(target).name for target in self.targets()}
        self.assertIn("app", built)
        for unwanted in ("vellora", "records-server", "embed", "host-conformance", "PlatformTests", "libvellora-conformance.a", "libvellora-c.so"):
            self.assertNotIn(unwanted, built)
        self.assertFalse((self.build / "CTestTestfile.cmake").exists(), "there are tests")
        (ours,) = [entry["command"] for entry in json.loads((self.build / "compile_commands.json").read_text())
                   if entry["file"].endswith("app/main.cpp")]
        self.assertNotIn(" -W", ours)
        run("cmake", "--install", self.build, "--prefix", self.folder / "installed")
        self.assertEqual([file for file in self.folder.glob("installed/**/*") if file.is_file()], [])

    def check_that_it_shows_a_label(self):
        run("cmake", "--build", self.build, "--target", "app")
        with build_examples.demo_server(RECORDS_SERVER) as url:
            self.assertEqual(run(self.build / "app", url, "001000000000009", cwd=self.folder), "Account\n")

    def test_fetched_sources_become_a_part_of_the_app(self):
        self.configure("-DFETCHED=ON", f"-DFETCHCONTENT_SOURCE_DIR_VELLORA={SOURCES}")
        self.check_that_nothing_is_imposed_on_the_app()
        self.check_that_it_shows_a_label()

    def test_a_folder_of_sources_becomes_a_part_of_the_app(self):
        self.configure()
        self.check_that_nothing_is_imposed_on_the_app()
        run("ninja", "-C", self.build, "-n", "app")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
