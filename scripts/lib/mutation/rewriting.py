"""Writes a source in which all of its mutants stand, one of which can be on."""

HEAD = '#include "tests/mutants/Active.h"\n#line 1\n'


def insertions(mutants):
    """What is put where, in the order in which it stands. Mutants lie within each other or apart."""
    for order, mutant in enumerate(sorted(mutants, key=lambda mutant: (mutant.start, -mutant.end))):
        filled = [part.replace("{number}", str(mutant.number)) for part in (mutant.before, mutant.after)]
        # At one place what ends comes before what begins; of those that begin the outer one comes first, and ends last.
        yield (mutant.start, 1, order), filled[0]
        yield (mutant.end, 0, -order), filled[1]


def rewritten(text, mutants):
    """The text with the mutants in it. Its lines are those of the text."""
    parts, at = [], 0
    for (offset, *_), insertion in sorted(insertions(mutants)):
        parts += [text[at:offset], insertion]
        at = offset
    return HEAD + "".join(parts) + text[at:]


def culprit(text, mutants, line, column):
    """The mutant at which a compiler's complaint about the rewritten text is: the one that begins nearest to it."""
    here = text.removeprefix(HEAD).split("\n")[line - 1]
    def distance(mutant):
        at = here.find(f"({mutant.number})")
        return len(here) if at < 0 else abs(at - column)
    on_the_line = [mutant for mutant in mutants if mutant.line <= line <= mutant.last_line]
    return min(on_the_line, key=lambda mutant: (distance(mutant), mutant.end - mutant.start), default=None)
