#!/usr/bin/env python3
"""Fails when a host that is compiled with FLAG does not compile with every header, when it gets no answer, or when its
errors, its own or of the library's types, are not taken for what they are.

usage: restricted_host_test.py PREFIX SOURCES RECORDS_SERVER COMPILER FLAG
"""

import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from demo_server import demo_server

PREFIX, SOURCES, RECORDS_SERVER, COMPILER, FLAG = sys.argv[1:]
PATHS = ("services/data/v50.0/sobjects", "services/data/v50.0/theme")
RECORD = "001000000000009"


def run(*command, **options):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)


def compile(source, *options):
    (configs,) = pathlib.Path(PREFIX).glob("lib*/**/pkgconfig")
    asked = run("pkg-config", "--cflags", "--libs", "vellora-hostkit", env=os.environ | {"PKG_CONFIG_PATH": str(configs)})
    built = run(COMPILER, FLAG, source, *options, *shlex.split(asked.stdout), f"-Wl,-rpath,{configs.parent}")
    if built.returncode != 0:
        errors = [line for line in built.stderr.splitlines() if "error" in line]
        sys.exit(f"{COMPILER} {FLAG}: {(errors or built.stderr.splitlines())[0]}")


def build(source, program):
    compile(pathlib.Path(SOURCES) / source, "-o", program)
    return program


def compile_every_header(folder):
    known = "vellora/Catalog/Catalog.h"  # C's headers stand in a folder beside
    folders = {file.parents[2] for file in pathlib.Path(PREFIX).glob(f"include/*/{known}")}
    if len(folders) != 1:
        sys.exit(f"{PREFIX}/include has {known} in {len(folders)} folders")
    (include,) = folders
    headers = [file.relative_to(include) for file in include.glob("**/*.h")]
    source = folder / "headers.cpp"
    source.write_text("".join(f'#include "{header}"\n' for header in headers))
    compile(source, "-fsyntax-only")


def keep_answers(folder):
    with demo_server(RECORDS_SERVER) as url:
        for path in PATHS:
            file = folder / path
            file.parent.mkdir(parents=True, exist_ok=True)
            with urllib.request.urlopen(f"{url}/{path}") as answer:
                file.write_bytes(answer.read())


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        answers = folder / "answers"
        keep_answers(answers)
        compile_every_header(folder)
        maker = run(build("tests/packaging/restricted/main.cpp", folder / "maker"))
        if maker.returncode != 0:
            sys.exit(f"{COMPILER} {FLAG}: with errors of its own it ends with {maker.returncode}: {maker.stderr}")
        host = build("examples/own-host/main.cpp", folder / "host")
        answered = run(host, answers, RECORD)
        if (answered.returncode, answered.stdout) != (0, "Account\n"):
            sys.exit(f"{COMPILER} {FLAG}: it ends with {answered.returncode} and says {answered.stdout}{answered.stderr}")
        failed = run(host, folder / "none", RECORD)
        error = f"ThemeDataServiceError: There is no answer for /{PATHS[1]}."
        if (failed.returncode, failed.stdout) != (0, "unknown\n") or error not in failed.stderr:
            sys.exit(f"{COMPILER} {FLAG}: without answers it ends with {failed.returncode} and says {failed.stdout}{failed.stderr}")


if __name__ == "__main__":
    main()
