#!/usr/bin/env python3
"""Fails when an installed header does not compile alone.

usage: headers_alone_test.py PREFIX SOURCES COMPILER ABI

A header that a source or a test includes before anything else has compiled alone with that file already; only the
others are compiled here.
"""

import concurrent.futures
import pathlib
import re
import subprocess
import sys

FLAGS = ["-std=c++20", "-Wall", "-Wextra", "-Werror", "-fsyntax-only"]
FIRST_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^">]+)[">]', re.MULTILINE)


def included_first(sources):
    """What the project's own build includes first; its folders are those that are compiled in every build."""
    first = set()
    for folder in ("vellora", "hostkit", "testkit", "conformance", "tests"):
        for file in (sources / folder).glob("**/*.cpp"):
            found = FIRST_INCLUDE.search(file.read_text())
            if found:
                first.add(found[1])
    return first


def complaint(compiler, include, header):
    done = subprocess.run([compiler, *FLAGS, f"-I{include}", "-x", "c++", "-"], input=f"#include <{header}>\n",
                          capture_output=True, text=True)
    return None if done.returncode == 0 else f"{header} does not compile alone:\n{done.stderr}"


def main():
    prefix, sources, compiler, abi = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3], sys.argv[4]
    include = prefix / f"include/vellora-{abi}"
    headers = sorted(str(file.relative_to(include)) for file in include.glob("**/*.h"))
    if "vellora/Services/VelloraService.h" not in headers:
        sys.exit(f"{include} does not hold the library's headers")
    left = [header for header in headers if header not in included_first(sources)]
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        complaints = list(filter(None, pool.map(lambda header: complaint(compiler, include, header), left)))
    # The check itself has to be able to fail.
    if complaint(compiler, include, "vellora/NoSuchHeader.h") is None:
        complaints.append("a header that is not there compiles")
    print("\n".join(complaints) or f"{len(headers)} headers, {len(left)} of them compiled here")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
