#!/usr/bin/env python3
"""Fails when a source starts a thread, or waits, where no test would see a thread wake while nothing is asked.

usage: check_sleeps.py ROOT

The threads of the library and of the ready-made host sleep in vellora/Platform/Queues/Sleep.cpp, where IdleHourTest
counts them. What else starts a thread or waits stands below, with who that is.
"""

import pathlib
import re
import sys

FOLDERS = ("vellora", "hostkit", "bindings")

STARTS = re.compile(r"\bstd::j?thread(?: \w+)?[({]|\bstd::async\b|\bpthread_create\b")
WAITS = re.compile(r"(?:\.|->)wait(?:_for|_until)?\(\w|\bsleep_(?:for|until)\b|\b(?:u|nano)?sleep\(|"
                   r"\bcurl_\w*(?:poll|wait)\(|\b(?:p?poll|p?select|epoll_p?wait)\(&")

STARTING = {
    "vellora/Platform/Queues/ThreadPool.cpp": "the pool",
    "vellora/Platform/Queues/SystemTimedQueue.cpp": "the deadlines",
    "hostkit/network/CurlLoop.cpp": "the network",
    "hostkit/cache/redis/LeasingNetwork.cpp": "the leases",
}
WAITING = {
    "vellora/Platform/Queues/Sleep.cpp": "all of those threads",
    "vellora/Platform/Queues/CallbackGate.cpp": "who closes it, for a callback that runs",
    "vellora/Catalog/Asked.h": "who has asked, for the answer",
    "hostkit/network/CurlLoop.cpp": "the network, inside Sleep::in",
    "hostkit/cache/redis/RedisStore.cpp": "a caller, for its turn",
    "hostkit/cache/redis/RedisConnection.cpp": "a caller, for the reply",
    "hostkit/cache/sqlite/FolderLock.cpp": "who opens a cache, for another process",
}


def sources(root):
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path.relative_to(root).as_posix(), re.sub(r"//.*", "", path.read_text())


def problems(root):
    for what, pattern, known in (("starts a thread", STARTS, STARTING), ("waits", WAITS, WAITING)):
        found = {path for path, text in sources(root) if pattern.search(text)}
        yield from (f"{path}: {what}, and is not known to" for path in sorted(found - known.keys()))
        yield from (f"{path}: is known as one that {what}, and does not" for path in sorted(known.keys() - found))


def main():
    found = list(problems(pathlib.Path(sys.argv[1]).resolve()))
    print("\n".join(found) if found else "every thread sleeps where it is counted")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
