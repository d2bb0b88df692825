#!/usr/bin/env python3
"""Runs the tests of the library for Java in one virtual machine, beside a demo server, and fails also for a word of -Xcheck:jni.

usage: run_tests.py JAVA CLASS_PATH RECORDS_SERVER NAME=VALUE… -- CLASS…

NAME=VALUE are properties of the virtual machine. VELLORA_TEST_LOOKUPS says how many questions are weighed.
"""

import contextlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

# What -Xcheck:jni says begins so.
COMPLAINT = re.compile(r"^(WARNING|Warning|FATAL ERROR|ReleasePrimitiveArrayCritical|.*in native method)", re.MULTILINE)


@contextlib.contextmanager
def demo_server(program):
    with tempfile.TemporaryDirectory() as folder:
        port_file = pathlib.Path(folder) / "port"
        server = subprocess.Popen([program, "--port-file", port_file], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            while not port_file.exists() and server.poll() is None:
                time.sleep(0.05)
            yield f"http://127.0.0.1:{port_file.read_text().strip()}"
        finally:
            server.terminate()
            server.wait()


def main():
    java, class_path, records_server, *rest = sys.argv[1:]
    properties, classes = rest[:rest.index("--")], rest[rest.index("--") + 1:]
    if "VELLORA_TEST_LOOKUPS" in os.environ:
        properties.append(f"questions={os.environ['VELLORA_TEST_LOOKUPS']}")
    with demo_server(records_server) as address:
        done = subprocess.run(
            [java, "-Xcheck:jni", "-Xmx256m", "-cp", class_path, f"-Drecords.server={address}", *(f"-D{each}" for each in properties),
             "org.junit.runner.JUnitCore", *classes], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    print(done.stdout)
    complaints = [line for line in done.stdout.splitlines() if COMPLAINT.match(line)]
    if complaints:
        sys.exit("the virtual machine complains:\n" + "\n".join(complaints))
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
