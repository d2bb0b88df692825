#!/usr/bin/env python3
"""Says which sources of a target are compiled together: prints "SOURCE GROUP" lines.

usage: unity_groups.py LINES SOURCE…

A group has at most LINES lines, but for a source that is longer by itself. Two sources that declare the same name at
the left margin, where our namespaces' members stand, come into different groups: within one they would clash. So
nobody who writes a source has to know of the others.
"""

import pathlib
import re
import sys

# What a declaration or a macro at the left margin introduces. That a name is taken too many, for one that is only
# mentioned there, costs nothing but a larger number of groups.
NAMES = re.compile(
    r"^(?:#\s*define\s+(?P<macro>\w+)"
    r"|(?:class|struct|union|enum(?:\s+class)?|concept)\s+(?P<type>\w+)"
    r"|using\s+(?P<alias>\w+)\s*="
    r"|namespace\s+(?P<namespace>\w+)\s*="
    r"|(?!\s|using|namespace|template|requires|TEST|TYPED_TEST|INSTANTIATE|MATCHER)[\w:<>,&*\[\]\s\"-]*?"
    r"(?P<other>~?\w+)\s*(?:\(|=|\{|;|\[)"
    r"|(?:TEST(?:_F|_P)?|TYPED_TEST(?:_SUITE)?|INSTANTIATE_TEST_SUITE_P)\(\s*(?P<test>\w+)"
    r"|MATCHER(?:_P\d?)?\(\s*(?P<matcher>\w+))",
    re.MULTILINE,
)
# What many sources say alike: a test suite may be spread over sources.
HARMLESS = {"test"}


def declared(text):
    return {value for found in NAMES.finditer(text) for kind, value in found.groupdict().items()
            if value and kind not in HARMLESS}


def grouped(limit, texts):
    """The sources' groups, by source: each goes into the first group that it fits into."""
    groups = []  # of (lines, names, sources)
    for source, text in texts.items():
        lines, names = text.count("\n"), declared(text)
        fitting = next((group for group in groups if group[0] + lines <= limit and not group[1] & names), None)
        if fitting is None:
            groups.append([lines, names, [source]])
        else:
            fitting[0] += lines
            fitting[1] |= names
            fitting[2].append(source)
    return {source: number for number, (_, _, sources) in enumerate(groups) for source in sources}


def main():
    texts = {source: pathlib.Path(source).read_text() for source in sys.argv[2:]}
    for source, number in grouped(int(sys.argv[1]), texts).items():
        print(source, number)


if __name__ == "__main__":
    main()
