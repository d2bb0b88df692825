#!/usr/bin/env python3
"""Fails when a record is not in the list whose codecs are tried, or when an installed header shows what nobody outside
can call.

usage: check_records.py ROOT

A record is a struct of vellora/Models with a recordName. tests/vellora/Models/RecordCodecsTest.cpp reads and writes each
record of AllRecords.h, and does not link when one of them lacks a codec.
"""

import pathlib
import re
import sys

LIST = "tests/vellora/Models/AllRecords.h"
OPENED = re.compile(r"^( *)(?:struct|class) (?:VELLORA_EXPORT )?(\w+)(?: final)? \{", re.MULTILINE)
MARK = re.compile(r"^( *)static constexpr std::string_view recordName\b", re.MULTILINE)
LISTED = re.compile(r"testing::Types<(.*?)>;", re.DOTALL)
INSTALLED = re.compile(r"vellora_public_headers\(\w+(.*?)\)", re.DOTALL)
INTERNAL = re.compile(r"\bjson::(?:Reader|Writer)\b|\b(?:decodeJson|encodeJson)\b|^class (?:Reader|Writer);", re.MULTILINE)
BY_HAND = {"CompactLayoutField", "CompactLayoutField::Content"}  # RecordCodecsTest has a case of its own for these


def records_in(text):
    """The records that a header declares, such as "Outer::Inner"."""
    opened = {len(found[1]): [] for found in OPENED.finditer(text)}
    for found in OPENED.finditer(text):
        opened[len(found[1])].append((found.start(), found[2]))
    for mark in MARK.finditer(text):
        around = [[name for start, name in structs if start < mark.start()][-1:]
                  for indent, structs in sorted(opened.items()) if indent < len(mark[1])]
        yield "::".join(name for last in around for name in last)


def problems(root):
    listed = LISTED.search((root / LIST).read_text())
    names = set(re.findall(r"[\w:]+", listed[1])) if listed else set()
    records = {record: path for path in sorted((root / "vellora/Models").glob("*.h")) for record in records_in(path.read_text())}
    if not records:
        yield "vellora/Models: has no record"
    for record, path in records.items():
        if record not in names | BY_HAND:
            yield f"{path.relative_to(root)}: {record} is missing in {LIST}"
    for folder in ("vellora/Models", "vellora/Platform"):
        for header in INSTALLED.search((root / folder / "CMakeLists.txt").read_text())[1].split():
            found = INTERNAL.search((root / folder / header).read_text())
            if found:
                yield f"{folder}/{header}: shows {found[0]}, which nobody outside can call"


def main():
    found = list(problems(pathlib.Path(sys.argv[1]).resolve()))
    print("\n".join(found) if found else "every record's codecs are tried")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
