#!/usr/bin/env python3
"""Fails when what vellora.h and libvellora-c offer is not what was recorded in bindings/c/abi.

usage: abi_test.py HEADER LIBRARY MAP RECORDS C_COMPILER [--record]

What is recorded may be added to, never changed: a line that is gone breaks programs that were built before. With
--record the records are written, unless such a line would go. A struct that has grown by a member has another size, so
that line alone is written anew; what it was before stands in bindings/c/Structs.h.
"""

import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

HEADER, LIBRARY, MAP, RECORDS = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
COMPILER = sys.argv[5]
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", "-Wconversion", "-Wshadow"]

TEXT = re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.DOTALL)
STRUCT = re.compile(r"typedef struct (\w+) \{(.*?)^\} \1;", re.MULTILINE | re.DOTALL)
MEMBER = re.compile(r"(?:\(\*(\w+)\)\([^;]*\)|(\w+))\s*;")
FUNCTION = re.compile(r"^VELLORA_C_API[^;(]*?(\w+)\(", re.MULTILINE)
ENUM = re.compile(r"^enum \{(.*?)\};", re.MULTILINE | re.DOTALL)

STRUCTS = {name: [one or other for one, other in MEMBER.findall(body)] for name, body in STRUCT.findall(TEXT)}
FUNCTIONS = sorted(FUNCTION.findall(TEXT))
CONSTANTS = [name for body in ENUM.findall(TEXT) for name in re.findall(r"(VELLORA_\w+) =", body)]


def run(*command, **options):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)


def numbers(expressions, options):
    """What C's constant expressions come to where these options of the compiler say what it makes code for. Nothing is run, and
    nothing of the system is read, so that it may be another machine than this one."""
    with tempfile.TemporaryDirectory() as folder:
        source, made, found = (pathlib.Path(folder) / name for name in ("layout.c", "layout.o", "numbers"))
        source.write_text("#include <vellora.h>\n__attribute__((section(\".numbers\"))) const uint32_t numbers[] = {\n" +
                          "".join(f"(uint32_t)({expression}),\n" for expression in expressions) + "};\n")
        built = run(COMPILER, *options, "-std=c99", "-ffreestanding", *WARNINGS, "-I", HEADER.parent, "-c", source, "-o", made)
        if built.returncode != 0:
            sys.exit(built.stderr)
        run("objcopy", "-O", "binary", "-j", ".numbers", made, found, check=True)
        return [number for number, in struct.iter_unpack("=I", found.read_bytes())]


def layout(*options):
    """A line for each struct, member and constant, as the compiler sees them."""
    lines, expressions = [], []
    for name, members in STRUCTS.items():
        lines.append(f"{name}: {{}} bytes\n")
        expressions.append(f"sizeof({name})")
        for member in members:
            lines.append(f"{name}.{member}: {{}} at {{}}\n")
            expressions += [f"sizeof((({name}*)0)->{member})", f"offsetof({name}, {member})"]
    lines += [f"{name} = {{}}\n" for name in CONSTANTS]
    expressions += CONSTANTS
    return "".join(lines).format(*numbers(expressions, options))


def layouts():
    """What has been recorded of a machine with pointers of 64 bits, and of i386. A compiler for either knows the other, too."""
    if re.search("__(x86_64|i386)__", run(COMPILER, "-dM", "-E", "-", input="").stdout):
        return {"layout.txt": layout("-m64"), "layout-i386.txt": layout("-m32")}
    return {"layout.txt": layout()}


def symbols():
    listed = run("nm", "-D", "--defined-only", "--with-symbol-versions", LIBRARY, check=True).stdout
    names = [line.split()[2] for line in listed.splitlines() if line.split()[1] != "A"]
    return "".join(f"{name}\n" for name in sorted(names))


LAYOUTS = layouts()
FOUND = LAYOUTS | {"symbols.txt": symbols()}


def lost(before, after):
    """The lines that programs of before rely on and that are no more."""
    return [line for line in before.splitlines() if not line.endswith(" bytes") and line not in after.splitlines()]


class AbiTest(unittest.TestCase):
    maxDiff = None

    def test_the_header_is_read_whole(self):
        self.assertGreaterEqual(len(STRUCTS), 15)
        self.assertGreaterEqual(len(FUNCTIONS), 20)
        self.assertGreaterEqual(len(CONSTANTS), 30)
        for name, members in STRUCTS.items():
            if name not in {"vellora_text", "vellora_pair"}:
                self.assertEqual(members[0], "struct_size", name)

    def test_layouts_and_constants_are_those_that_were_recorded(self):
        for file, text in LAYOUTS.items():
            self.assertEqual(text, (RECORDS / file).read_text(), file)

    def test_symbols_and_their_versions_are_those_that_were_recorded(self):
        self.assertEqual(FOUND["symbols.txt"], (RECORDS / "symbols.txt").read_text())

    def test_the_library_offers_what_the_header_declares_and_nothing_else(self):
        offered = [line.split("@")[0] for line in FOUND["symbols.txt"].splitlines()]
        self.assertEqual(offered, FUNCTIONS)
        self.assertEqual(sorted(re.findall(r"^    (vellora_\w+);", MAP.read_text(), re.MULTILINE)), FUNCTIONS)

    def test_a_line_that_is_gone_is_not_recorded(self):
        before = "s: 16 bytes\ns.size: 8 at 0\ns.code: 4 at 8\n"
        self.assertEqual(lost(before, "s: 24 bytes\ns.size: 8 at 0\ns.code: 4 at 8\ns.added: 8 at 16\n"), [])
        self.assertEqual(lost(before, "s: 16 bytes\ns.size: 8 at 0\ns.code: 8 at 8\n"), ["s.code: 4 at 8"])

    def test_each_symbol_has_a_version(self):
        for line in FOUND["symbols.txt"].splitlines():
            self.assertRegex(line, r"@@VELLORA_C_\d+$")

    def test_the_header_is_c99_and_c_plus_plus_by_itself(self):
        for how in (["-std=c99", "-x", "c"], ["-std=c11", "-x", "c"], ["-std=c++11", "-x", "c++"]):
            compiled = run(COMPILER, *how, *WARNINGS, "-fsyntax-only", "-", input=f'#include "{HEADER}"\nint one;\n')
            self.assertEqual(compiled.stderr, "")
            self.assertEqual(compiled.returncode, 0)


if __name__ == "__main__":
    if "--record" in sys.argv:
        RECORDS.mkdir(exist_ok=True)
        gone = [line for file, text in FOUND.items() if (RECORDS / file).exists() for line in lost((RECORDS / file).read_text(), text)]
        if gone:
            sys.exit("programs that were built before rely on this:\n" + "\n".join(gone))
        for file, text in FOUND.items():
            (RECORDS / file).write_text(text)
        sys.exit()
    unittest.main(argv=sys.argv[:1])
