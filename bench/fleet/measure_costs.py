#!/usr/bin/env python3
"""Measures what an app's requests cost the demo server, and writes that as bench/fleet/costs.toml has it.

usage: measure_costs.py VELLORA RECORDS_SERVER [REQUESTS]

Bytes are those that the command and the server exchange. Processor time is that of the server: the mean of ten
requests, each on a connection of its own, and of all such tens among REQUESTS requests, 3000 unless it says
otherwise, the least, since other work can only make one longer. The lists come plain, packed and unchanged.
"""

import contextlib
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time

import fetching
import relay

TYPES = "2000"
ROUND = 10  # requests


@contextlib.contextmanager
def demo_server(program, *options):
    """Runs the demo server, and gives its process and its port."""
    with tempfile.TemporaryDirectory() as folder:
        port = pathlib.Path(folder) / "port"
        server = subprocess.Popen([program, "--port-file", port, "--log-file", "/dev/null", *options],
                                  stdout=subprocess.DEVNULL)
        try:
            while not port.exists() and server.poll() is None:
                time.sleep(0.02)
            yield server, int(port.read_text())
        finally:
            server.terminate()
            server.wait()


def processor_seconds(process):
    """What all threads of a process have used so far."""
    tasks = pathlib.Path(f"/proc/{process.pid}/task").glob("*/schedstat")
    return sum(int(task.read_text().split()[0]) for task in tasks) / 1e9


def ask(port, head):
    """Sends a request as it stands, and gives the beginning of the answer and its size."""
    with socket.create_connection(("127.0.0.1", port)) as connection:
        connection.sendall(head)
        request = relay.Request(head)
        while b"\r\n\r\n" not in request.answer or request.answer_bytes < relay.whole_size(request.answer):
            piece = connection.recv(1 << 20)
            if not piece:
                raise SystemExit("the demo server has closed a connection within an answer")
            request.take(piece)
    return request


def cost(process, port, head, status, rounds):
    """Request bytes, answer bytes and processor time of one request that is answered with that status."""
    request = ask(port, head)
    if request.status != status:
        raise SystemExit(f"{request.path} is answered with {request.status}, not with {status}")
    return len(head), request.answer_bytes, min(mean_of(process, port, head) for _ in range(rounds // ROUND))


def mean_of(process, port, head):
    """The processor time of one request, as the mean of a few."""
    begin = processor_seconds(process)
    for _ in range(ROUND):
        ask(port, head)
    return (processor_seconds(process) - begin) / ROUND


def section(name, figures, source):
    request, answer, processor = figures
    return (f"\n[{name}]  # {source}\nrequest_bytes = {request}\nanswer_bytes = {answer}\n"
            f"processor_seconds = {processor:.3g}\n")


def conditional(vellora, address, cache):
    """The requests of the command's second run on the cache file, which have the condition that the host gives them."""
    again = fetching.by_list(fetching.fetch(vellora, address, cache, "--cache-timeout", "0"))
    if not all(request.is_conditional and request.status == 304 for request in again.values()):
        raise SystemExit("the command does not ask on condition, or the demo server does not answer so")
    return again


def costs(process, port, requests, status, rounds):
    """What each of those requests costs that server."""
    return {name: cost(process, port, request.head, status, rounds) for name, request in requests.items()}


def of_the_lists(vellora, records_server, rounds):
    """The command's first requests, and what they and those of its second run cost."""
    with tempfile.TemporaryDirectory() as folder, demo_server(records_server, "--types", TYPES) as (process, port):
        way = relay.Relay(port)
        first = fetching.by_list(fetching.fetch(vellora, way, f"{folder}/cache"))
        again = conditional(vellora, way, f"{folder}/cache")
        return first, costs(process, port, first, 200, rounds), costs(process, port, again, 304, rounds)


def measured(vellora, records_server, rounds):
    """The sections of the file."""
    first, whole, unchanged = of_the_lists(vellora, records_server, rounds)
    with demo_server(records_server, "--types", TYPES, "--gzip") as (process, port):
        packed = costs(process, port, first, 200, rounds)
    with demo_server(records_server, "--fail", "503") as (process, port):
        refused = costs(process, port, {"refused": first["types"]}, 503, rounds)
    sources = (("", whole, "the command's first request"),
               ("_packed", packed, "the first request, to records-server --gzip"),
               ("_unchanged", unchanged, "the command's second request, which has the tag of the first answer"),
               ("", refused, "the first request, to records-server --fail 503"))
    for suffix, figures, source in sources:
        for name, one in figures.items():
            yield section(name + suffix, one, source)


def main():
    vellora, records_server = sys.argv[1:3]
    rounds = max(ROUND, int(sys.argv[3])) if len(sys.argv) > 3 else 3000
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    print(f"# What one request costs the demo server, with {TYPES} object types. scripts/fleet costs writes this file.")
    print("#")
    print("# Each request is one that the command sent, taken down by a relay (relay.py) and sent again, byte for byte.")
    print("# request_bytes, answer_bytes: what went over the wire, heads included.")
    print("# processor_seconds: what all threads of the server used by /proc/PID/task/*/schedstat, each request on a")
    print(f"# connection of its own. It is the mean of {ROUND}, and of {rounds // ROUND} such tens the least.")
    print(f"# Processor: {model[1] if model else 'unknown'}.")
    print("".join(measured(vellora, records_server, rounds)), end="")


if __name__ == "__main__":
    main()
