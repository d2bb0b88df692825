#!/usr/bin/env python3
"""Says which sources of a target are compiled together: prints "SOURCE GROUP" lines.

usage: unity_groups.py LINES SOURCE…

A group has at most LINES lines, but for a source that is longer by itself. Two sources come into different groups
when a name at the left margin, where our namespaces' members stand, means one thing in the one and another thing in
the other: it would clash, or change what the other means. So nobody who writes a source has to know of the others.
"""

import pathlib
import re
import sys

# What a declaration or a macro at the left margin introduces. That a name is taken too many, for one that is only
# mentioned there, costs nothing but a larger number of groups.
NAMES = re.compile(
    r"^(?:#\s*define\s+(?P<macro>\w+)"
    r"|(?:class|struct|union|enum(?:\s+class)?|concept)\s+(?:VELLORA_EXPORT\s+)?(?P<type>\w+)"
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
OPENED = re.compile(r"^namespace ([\w:]+) \{", re.MULTILINE)


# A header of the tests or of their kit, whose names a source uses as if they were its own.
HELPER = re.compile(r'^\s*#\s*include\s*"((?:tests|testkit|conformance|fuzz)/[^"]+)"', re.MULTILINE)
# A header that defines what others only declare, and so changes what the sources behind it make.
DEFINING = re.compile(r'^\s*#\s*include\s*"(vellora/Platform/Json/JsonCodec\.h)"', re.MULTILINE)


def declared(text):
    return {value for found in NAMES.finditer(text) for kind, value in found.groupdict().items()
            if value and kind not in HARMLESS}


class Meanings:
    """Where each name of a source comes from: the source itself, or helpers' headers that it includes."""

    def __init__(self, read):
        self.read = read
        self.of_header = {}

    def of(self, source, text):
        origins = {name: {"a namespace"} for opened in OPENED.findall(text) for name in opened.split("::")}
        origins.update({name: {source} for name in declared(text)})
        if DEFINING.search(text):
            origins["#defining"] = {"defining"}
        for header in HELPER.findall(text):
            own = pathlib.PurePath(header).stem == pathlib.PurePath(source).stem  # the source defines what it declares
            for name, places in self.of_helper(header).items():
                origins[name] = places if own else origins.get(name, set()) | places
        return origins

    def of_helper(self, header):
        if header not in self.of_header:
            self.of_header[header] = {}  # met again within itself
            self.of_header[header] = self.of(header, self.read(header))
        return self.of_header[header]


def clash(some, others):
    if ("#defining" in some) != ("#defining" in others):
        return True
    return any(origins != others[name] for name, origins in some.items() if name in others)


def grouped(limit, texts, read=lambda header: ""):
    """The sources' groups, by source: each goes into the first group that it fits into. `read` gives a header's text."""
    meanings = Meanings(read)
    groups = []  # of [lines, names' origins, sources]
    for source, text in texts.items():
        lines, names = text.count("\n"), meanings.of(source, text)
        fitting = next((group for group in groups if group[0] + lines <= limit and not clash(names, group[1])), None)
        if fitting is None:
            fitting = [0, {}, []]
            groups.append(fitting)
        fitting[0] += lines
        fitting[1].update(names)
        fitting[2].append(source)
    return {source: number for number, (_, _, sources) in enumerate(groups) for source in sources}


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    texts = {source: pathlib.Path(source).read_text() for source in sys.argv[2:]}
    for source, number in grouped(int(sys.argv[1]), texts, lambda header: (root / header).read_text()).items():
        print(source, number)


if __name__ == "__main__":
    main()
