#!/usr/bin/env python3
"""Fails when the man page or a completion lacks a command or an option of the command, or has one too many, and
when the man page lacks a variable that stands for an option, or has one too many.

usage: check_command_texts.py VELLORA PACKAGING

What there is, is asked of the command: `vellora --help`, and the help of every command that this names.
"""

import pathlib
import re
import subprocess
import sys

COMPLETIONS = ("completions/vellora", "completions/_vellora", "completions/vellora.fish")


def help_of(program, *command):
    asked = subprocess.run([program, *command, "--help"], capture_output=True, text=True, check=True)
    return asked.stdout


def section(text, title):
    found = re.search(rf"^{title}:\n(.*?)(?:\n\n|\Z)", text, re.MULTILINE | re.DOTALL)
    return found[1] if found else ""


def words_of(ask, command=()):
    """Every command, every long option and its variable, of `command` and of those below it."""
    text = ask(*command)
    words = set(re.findall(r"^  (?:-\w, )?(--[a-z][a-z-]*)", text, re.MULTILINE))
    words |= set(re.findall(r"\[(VELLORA_[A-Z_]+)\]", text))
    for name in re.findall(r"^  ([a-z][a-z-]*)\b", section(text, "Subcommands"), re.MULTILINE):
        words |= {name} | words_of(ask, (*command, name))
    return words


def words_in(path, text):
    """What a document speaks of: its commands and options, and for a completion whatever else is a word."""
    if path.endswith(".1"):
        text = text.replace("\\-", "-")
    if path.endswith(".fish"):
        text = re.sub(r"(?<!set) -l ([a-z][a-z-]*)", r" --\1", text)
    words = set(re.findall(r"(?<![\w-])-{0,2}[a-z][a-z-]*", text))
    return words | set(re.findall(r"\bVELLORA_[A-Z_]+", text))


def is_variable(word):
    return word.startswith("VELLORA_")


def problems(words, documents):
    for path, text in documents.items():
        there = words_in(path, text)
        for word in sorted(words - there):
            if path.endswith(".1") or not is_variable(word):
                yield f"{path}: lacks {word}"
        for word in sorted(word for word in there - words
                           if is_variable(word) or (word.startswith("--") and word != "--")):
            yield f"{path}: has {word}, which the command does not know"


def main():
    program, packaging = sys.argv[1], pathlib.Path(sys.argv[2])
    words = words_of(lambda *command: help_of(program, *command))
    if not {"ids", "--server"} <= words:
        sys.exit(f"the help of {program} names neither commands nor options: its form has changed")
    documents = {path: (packaging / path).read_text() for path in ("vellora.1", *COMPLETIONS)}
    found = list(problems(words, documents))
    print("\n".join(found) if found else f"all {len(words)} commands and options are there")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
