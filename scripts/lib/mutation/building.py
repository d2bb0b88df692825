"""Builds test programs of mutated sources: the commands are those of another build, whose other objects they share."""

import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

from mutation.places import mutants_of, Mutant
from mutation.rewriting import culprit, rewritten

COMPLAINT = re.compile(r"^(\S+?):(\d+):(\d+): (?:fatal )?error: ", re.MULTILINE)
ARCHIVE = re.compile(r"^build (\S+\.a): \w+ ([^|\n]*)", re.MULTILINE)
# Numbers of mutants that a file has for itself, so that those of one file don't change with another.
BLOCK = 2000
# What is made of a source changes with these.
RULES = "".join((pathlib.Path(__file__).parent / name).read_text() for name in ("places.py", "rewriting.py", "tokens.py"))


def newer(path, than):
    return path.exists() and path.stat().st_mtime_ns > than.stat().st_mtime_ns


class Source:
    """A source, and its mutants once `prepare` has found them and left out what doesn't compile."""

    def __init__(self, root, file, number, entries, out):
        self.root, self.file, self.number, self.entries = root, file, number, entries
        self.path = root / file
        self.copy, self.notes = out / "sources" / file, out / "mutants" / (file + ".json")
        self.objects = {entry["output"]: out / "objects" / entry["output"] for entry in entries}
        self.mutants, self.refused = [], 0

    def prepare(self):
        text = self.path.read_bytes().decode("latin-1")
        basis = {"text": text, "number": self.number, "rules": hashlib.sha256(RULES.encode()).hexdigest()}
        known = json.loads(self.notes.read_text()) if self.notes.exists() else {}
        if known.get("basis") == basis and all(
                newer(path, self.copy) and newer(path, pathlib.Path(entry["directory"]) / entry["output"])
                for entry, path in zip(self.entries, self.objects.values())):
            self.mutants, self.refused = [Mutant(**mutant) for mutant in known["mutants"]], known["refused"]
            return
        self.find()
        self.compile(text)
        self.notes.parent.mkdir(parents=True, exist_ok=True)
        self.notes.write_text(json.dumps({
            "basis": basis, "refused": self.refused, "mutants": [vars(mutant) for mutant in self.mutants]}))

    def find(self):
        command = shlex.split(self.entries[0]["command"])
        at = command.index("-o")
        arguments = [part for part in command[1:at] + command[at + 2:] if part not in ("-c", self.entries[0]["file"])]
        self.mutants = mutants_of(self.file, self.path, arguments)
        if len(self.mutants) > BLOCK:
            raise RuntimeError(f"{self.file} has more than {BLOCK} mutants")
        for index, mutant in enumerate(self.mutants):
            mutant.number = self.number * BLOCK + index
        self.refused = 0

    def compile(self, text):
        """Writes and compiles the copy. What the compiler refuses is no mutant."""
        self.copy.parent.mkdir(parents=True, exist_ok=True)
        for entry, path in zip(self.entries, self.objects.values()):
            path.parent.mkdir(parents=True, exist_ok=True)
            while True:
                new = rewritten(text, self.mutants)
                self.copy.write_bytes(new.encode("latin-1"))
                command = shlex.split(entry["command"])
                command[command.index("-o") + 1] = str(path)
                command[command.index(entry["file"])] = str(self.copy)
                done = subprocess.run([*command, "-w", "-ferror-limit=0", "-fno-caret-diagnostics"],
                                      cwd=entry["directory"], capture_output=True, text=True)
                if done.returncode == 0:
                    break
                refused = [culprit(new, self.mutants, int(line), int(column))
                           for name, line, column in COMPLAINT.findall(done.stderr)
                           if pathlib.Path(name) in (self.copy, self.path)]
                wrong = {mutant.number for mutant in refused if mutant is not None}
                if not wrong and not self.mutants:
                    raise RuntimeError(f"{self.file} does not compile: {done.stderr}")
                if not wrong:
                    print(f"{self.file}: is left out, since the compiler fails at it: {done.stderr[:200]}", file=sys.stderr)
                    wrong = {mutant.number for mutant in self.mutants}
                self.mutants = [mutant for mutant in self.mutants if mutant.number not in wrong]
                self.refused += len(wrong)


class Build:
    """The build folder whose commands are taken, and the folder for what is made."""

    def __init__(self, root, base, out):
        self.root, self.base, self.out = root, base, out
        self.rules = (base / "build.ninja").read_text()

    def numbers(self, files):
        """A number for each file, the same at each time."""
        path = self.out / "numbers.json"
        known = json.loads(path.read_text()) if path.exists() else {}
        for file in files:
            known.setdefault(file, len(known))
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(json.dumps(known))
        return known

    def sources(self, files):
        entries = {}
        for entry in json.loads((self.base / "compile_commands.json").read_text()):
            command = shlex.split(entry["command"])
            name = os.path.relpath(entry["file"], self.root)
            entries.setdefault(name, []).append({**entry, "output": command[command.index("-o") + 1]})
        numbers = self.numbers(files)
        return [Source(self.root, file, numbers[file], entries[file], self.out) for file in files if file in entries]

    def link(self, programs, sources):
        """Links test programs with the mutated objects in their archives; gives the path of each."""
        mutated = {output: path for source in sources for output, path in source.objects.items()}
        archives = {}
        for archive, objects in ARCHIVE.findall(self.rules):
            if not set(objects.split()).isdisjoint(mutated):
                path = archives[archive] = self.out / "programs" / archive
                path.parent.mkdir(parents=True, exist_ok=True)
                path.unlink(missing_ok=True)
                self.run(["ar", "qcsT", path, *(mutated.get(name, self.base / name) for name in objects.split())])
        chooser = self.out / "Active.o"
        self.run(["clang++-14", "-std=c++20", "-O1", "-I", self.root, "-c", self.root / "tests/mutants/Active.cpp", "-o", chooser])
        return {program: self.linked(program, archives, chooser) for program in programs}

    def linked(self, program, archives, chooser):
        path = self.out / "programs" / program
        path.parent.mkdir(parents=True, exist_ok=True)
        steps = subprocess.run(["ninja", "-t", "commands", "-s", program], cwd=self.base, check=True,
                               capture_output=True, text=True).stdout.split("&&")
        command = shlex.split(next(step for step in steps if f"-o {program} " in step))
        command[command.index("-o") + 1] = str(path)
        self.run([chooser if part is None else archives.get(part, part) for part in
                  [command[0], None, *command[1:]]])
        return path

    def run(self, command):
        subprocess.run([str(part) for part in command], cwd=self.base, check=True)
