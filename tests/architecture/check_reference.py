#!/usr/bin/env python3
"""Fails when a page of the reference shows a picture, or leads to a page or a place in one, that is not there.

usage: check_reference.py FOLDER, where scripts/docs has written the pages
"""

import pathlib
import re
import sys
import urllib.parse

REFERENCE = re.compile(r'<(?:a|img)\b[^>]*?\s(?:href|src)="([^"]*)"')
PLACE = re.compile(r'\s(?:id|name)="([^"]*)"')
ELSEWHERE = re.compile(r"^(?:[a-z]+:|//)")
# Doxygen's own: it leads there also where a summary has none.
EXCEPTED = {"#nested-classes"}


def problems(folder):
    texts = {page.name: page.read_text() for page in sorted(folder.glob("*.html"))}
    places = {name: set(PLACE.findall(text)) for name, text in texts.items()}
    for name, text in texts.items():
        for reference in sorted(set(REFERENCE.findall(text))):
            if ELSEWHERE.match(reference) or not reference or reference in EXCEPTED:
                continue
            file, _, place = urllib.parse.unquote(reference).partition("#")
            target = file or name
            if not (folder / target).is_file():
                yield f"{name}: leads to {reference}, which is not there"
            elif place and target in places and place not in places[target]:
                yield f"{name}: leads to {reference}, a place that is not there"


def main():
    folder = pathlib.Path(sys.argv[1])
    if not (folder / "index.html").is_file():
        sys.exit(f"{folder} has no index.html: nothing to check")
    found = list(problems(folder))
    print("\n".join(found) if found else "every picture and every place is there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
