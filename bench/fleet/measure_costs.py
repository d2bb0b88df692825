#!/usr/bin/env python3
"""Measures what an app's requests cost the demo server, and writes that as bench/fleet/costs.toml has it.

usage: measure_costs.py VELLORA RECORDS_SERVER [ROUNDS]

Bytes are those that the command and the server exchange. Processor time is that of the server over ROUNDS requests, 100
unless it says otherwise, each on a connection of its own.
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


def cost(process, port, head, rounds):
    """Request bytes, answer bytes and processor time of one request."""
    request = ask(port, head)
    begin = processor_seconds(process)
    for _ in range(rounds):
        ask(port, head)
    return len(head), request.answer_bytes, (processor_seconds(process) - begin) / rounds


def conditional(head, answer):
    """The same request on condition that the list has changed; none where the answer has no tag."""
    tag = re.search(rb"\r\n(etag: *)([^\r]*)\r\n", answer, re.IGNORECASE)
    return head[:-2] + b"If-None-Match: " + tag[2] + b"\r\n\r\n" if tag else None


def section(name, figures, note=""):
    request, answer, processor = figures
    return (f"\n[{name}]{note}\nrequest_bytes = {request}\nanswer_bytes = {answer}\n"
            f"processor_seconds = {processor:.3g}\n")


def measured(vellora, records_server, rounds):
    with tempfile.TemporaryDirectory() as folder, demo_server(records_server, "--types", TYPES) as (process, port):
        sent = fetching.by_list(fetching.fetch(vellora, relay.Relay(port), f"{folder}/cache"))
        with demo_server(records_server, "--fail", "503") as (failing, failing_port):
            refused = cost(failing, failing_port, sent["types"].head, rounds)
        for name, request in sent.items():
            yield section(name, cost(process, port, request.head, rounds))
            asked = conditional(request.head, request.answer)
            if asked:
                yield section(name + "_unchanged", cost(process, port, asked, rounds))
            else:
                yield section(name + "_unchanged", (refused[0] + 32, refused[1], refused[2]),
                              "  # not measured: the server gives no tags; taken from a refusal")
        yield section("refused", refused)


def main():
    vellora, records_server = sys.argv[1:3]
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 100
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    print(f"# What one request costs the demo server, with {TYPES} object types. scripts/fleet costs writes this file.")
    print("# Bytes on the wire, heads included; seconds of the server's processor time.")
    print(f"# Measured over {rounds} requests of each kind on: {model[1] if model else 'an unknown processor'}.")
    print("".join(measured(vellora, records_server, rounds)), end="")


if __name__ == "__main__":
    main()
