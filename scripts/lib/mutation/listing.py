"""The list of mutants that no test can notice: tests/mutants/equal.txt.

An entry has three lines: the file, the function and the kind of change; the place with « and » around it; the reason. A
line with # is a comment, and an empty line ends an entry. Where the reason has "no test may count", the mutant does what is
undefined: a test may notice it by chance.
"""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Entry:
    file: str
    function: str
    kind: str
    place: str
    reason: str

    @property
    def name(self):
        return self.file, self.function, self.kind, self.place

    @property
    def is_undefined(self):
        return "no test may count" in self.reason


def entries(text):
    """The entries of a list. One without all of its lines is an error."""
    for block in text.split("\n\n"):
        lines = [line.strip() for line in block.splitlines() if line.strip() and not line.startswith("#")]
        if not lines:
            continue
        head = lines[0].split(": ")
        if len(head) != 3 or len(lines) < 3 or "«" not in lines[1]:
            raise ValueError(f"no entry: {lines}")
        yield Entry(*head, lines[1], " ".join(lines[2:]))


def stale(listed, mutants, files):
    """The entries for looked-at files that are no mutant any more."""
    names = {mutant.name for mutant in mutants}
    return [entry for entry in listed if entry.file in files and entry.name not in names]


def noticed(listed, outcomes):
    """The entries all of whose mutants tests notice, not by chance; `outcomes` are pairs of a mutant and whether a test does."""
    names = {mutant.name for mutant, _ in outcomes} - {mutant.name for mutant, is_noticed in outcomes if not is_noticed}
    return [entry for entry in listed if entry.name in names and not entry.is_undefined]
