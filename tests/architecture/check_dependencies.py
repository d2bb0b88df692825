#!/usr/bin/env python3
"""Fails when docs/dependencies.md and scripts/setup do not name the same packages.

usage: check_dependencies.py ROOT

The first column of the document's table names packages, "| `zlib1g-dev` | … |"; each stands there once. What
"scripts/setup --list all" prints are the others.
"""

import collections
import pathlib
import re
import subprocess
import sys

DOCUMENT = "docs/dependencies.md"
FIRST_COLUMN = re.compile(r"^\|([^|]*`[^|]*)\|", re.MULTILINE)


def documented(text):
    return [package for cell in FIRST_COLUMN.findall(text) for package in re.findall(r"`([^`]+)`", cell)]


def installed(root):
    listed = subprocess.run([root / "scripts/setup", "--list", "all"], check=True, capture_output=True, text=True)
    return listed.stdout.split()


def problems(root):
    counts = collections.Counter(documented((root / DOCUMENT).read_text()))
    packages = set(installed(root))
    yield from (f"{DOCUMENT}: says nothing of {package}" for package in sorted(packages - counts.keys()))
    yield from (f"scripts/setup: does not install {package}" for package in sorted(counts.keys() - packages))
    yield from (f"{DOCUMENT}: names {package} more than once" for package, count in sorted(counts.items()) if count > 1)


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / DOCUMENT).is_file():
        sys.exit(f"{root} has no {DOCUMENT}: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "the document and the script name the same packages")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
