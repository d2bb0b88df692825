#!/usr/bin/env python3
"""Fails when docs/dependencies.md and scripts/setup do not name the same packages, or one has no licence.

usage: check_dependencies.py ROOT

The first column of the document's tables names packages, "| `zlib1g-dev` | … |". Each stands once among the
reasons, and once below the heading "Licences". What "scripts/setup --list all" prints are the others.
"""

import collections
import pathlib
import re
import subprocess
import sys

DOCUMENT = "docs/dependencies.md"
LICENCES = "\n## Licences\n"
FIRST_COLUMN = re.compile(r"^\|([^|]*`[^|]*)\|", re.MULTILINE)


def named(text):
    return collections.Counter(
        package for cell in FIRST_COLUMN.findall(text) for package in re.findall(r"`([^`]+)`", cell))


def installed(root):
    listed = subprocess.run([root / "scripts/setup", "--list", "all"], check=True, capture_output=True, text=True)
    return listed.stdout.split()


def problems(root):
    reasons, _, licences = (root / DOCUMENT).read_text().partition(LICENCES)
    reasoned, licensed = named(reasons), named(licences)
    packages = set(installed(root))
    yield from (f"{DOCUMENT}: says nothing of {package}" for package in sorted(packages - reasoned.keys()))
    yield from (f"{DOCUMENT}: gives no licence of {package}" for package in sorted(packages - licensed.keys()))
    yield from (f"scripts/setup: does not install {package}"
                for package in sorted((reasoned.keys() | licensed.keys()) - packages))
    yield from (f"{DOCUMENT}: names {package} more than once"
                for counts in (reasoned, licensed) for package, count in sorted(counts.items()) if count > 1)


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / DOCUMENT).is_file():
        sys.exit(f"{root} has no {DOCUMENT}: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "the document and the script name the same packages")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
