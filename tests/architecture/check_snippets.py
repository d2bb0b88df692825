#!/usr/bin/env python3
"""Fails when a document quotes an example otherwise than it stands there.

usage: check_snippets.py ROOT

A quotation is a fenced block of C++, CMake, Java or Python right behind a line such as "<!-- examples/embed/main.cpp [embed] -->"; in
the example, what is quoted stands between two lines "// [embed]", or "# [embed]" in CMake and Python. Such a block of C++ or CMake
without such a line is an error. The programs that the README of a binding shows are run by tests of their own.
"""

import pathlib
import re
import sys
import textwrap

QUOTATION = re.compile(r"^<!-- (\S+) \[([\w-]+)\] -->\n```(?:cpp|cmake|java|python)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
BLOCK = re.compile(r"```(?:cpp|cmake)\b")
QUOTED_BLOCK = re.compile(r" -->\n```(?:cpp|cmake)\b")


def excerpt(text, name):
    parts = re.split(rf"^ *(?://|#) \[{name}\]\n", text, flags=re.MULTILINE)
    return textwrap.dedent(parts[1]) if len(parts) == 3 else None


def problems(root):
    documents = [*root.glob("*.md"), *root.glob("docs/**/*.md"), *root.glob("bindings/**/*.md")]
    for document in sorted(documents):
        text = document.read_text()
        quotations = QUOTATION.findall(text)
        name = document.relative_to(root)
        if len(BLOCK.findall(text)) != len(QUOTED_BLOCK.findall(text)):
            yield f"{name}: has code that is quoted from no example"
        for file, region, quoted in quotations:
            source = root / file
            if not source.is_file() or excerpt(source.read_text(), region) != quoted:
                yield f"{name}: quotes {file} [{region}] otherwise than it stands there"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "README.md").is_file():
        sys.exit(f"{root} has no README.md: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every quotation stands so in its example")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
