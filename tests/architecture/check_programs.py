#!/usr/bin/env python3
"""Fails when a script or a document names a test program or a test that is not there.

usage: check_programs.py ROOT

A program is named by its path, such as build/release/tests/stress/StressTests: the CMake list of tests/stress makes it. Tests
are named in quotes, as GoogleTest's filters are, such as 'StressTest.*': a filter that fits no test would run none and
succeed.
"""

import fnmatch
import pathlib
import re
import sys

PROGRAM = re.compile(r"build/\w+/(tests/[\w/-]+)/([\w-]+)")
FILTER = re.compile(r"'(\*?[A-Z][\w*]*\.[\w*]+)'")
MADE = re.compile(r"\b(?:vellora_test|add_executable)\(\s*([\w-]+)")
TEST = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")


def texts(root):
    scripts = [path for path in root.glob("scripts/**/*") if path.is_file()]
    for path in sorted([*scripts, *root.glob("*.md"), *root.glob("docs/**/*.md")]):
        yield path.relative_to(root), path.read_text()


def is_made(root, folder, name):
    lists = root / folder / "CMakeLists.txt"
    return lists.is_file() and name in MADE.findall(lists.read_text())


def problems(root):
    tests = [".".join(found) for path in root.glob("tests/**/*.cpp") for found in TEST.findall(path.read_text())]
    for path, text in texts(root):
        for folder, name in dict.fromkeys(PROGRAM.findall(text)):
            if not is_made(root, folder, name):
                yield f"{path}: names {name}, which {folder}/CMakeLists.txt does not make"
        for pattern in dict.fromkeys(FILTER.findall(text)):
            if not fnmatch.filter(tests, pattern):
                yield f"{path}: no test is named {pattern}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "scripts").is_dir():
        sys.exit(f"{root} has no scripts: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every program and test that is named is there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
