#!/usr/bin/env python3
"""Fails when runs of the command cost a server other than the simulated fleet says.

usage: check_against_processes.py VELLORA RECORDS_SERVER VELLORA_FLEET [APPS]

The simulation says when each of APPS apps, 50 unless it says otherwise, starts within a day with a release and an outage, four
times on average. Each start is a run of the command here, one after the other, with a cache file for each app, and with
the simulated moment for its clock. A relay before the demo server counts requests and bytes, and refuses them during the
outage. Both must be within 10 % of what the simulation says.
"""

import csv
import glob
import io
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import fetching
import measure_costs
import relay

TIMEOUT = 3600
RELEASE, OUTAGE = 10, (11, 13)  # hours
TOLERANCE = 0.1
MIDNIGHT = 1767571200  # of a Monday, in seconds since 1970
LIBRARY = "/usr/lib/*/faketime/libfaketime.so.1"


def at(moment):
    """The environment of a process whose clock starts at that second of the day."""
    library = glob.glob(LIBRARY)
    if not library:
        raise SystemExit(f"there is no {LIBRARY}: scripts/setup programs installs faketime")
    stamp = time.strftime("@%Y-%m-%d %H:%M:%S", time.gmtime(MIDNIGHT + moment))
    return {**os.environ, "TZ": "UTC", "LD_PRELOAD": library[0], "FAKETIME": stamp, "FAKETIME_DONT_FAKE_MONOTONIC": "1"}


def costs_of(vellora, way, folder):
    """Writes down what the command exchanges: the whole lists, then the lists unchanged, and refusals."""
    cache = folder / "costs-cache"
    whole = fetching.by_list(fetching.fetch(vellora, way, cache))
    again = measure_costs.conditional(vellora, way, cache)
    way.refuses = True
    refused = fetching.fetch(vellora, way, folder / "refused-cache")
    way.refuses = False
    sections = {"refused": refused[0]}
    for name in fetching.LISTS.values():
        sections |= {name: whole[name], name + "_packed": whole[name], name + "_unchanged": again[name]}
    text = "".join(measure_costs.section(name, (len(request.head), request.answer_bytes, 0), "this check")
                   for name, request in sections.items())
    (folder / "costs.toml").write_text(text)


def simulated(fleet, folder, apps):
    """The starts, in order, and the requests, the refused ones and the bytes of the day."""
    options = ["--costs", folder / "costs.toml", "--apps", str(apps), "--timeout", str(TIMEOUT), "--as-command",
               "--conditional", "--backing-off", "--release", str(RELEASE), "--outage", *map(str, OUTAGE),
               "--starts", folder / "starts"]
    ended = subprocess.run([fleet, "day", *map(str, options)], capture_output=True, text=True, check=True)
    seconds = list(csv.DictReader(io.StringIO(ended.stdout)))
    total = [sum(float(second[name]) for second in seconds) for name in ("requests", "refused", "bytes")]
    starts = [line.split() for line in (folder / "starts").read_text().splitlines()]
    return [(float(moment), agent) for moment, agent in starts], total


def lived(vellora, way, folder, starts):
    """Runs the command at each start, and gives the requests, the refused ones and the bytes."""
    requests, updated, refused = [], set(), 0
    for moment, agent in starts:
        cache = folder / f"app-{agent}.cache"
        if moment >= RELEASE * 3600 and agent not in updated:
            updated.add(agent)
            for file in folder.glob(cache.name + "*"):
                file.unlink()
        way.refuses = OUTAGE[0] * 3600 <= moment < OUTAGE[1] * 3600
        sent = fetching.fetch(vellora, way, cache, "--cache-timeout", str(TIMEOUT), environment=at(moment))
        refused += len(sent) if way.refuses else 0
        requests += sent
    return [len(requests), refused, sum(len(request.head) + request.answer_bytes for request in requests)]


def compared(names, told, seen):
    for name, ours, theirs in zip(names, told, seen):
        print(f"| {name}, simulated and counted | {ours:,.0f} and {theirs:,.0f} |")
        if abs(ours - theirs) > TOLERANCE * theirs:
            yield f"{name}: {ours:,.0f} are simulated, and {theirs:,.0f} counted"


def main():
    vellora, records_server, fleet = sys.argv[1:4]
    apps = int(sys.argv[4]) if len(sys.argv) > 4 else 50
    with tempfile.TemporaryDirectory() as name, measure_costs.demo_server(records_server) as (_, port):
        folder, way = pathlib.Path(name), relay.Relay(port)
        costs_of(vellora, way, folder)
        starts, told = simulated(fleet, folder, apps)
        seen = lived(vellora, way, folder, starts)
    print(f"| runs of the command | {len(starts)} |")
    found = list(compared(("requests", "refused requests", "bytes"), told, seen))
    print(*found, sep="\n", end="\n" if found else "", file=sys.stderr)
    return 1 if found or not seen[0] or not seen[1] else 0


if __name__ == "__main__":
    sys.exit(main())
