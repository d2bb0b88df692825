"""Runs tests: each once to see which mutants it reaches, then for each mutant those that do."""

import ctypes
import dataclasses
import hashlib
import json
import os
import pathlib
import resource
import signal
import subprocess
import tempfile
import time

# A run that takes ten times as long as it should, and this many seconds at least, may hang. With three times that patience it does.
PATIENCE = 5
# How much memory a test may ask for; a mutant may ask for all there is.
MEMORY = 16 << 30
# The seconds that the tests of one mutant may take, by what they take without it.
MOST = 20
# The seconds of the tests that are run in one process, the first time; each time it is twice as much.
BATCH = 0.3
LIBC = ctypes.CDLL(None)
PR_SET_PDEATHSIG = 1


@dataclasses.dataclass(frozen=True)
class Test:
    program: str
    name: str
    seconds: float
    reached: frozenset


def prepare_process():
    """Ends a test with who runs it, which may be stopped, and bounds its memory."""
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run(program, tests, environment, limit, folder):
    """How a program's tests end: "passed", "failed", a signal or "hung"."""
    with tempfile.TemporaryDirectory(prefix="vellora-mutants-") as temporary:
        process = subprocess.Popen(
            [program, "--gtest_filter=" + ":".join(tests), "--gtest_fail_fast", "--gtest_brief=1"], cwd=folder,
            env={**os.environ, "TMPDIR": temporary, **environment}, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=prepare_process)
        try:
            code = process.wait(limit)
        except subprocess.TimeoutExpired:
            code = None
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()
    return "hung" if code is None else "passed" if code == 0 else "failed" if code > 0 else f"signal {-code}"


def names_of(program, folder):
    """The tests of a program, as filters name them."""
    listed = subprocess.run([program, "--gtest_list_tests"], cwd=folder, check=True, capture_output=True)
    group = ""
    # Values of parameters stand behind the names, some of them bytes that are no text.
    for line in listed.stdout.decode(errors="replace").splitlines():
        name = line.partition("#")[0].rstrip()
        if not line.startswith(" "):
            group = name
        elif not (name.strip().startswith("DISABLED_") or group.startswith("DISABLED_")):
            yield group + name.strip()


class Reach:
    """What each test of a program reaches; noted in a file until the program is another."""

    def __init__(self, program, path, folder, size, notes):
        self.program, self.path, self.folder, self.size, self.notes = program, path, folder, size, notes

    def tests(self, pool):
        digest = hashlib.sha256(self.path.read_bytes()).hexdigest()
        known = json.loads(self.notes.read_text()) if self.notes.exists() else {}
        rows = {name: [name, *row] for name, *row in known.get("tests", ()) if row[-1] == "passed"}
        if known.get("program") != digest:
            rows = {}
        if not rows or len(rows) < len(known["tests"]):  # what failed is run again: it may have done so by chance
            missing = [name for name in names_of(self.path, self.folder) if name not in rows]
            known = {"program": digest, "tests": [*rows.values(), *pool.map(self.reach, missing)]}
            self.notes.parent.mkdir(parents=True, exist_ok=True)
            self.notes.write_text(json.dumps(known))
        failing = [name for name, _, _, end in known["tests"] if end != "passed"]
        return [Test(self.program, name, seconds, frozenset(reached))
                for name, seconds, reached, end in known["tests"] if end == "passed"], failing

    def reach(self, name):
        with tempfile.NamedTemporaryFile() as bytes_:
            bytes_.truncate(self.size)
            begin = time.monotonic()
            end = run(self.path, [name], {"VELLORA_MUTANTS_REACHED": bytes_.name}, 300, self.folder)
            took = time.monotonic() - begin
            data = pathlib.Path(bytes_.name).read_bytes()
        found, at = [], data.find(1)
        while at >= 0:
            found.append(at)
            at = data.find(1, at + 1)
        return name, round(took, 3), found, end


def nearness(mutant, test):
    """Orders the tests of a mutant: those of its own file first, and quick ones before slow ones."""
    own = test.name.split("/")[-1].startswith(pathlib.PurePath(mutant.file).stem)
    return not own, test.seconds


def batches(tests):
    """Runs of one program's tests each, short ones first, as long as there is time for all of them."""
    spent, size = 0.0, BATCH
    waiting = list(tests)
    while waiting and spent < MOST:
        program, taken, took = waiting[0].program, [], 0.0
        for test in waiting:
            if test.program == program and (took < size or not taken):
                taken.append(test)
                took += test.seconds
        waiting = [test for test in waiting if test not in set(taken)]
        spent += took
        size *= 2
        yield program, taken, took


def verdict(mutant, tests, paths, folders):
    """What the tests say of a mutant: who notices it, or none; and how many of them were run."""
    ran = 0
    for program, taken, seconds in batches(sorted(tests, key=lambda test: nearness(mutant, test))):
        def tried(limit):
            return run(paths[program], [test.name for test in taken], {"VELLORA_MUTANT": str(mutant.number)}, limit,
                       folders[program])
        patience = max(PATIENCE, 10 * seconds)
        end = tried(patience)
        if end == "hung":  # or the machine had other work
            end = tried(3 * patience)
        ran += len(taken)
        if end != "passed":
            return {"verdict": "killed", "how": end, "by": [test.name for test in taken][:3]}
    return {"verdict": "survived" if ran else "unreached", "ran": ran, "reaching": len(tests)}
