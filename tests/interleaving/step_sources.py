#!/usr/bin/env python3
"""Copies sources, with the primitives of the tests in place of those of the standard library.

usage: step_sources.py ROOT TARGET PATH…

Each PATH is a file or a folder below ROOT. Its C++ files are copied to the same place below TARGET. In them std::mutex
becomes vellora::tests::interleaving::standard::mutex, and so on, a thread_local variable one of the tests, and the headers
of these primitives become that of the tests. Nothing else changes, not even the number of a line. A copy that is there already, and the same, is left alone, so
that nothing is compiled anew that has not changed.
"""

import pathlib
import re
import sys

PRIMITIVES = ("atomic", "atomic_flag", "atomic_thread_fence", "condition_variable", "mutex", "recursive_mutex", "this_thread",
              "thread")
STANDS_FOR = "vellora::tests::interleaving::standard"
STANDARD = re.compile(rf"\bstd::({'|'.join(PRIMITIVES)})\b")
THREAD_LOCAL = re.compile(r"\bthread_local (\w+) (\w+) = ")
HEADERS = re.compile(r"^#include <(?:atomic|condition_variable|mutex|thread)>$", re.MULTILINE)
# What has no counterpart among the tests' primitives would go unnoticed by the scheduler.
UNKNOWN = re.compile(r"\bstd::(shared_mutex|timed_mutex|recursive_timed_mutex|call_once|once_flag|condition_variable_any|"
                     r"atomic_ref|atomic_signal_fence|latch|barrier|counting_semaphore|binary_semaphore|jthread|async)\b|\bthread_local\b")


def stepped(text):
    text = HEADERS.sub('#include "tests/interleaving/Standard.h"', text)
    text = THREAD_LOCAL.sub(rf"{STANDS_FOR}::thread_local_variable<\1> \2 = ", text)
    return STANDARD.sub(rf"{STANDS_FOR}::\1", text)


def sources(path):
    return sorted(each for each in path.rglob("*") if each.suffix in {".h", ".cpp"}) if path.is_dir() else [path]


def copy(root, target, paths):
    """Yields what is wrong with the sources."""
    for source in (each for path in paths for each in sources(root / path)):
        text = stepped(source.read_text())
        for found in UNKNOWN.finditer(text):
            yield f"{source.relative_to(root)}: the tests have nothing in place of {found[0]}"
        copied = target / source.relative_to(root)
        if not copied.exists() or copied.read_text() != text:
            copied.parent.mkdir(parents=True, exist_ok=True)
            copied.write_text(text)


def main():
    wrong = list(copy(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3:]))
    print("\n".join(wrong), end="")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
