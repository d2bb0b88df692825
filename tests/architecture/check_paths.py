#!/usr/bin/env python3
"""Fails when a document names a file or a folder of the tree that is not there.

usage: check_paths.py ROOT

A name is a text in backticks that begins with a top-level folder, such as `vellora/Models/SObject.h`, or where a link
leads to. A name with a word such as KIND, or with a "*", stands for several files and is not looked for. The change log
speaks of what was, and is left out; so is what a build makes.
"""

import pathlib
import re
import sys

NAME = re.compile(r"`([\w.-]+/[\w./*-]*)`")
LINK = re.compile(r"\]\(([^):#]+)\)")
CODE = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
SEVERAL = re.compile(r"NAME|KIND|FOLDER|PRESET|\*")
LEFT_OUT = {"CHANGELOG.md"}


def missing(root, document):
    text = CODE.sub("", document.read_text())
    top = {path.name for path in root.iterdir() if path.is_dir()} - {"build"}
    names = [(name, root / name) for name in NAME.findall(text) if name.split("/")[0] in top]
    links = [(link, document.parent / link) for link in LINK.findall(text)]
    return [name for name, path in dict.fromkeys(names + links) if not SEVERAL.search(name) and not path.exists()]


def problems(root):
    for document in sorted([*root.glob("*.md"), *root.glob("docs/**/*.md")]):
        path = document.relative_to(root)
        if str(path) not in LEFT_OUT:
            yield from (f"{path}: names {name}, which is not there" for name in missing(root, document))


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "README.md").is_file():
        sys.exit(f"{root} has no README.md: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every file and folder that a document names is there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
