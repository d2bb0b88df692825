#!/usr/bin/env python3
"""Runs the tests of the library for Java in one virtual machine, beside a demo server, and fails also for a word of -Xcheck:jni.
Before that it shows that it hears such words.

usage: run_tests.py JAVA CLASS_PATH RECORDS_SERVER NAME=VALUE… -- CLASS…

NAME=VALUE are properties of the virtual machine. VELLORA_TEST_LOOKUPS says how many questions are weighed.
"""

import os
import pathlib
import re
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from demo_server import demo_server

# What -Xcheck:jni says. It may stand behind the dots that JUnit writes without a line end.
COMPLAINT = re.compile(r"WARNING: JNI|WARNING in native|FATAL ERROR|Warning: |ReleasePrimitiveArrayCritical|in native method")
# What must be heard of the careless program. A virtual machine of 32 bits does not count local references.
CARELESS = ["JNI call made with exception pending"] + (["JNI local refs"] if sys.maxsize > 2**32 else [])


def complaints(output):
    return [line for line in output.splitlines() if COMPLAINT.search(line)]


def main():
    java, class_path, records_server, *rest = sys.argv[1:]
    properties, classes = rest[:rest.index("--")], rest[rest.index("--") + 1:]
    if "VELLORA_TEST_LOOKUPS" in os.environ:
        properties.append(f"questions={os.environ['VELLORA_TEST_LOOKUPS']}")

    counter = next(each.partition("=")[2] for each in properties if each.startswith("native.heap="))

    def run(*program):
        return subprocess.run([java, "-Xcheck:jni", "-Xmx256m", "-cp", class_path, *(f"-D{each}" for each in properties), *program],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, env=os.environ | {"LD_PRELOAD": counter})

    careless = run("vellora.CarelessProgram").stdout
    unheard = [fault for fault in CARELESS if not any(fault in line for line in complaints(careless))]
    if unheard:
        sys.exit(f"the virtual machine does not complain of {unheard}:\n{careless}")
    with demo_server(records_server) as address:
        properties.append(f"records.server={address}")
        done = run("org.junit.runner.JUnitCore", *classes)
    print(done.stdout)
    found = complaints(done.stdout)
    if found:
        sys.exit("the virtual machine complains:\n" + "\n".join(found))
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
