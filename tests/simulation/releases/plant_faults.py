#!/usr/bin/env python3
"""Copies sources of the library with faults in them, which VELLORA_TEST_FAULT wakes, and tries whether releases finds each.

usage: plant_faults.py ROOT TARGET   copies the sources of ROOT that have faults to the same places below TARGET
       plant_faults.py --list        prints these sources
       plant_faults.py --try PROGRAM runs releases, linked with the copies, with each fault and with none

A fault stands for as many places as have its text, and there must be one at least.
"""

import dataclasses
import os
import pathlib
import re
import subprocess
import sys


@dataclasses.dataclass
class Fault:
    name: str
    source: str
    line: str
    planted: str  # with "{fault}" for the condition that it is awake
    group: str  # whose operations show it
    breach: str  # how the breach that is printed begins


FAULTS = (
    Fault("a façade is held by the loads that wait for its queue", "vellora/Services/VelloraServiceImplementation.cpp",
          "group.async(queue_, [weak = weak_from_this(),",
          "group.async(queue_, [held = {fault} ? shared_from_this() : nullptr, weak = weak_from_this(),",
          "facade", "after its release: "),
    Fault("a layout lookup is dropped with its façade", "vellora/Services/LayoutLookups.cpp",
          "completion(layoutAnswer(",
          "if ({fault} && facade.use_count() == 1) return; completion(layoutAnswer(",
          "facade", "it is not answered"),
    Fault("a fetched list holds the service that saves it", "vellora/DataServices/SObjectsDataServiceSteps.cpp",
          "fetchedSObjects().map([weak = weak_from_this(), name]",
          "fetchedSObjects().map([held = {fault} ? shared_from_this() : nullptr, weak = weak_from_this(), name]",
          "service", "after its release: "),
    Fault("a catalogue leaves its gate open when it goes", "vellora/Catalog/CatalogImplementation.cpp",
          "  gate_->close();",
          "  if (!{fault}) gate_->close();",
          "catalog", "after its release: "),
    Fault("a table of the cache is never given back", "vellora/DataServices/TimestampedTable.cpp",
          "CacheTable::open(cache, key)) return table;",
          "CacheTable::open(cache, key)) return {fault} ? *new std::shared_ptr<CacheTable>(table) : table;",
          "service", "memory is left"),
    Fault("the network that was used last is kept", "vellora/DataServices/Sending.cpp",
          "const auto alive = network.lock();",
          "const auto alive = network.lock();"
          " static std::shared_ptr<CorvaneSDK::Network> last; if ({fault}) last = alive;",
          "service", "something keeps alive: network"),
)
VARIABLE = "VELLORA_TEST_FAULT"


def sources():
    return sorted({fault.source for fault in FAULTS})


def planted(source, text):
    """`text` with the faults of `source`, on the lines where it was. Raises ValueError where one has no place."""
    for number, fault in enumerate(FAULTS):
        if fault.source != source:
            continue
        if fault.line not in text:
            raise ValueError(f"{source}: has no place for: {fault.name}")
        text = text.replace(fault.line, fault.planted.replace("{fault}", f"releases::isAwake({number})"))
    return '#include "tests/simulation/releases/PlantedFault.h"\n#line 1\n' + text


def copy(root, target):
    for source in sources():
        text = planted(source, (root / source).read_text())
        place = target / source
        if not place.exists() or place.read_text() != text:
            place.parent.mkdir(parents=True, exist_ok=True)
            place.write_text(text)


def run(program, arguments, fault):
    environment = {**os.environ, VARIABLE: str(fault)}
    return subprocess.run([program, *arguments], env=environment, capture_output=True, text=True)


def problems(program):
    """Each fault must be found, and its replay must show it again, and nothing where the fault sleeps."""
    for number, fault in enumerate(FAULTS):
        found = run(program, [fault.group], number)
        replay = re.search(r"^replay: releases (--replay .*)$", found.stderr, re.MULTILINE)
        if found.returncode == 0 or not found.stderr.startswith(fault.breach) or not replay:
            yield f"{fault.name}: is not found: {found.stdout}{found.stderr}"
            continue
        print(f"{fault.name}: {found.stderr.splitlines()[0]}, in {replay[1].removeprefix('--replay ')}")
        case = replay[1].split()
        if fault.breach.strip() not in run(program, case, number).stdout:
            yield f"{fault.name}: its replay shows nothing: {' '.join(case)}"
        if run(program, case, "none").returncode != 0:
            yield f"{fault.name}: its case fails without it: {' '.join(case)}"


def main():
    if sys.argv[1:] == ["--list"]:
        print(";".join(sources()), end="")
        return 0
    if sys.argv[1] == "--try":
        found = list(problems(sys.argv[2]))
        print("\n".join(found), end="")
        return 1 if found else 0
    try:
        copy(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
    except ValueError as error:
        print(error)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
