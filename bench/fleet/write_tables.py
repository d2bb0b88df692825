#!/usr/bin/env python3
"""Puts the tables of a run into a document, behind the line that says so.

usage: write_tables.py DOCUMENT TABLES
"""

import pathlib
import sys

MARK = "<!-- What follows is written by scripts/fleet. -->\n"


def main():
    document, tables = map(pathlib.Path, sys.argv[1:])
    text = document.read_text()
    if MARK not in text:
        sys.exit(f"{document} has no line {MARK.strip()}")
    document.write_text(text[:text.index(MARK)] + MARK + "\n" + tables.read_text())


if __name__ == "__main__":
    main()
