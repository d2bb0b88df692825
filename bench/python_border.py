"""What a question from Python takes, beside a bare call across the border.

python3 python_border.py SERVER REPETITIONS, with the package in PYTHONPATH

Each figure is the median of the repetitions, after one that warms up.
"""

import statistics
import sys
import time
from collections.abc import Callable

import vellora

IDS = 1_000
CALLS = 10_000


def report(what: str, units_per_second: float, repetitions: int, work: Callable[[], object]) -> None:
    work()
    seconds = []
    for _ in range(repetitions):
        begin = time.perf_counter()
        work()
        seconds.append(time.perf_counter() - begin)
    print(f"| {what} | {statistics.median(seconds) * units_per_second:.3g} |")


def ask(catalog: vellora.Catalog, ids: list[str]) -> None:
    answer = catalog.records(ids).result()
    if len(answer.found) != len(ids):
        sys.exit(f"an id was not found: {answer}")


def call_often() -> None:
    for _ in range(CALLS):
        vellora.version()


def main() -> None:
    server, repetitions = sys.argv[1], int(sys.argv[2])
    ids = [f"001{number:012}" for number in range(IDS)]
    with vellora.Catalog(server) as catalog:
        report("records of 1,000 warm ids of one type, from Python, ms", 1e3, repetitions, lambda: ask(catalog, ids))
        report("one warm id, from Python, µs", 1e6, repetitions, lambda: ask(catalog, ids[:1]))
    report("a bare call from Python to C that gives a short text, ns", 1e9 / CALLS, repetitions, call_often)


if __name__ == "__main__":
    main()
