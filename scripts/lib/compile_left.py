#!/usr/bin/env python3
"""Compiles, each by itself, the sources that have no object file yet: Ninja did not reach some of them, because a
program before them cannot be linked, and failed with the others.

usage: compile_left.py BUILD      BUILD has a compile_commands.json

Prints an error as Ninja does: "FAILED: ", the object file, and what the compiler said.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys


def compile_one(entry):
    made = re.search(r" -o (\S+)", entry["command"])[1]
    if (pathlib.Path(entry["directory"]) / made).exists():
        return
    ended = subprocess.run(entry["command"], shell=True, cwd=entry["directory"], stderr=subprocess.PIPE, text=True)
    if ended.returncode != 0:
        print(f"FAILED: {made}\n{ended.stderr}", end="")


def main():
    commands = json.loads((pathlib.Path(sys.argv[1]) / "compile_commands.json").read_text())
    headers = [entry for entry in commands if entry["file"].endswith("/cmake_pch.hxx.cxx")]
    sources = [entry for entry in commands if entry not in headers]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as compilers:
        for step in headers, sources:
            list(compilers.map(compile_one, step))


if __name__ == "__main__":
    main()
