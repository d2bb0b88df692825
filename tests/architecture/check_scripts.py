#!/usr/bin/env python3
"""Fails when a script says too little when it is asked for --help, or does more than that.

usage: check_scripts.py ROOT

A script is an executable file below scripts/. For --help and for -h it prints the same text, which names the script and
says what it installs and writes and how long it takes, and ends with 0. An option that it doesn't have ends it with 2 and
a message. Meanwhile it writes no file and starts no program but the few that print a text: each script is run in a copy
of scripts/, with nothing else in its PATH.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

HEADINGS = ("Installs:", "Writes:", "Takes:")
UNKNOWN = "--no-such-option"

# What a script may start to find and print its help.
PRINTERS = ("bash", "env", "python3", "dirname", "basename", "realpath", "sed", "cat")


def scripts(root):
    return sorted(path.relative_to(root) for path in (root / "scripts").glob("**/*")
                  if path.is_file() and os.access(path, os.X_OK))


def files(folder):
    return {path.relative_to(folder): path.read_bytes() for path in folder.glob("**/*") if path.is_file()}


class Sandbox:
    """A copy of the scripts, alone in a folder."""

    def __init__(self, root, folder):
        self.root, self.programs = folder / "root", folder / "programs"
        shutil.copytree(root / "scripts", self.root / "scripts")
        self.programs.mkdir()
        for name in PRINTERS:
            (self.programs / name).symlink_to(shutil.which(name))

    def run(self, script, option):
        """How the script ended, and whether it wrote a file."""
        before = files(self.root)
        environment = {"PATH": str(self.programs), "HOME": str(self.root), "TMPDIR": str(self.root), "LC_ALL": "C.UTF-8"}
        ended = subprocess.run([self.root / script, option], cwd=self.root, env=environment, stdin=subprocess.DEVNULL,
                               capture_output=True, text=True, timeout=60)
        return ended, files(self.root) != before


def wrong_with_help(script, ended):
    if ended.returncode != 0:
        yield f"ends with {ended.returncode}"
    if ended.stderr:
        yield f"does or says something else: {ended.stderr.splitlines()[0]}"
    lines = ended.stdout.splitlines()
    if str(script) not in ended.stdout:
        yield "does not name the script"
    for heading in HEADINGS:
        if not any(line.startswith(heading) and line.removeprefix(heading).strip() for line in lines):
            yield f"has no line that begins with {heading}"


def wrong_with_an_unknown_option(ended):
    if ended.returncode != 2:
        yield f"ends with {ended.returncode}, not with 2"
    if UNKNOWN not in ended.stderr:
        yield "is not named as what is wrong"
    if "not found" in ended.stderr:
        yield f"starts a program: {ended.stderr.splitlines()[0]}"


def problems_of(script, sandbox):
    asked = {option: sandbox.run(script, option) for option in ("--help", "-h", UNKNOWN)}
    for option, (ended, wrote) in asked.items():
        wrong = wrong_with_an_unknown_option(ended) if option == UNKNOWN else wrong_with_help(script, ended)
        yield from (f"{script} {option}: {what}" for what in wrong)
        if wrote:
            yield f"{script} {option}: writes a file"
    if asked["--help"][0].stdout != asked["-h"][0].stdout:
        yield f"{script} -h: is not what --help prints"


def problems(root):
    found = scripts(root)
    if not found:
        yield "scripts: has no script"
    with tempfile.TemporaryDirectory() as folder:
        sandbox = Sandbox(root, pathlib.Path(folder))
        for script in found:
            yield from problems_of(script, sandbox)


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / "scripts").is_dir():
        sys.exit(f"{root} has no scripts: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every script says what it does, and then does nothing")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
