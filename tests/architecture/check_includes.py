#!/usr/bin/env python3
"""Fails when a C++ file uses a name of the standard library or of GoogleTest without including its header.

usage: check_includes.py ROOT

Headers that are compiled once for all, and sources that are compiled together, let a compiler find what a file forgot
to include; who compiles the file by itself does not. What a header of ours includes need not be included again by who
includes that one. Only names of the table below are looked for, those that stand in one header.
"""

import functools
import pathlib
import re
import sys

FOLDERS = ("vellora", "hostkit", "testkit", "conformance", "apps", "tests", "bench", "fuzz", "examples")

NAMES = {
    "algorithm": "all_of any_of none_of find_if find_if_not copy_if count_if for_each remove_if transform sort stable_sort "
                 "reverse rotate lower_bound upper_bound binary_search min_element max_element mismatch replace_if",
    "array": "array",
    "atomic": "atomic atomic_flag atomic_thread_fence",
    "charconv": "from_chars to_chars",
    "chrono": "chrono",
    "condition_variable": "condition_variable",
    "deque": "deque",
    "filesystem": "filesystem",
    "fstream": "ifstream ofstream fstream",
    "functional": "function mem_fn bind_front",
    "future": "future promise async packaged_task",
    "iomanip": "setw setprecision setfill quoted",
    "iostream": "cout cerr cin clog",
    "iterator": "back_inserter make_move_iterator istreambuf_iterator next prev distance inserter",
    "latch": "latch",
    "limits": "numeric_limits",
    "list": "list",
    "map": "map multimap",
    "memory": "shared_ptr unique_ptr weak_ptr make_shared make_unique enable_shared_from_this",
    "mutex": "mutex lock_guard unique_lock scoped_lock recursive_mutex once_flag call_once",
    "new": "bad_alloc nothrow",
    "numeric": "accumulate iota",
    "optional": "optional nullopt",
    "random": "mt19937 mt19937_64 random_device uniform_int_distribution",
    "regex": "regex regex_match regex_search smatch regex_replace",
    "set": "set multiset",
    "sstream": "stringstream ostringstream istringstream",
    "stdexcept": "runtime_error logic_error invalid_argument out_of_range",
    "string": "string to_string stoi getline",
    "string_view": "string_view",
    "thread": "thread this_thread",
    "tuple": "tuple tie make_tuple",
    "unordered_map": "unordered_map",
    "unordered_set": "unordered_set",
    "utility": "move forward exchange swap pair as_const",
    "variant": "variant monostate get_if holds_alternative",
    "vector": "vector",
}
# What brings more than its own name, as the standard or common sense has it.
BRINGS = {
    "map": {"utility"}, "unordered_map": {"utility"}, "set": {"utility"}, "vector": {"utility"},
    "algorithm": {"utility"}, "memory": {"utility"}, "string": {"string_view", "utility"}, "optional": {"utility"},
    "functional": {"utility"}, "tuple": {"utility"}, "variant": {"utility"},
    "iostream": {"string"}, "sstream": {"string"}, "fstream": {"string"}, "filesystem": {"string"},
    "thread": {"chrono"}, "future": {"memory", "chrono"}, "condition_variable": {"mutex", "chrono"}, "mutex": {"chrono"},
    "gmock/gmock.h": {"gtest/gtest.h"},
}
HEADER_OF = {name: header for header, names in NAMES.items() for name in names.split()}

USED = re.compile(r"\bstd::(\w+)")
GTEST = re.compile(r"^\s*(?:TEST|TEST_F|TEST_P)\(|\b(?:EXPECT|ASSERT)_(?:EQ|NE|TRUE|FALSE|LT|LE|GT|GE|THAT)\(", re.MULTILINE)
GMOCK = re.compile(r"\b(?:EXPECT|ASSERT)_THAT\(")
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]', re.MULTILINE)
IGNORED = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.*?)\)"|"(?:\\.|[^"\\\n])*"', re.DOTALL)


@functools.cache
def given(path, root):
    """The headers that a file reads: those that it includes, itself or by headers of ours, and what they bring."""
    found = set(INCLUDE.findall(path.read_text())) if path.is_file() else set()
    for name in list(found):
        found |= given(root / name, root) if name.partition("/")[0] in FOLDERS else BRINGS.get(name, set())
    return found


def needed(text):
    """The headers of what a text uses, each with one of the names that it uses of it."""
    code = IGNORED.sub(" ", INCLUDE.sub("", text))
    needs = {HEADER_OF[name]: f"std::{name}" for name in USED.findall(code) if name in HEADER_OF}
    if GMOCK.search(code):
        needs["gmock/gmock.h"] = "EXPECT_THAT"
    elif GTEST.search(code):
        needs["gtest/gtest.h"] = "TEST or EXPECT"
    return needs


def problems(root):
    for path in sorted(path for folder in FOLDERS for path in root.glob(f"{folder}/**/*") if path.suffix in (".h", ".cpp")):
        missing = {header: name for header, name in needed(path.read_text()).items() if header not in given(path, root)}
        for header, name in sorted(missing.items()):
            yield f"{path.relative_to(root)}: uses {name}, but does not include <{header}>"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "vellora").is_dir():
        sys.exit(f"{root} has no vellora: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every file includes what it uses")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
