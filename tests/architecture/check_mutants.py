#!/usr/bin/env python3
"""Fails when the list of hand-made mutants in docs/reliability.md speaks of a line or a test that is no more.

usage: check_mutants.py ROOT

A row of the list begins with a file and a line of it, "| `Name.cpp`: `code` |", where "…" stands for anything; the
last column names the tests that caught the change.
"""

import pathlib
import re
import sys

ROW = re.compile(r"^\| `([\w/-]+\.(?:cpp|h|java|py))`: `(.*?)`.*?(?<!\\)\|(.*)\|(.*)\|$", re.MULTILINE)
CITED = re.compile(r"`(\w+)\.(\w+)`")
TEST = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")
JAVA_TEST = re.compile(r"@Test\n  public void (\w+)\(")
PYTHON_CLASS = re.compile(r"^class (\w+)\(.*?(?=^\S|\Z)", re.MULTILINE | re.DOTALL)
PYTHON_TEST = re.compile(r"^    (?:async )?def (test_\w+)\(", re.MULTILINE)
SOURCES = ("vellora", "hostkit", "apps", "bindings")
SUFFIXES = (".cpp", ".h", ".java", ".py")


def flat(text):
    return " ".join(text.split())


def stands_in(code, text):
    pieces = [re.escape(flat(piece)) for piece in code.replace(r"\|", "|").split("…")]
    return re.search(r".*?".join(pieces), flat(text)) is not None


def known_tests(root):
    """Each as the name of its class or group, and its own."""
    for path in root.glob("tests/**/*.cpp"):
        yield from TEST.findall(path.read_text())
    for path in root.glob("tests/**/*.java"):
        yield from ((path.stem, name) for name in JAVA_TEST.findall(path.read_text()))
    for path in root.glob("tests/**/*.py"):
        for group in PYTHON_CLASS.finditer(path.read_text()):
            yield from ((group[1], name) for name in PYTHON_TEST.findall(group[0]))


def problems(root):
    sources = [path for folder in SOURCES for path in root.glob(f"{folder}/**/*") if path.suffix in SUFFIXES]
    tests = set(known_tests(root))
    rows = ROW.findall((root / "docs/reliability.md").read_text())
    if not rows:
        yield "docs/reliability.md: has no list of mutants"
    for file, code, _, caught in rows:
        of_that_name = [path for path in sources if f"/{path.relative_to(root)}".endswith(f"/{file}")]
        if not any(stands_in(code, path.read_text()) for path in of_that_name):
            yield f"docs/reliability.md: no line of {file} is: {code}"
        for cited in CITED.findall(caught):
            if cited not in tests:
                yield f"docs/reliability.md: there is no test {'.'.join(cited)}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    found = list(problems(root))
    print("\n".join(found) if found else "every mutant's line and tests are there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
