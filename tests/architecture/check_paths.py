#!/usr/bin/env python3
"""Fails when a document names a file or a folder of the tree that is not there.

usage: check_paths.py ROOT

A name is a text in backticks that begins with a top-level folder, such as `vellora/Models/SObject.h`, or where a link
leads to. A header or source whose name begins with another folder, such as `detail/Link.h`, is there when some file's
path ends so. A name with a word such as KIND, or with a "*", stands for several files and is not looked for. The change
log speaks of what was, and is left out; so is what a build makes.
"""

import pathlib
import re
import sys

NAME = re.compile(r"`([\w.-]+/[\w./*-]*)`")
LINK = re.compile(r"\]\(([^):#]+)\)")
CODE = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
SEVERAL = re.compile(r"NAME|KIND|FOLDER|PRESET|\*")
SOURCE = re.compile(r"\.(h|cpp)$")
LEFT_OUT = {"CHANGELOG.md"}


def sources(root):
    """The paths of all C++ sources in the tree."""
    folders = [folder for folder in root.iterdir() if folder.is_dir() and folder.name not in {"build", ".git"}]
    return [str(path) for folder in folders for path in folder.rglob("*.*") if SOURCE.search(path.name)]


def missing(root, document, paths):
    text = CODE.sub("", document.read_text())
    folders = {path.name for path in root.iterdir() if path.is_dir()}
    top = folders - {"build"}
    named = NAME.findall(text)
    names = [(name, root / name) for name in named if name.split("/")[0] in top]
    links = [(link, document.parent / link) for link in LINK.findall(text)]
    gone = [name for name, path in names + links if not path.exists()]
    gone += [name for name in named if name.split("/")[0] not in folders and SOURCE.search(name)
             and not any(path.endswith("/" + name) for path in paths)]
    return [name for name in dict.fromkeys(gone) if not SEVERAL.search(name)]


def problems(root):
    paths = sources(root)
    for document in sorted([*root.glob("*.md"), *root.glob("docs/**/*.md"), *root.glob("bindings/**/*.md")]):
        path = document.relative_to(root)
        if str(path) not in LEFT_OUT:
            yield from (f"{path}: names {name}, which is not there" for name in missing(root, document, paths))


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "README.md").is_file():
        sys.exit(f"{root} has no README.md: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every file and folder that a document names is there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
