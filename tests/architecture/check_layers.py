#!/usr/bin/env python3
"""Fails when an include runs against the layers, or against the rooms of one of them.

usage: check_layers.py ROOT

Every layer names the layers that it may include besides itself. A layer that has rooms says which of its rooms each
may include besides itself; from other layers all of them may be included. The apps use the library and the host kit
as anybody does: they may include only what is installed of them. A header of ours that is included by another name than
its path from the root is an error too: it would slip through. So is a folder of tests that mirrors no folder of sources.
"""

import pathlib
import re
import sys

PLATFORM = "vellora/Platform"
HOST = "vellora/Host"
MODELS = "vellora/Models"
DATA_SERVICES = "vellora/DataServices"
SERVICES = "vellora/Services"
CATALOG = "vellora/Catalog"
LIBRARY = {PLATFORM, HOST, MODELS, DATA_SERVICES, SERVICES, CATALOG}

MAY_INCLUDE = {
    PLATFORM: set(),
    HOST: {PLATFORM},
    MODELS: {PLATFORM},
    DATA_SERVICES: {PLATFORM, HOST, MODELS},
    SERVICES: {PLATFORM, HOST, MODELS, DATA_SERVICES},
    CATALOG: {PLATFORM, HOST, MODELS, DATA_SERVICES, SERVICES},
    "hostkit": LIBRARY,
    "testkit": LIBRARY,
    "bindings/c": LIBRARY | {"hostkit"},
    "bindings/java": {"bindings/c"},
    "bindings/generate": {PLATFORM, MODELS},
    "conformance": LIBRARY | {"tests/support"},
    "apps/http": {PLATFORM},
    "apps/records-server": {PLATFORM, "apps/http"},
    "apps/vellora": LIBRARY | {"hostkit", "apps/http"},
    "tests/support": LIBRARY | {"hostkit", "testkit", "apps/records-server"},
    "tests/bindings": LIBRARY | {"hostkit", "testkit", "bindings/c", "bindings/generate", "tests/support"},
    "bench": LIBRARY | {"hostkit", "testkit", "apps/records-server", "tests/support", "bindings/c"},
    "examples": LIBRARY | {"hostkit", "testkit", "conformance"},
    "fuzz": LIBRARY | {"hostkit", "testkit", "apps/records-server", "tests/support"},
}

# What stands in these includes no internal header of the library or the host kit.
APPS = {"apps/http", "apps/records-server", "apps/vellora"}

# The rooms of a layer, as paths within it; "" is what stands in the layer's own folder.
CACHE_ROWS, CACHE_MEMORY, CACHE_SQLITE, CACHE_REDIS = "cache/rows", "cache/memory", "cache/sqlite", "cache/redis"
ROOMS = {
    PLATFORM: {
        "Values": set(),
        "Text": {"Values"},
        "Json": {"Values", "Text"},
        "Queues": {"Values"},
        "Publishers": {"Values", "Queues"},
        "Web": {"Values"},
    },
    "hostkit": {
        "libraries": set(),
        "secrets": set(),
        "bodies": {CACHE_ROWS},
        "network": {"libraries", "secrets", "bodies"},
        CACHE_ROWS: {"libraries"},
        CACHE_MEMORY: {CACHE_ROWS},
        CACHE_SQLITE: {CACHE_ROWS},
        CACHE_REDIS: {"libraries", CACHE_ROWS},
        "cache": {CACHE_ROWS, CACHE_MEMORY, CACHE_SQLITE, "bodies"},
        "log": {"secrets"},
        "": {"secrets", "network", CACHE_MEMORY, CACHE_SQLITE, "log"},
    },
    "apps/vellora": {
        "config": set(),
        "command": {"config"},
        "lookups": {"command"},
        "cache": {"command"},
        "explore": {"command", "lookups"},
        "changes": {"command"},
        "completion": {"command"},
        "": {"command", "lookups", "cache", "explore", "changes", "completion"},
    },
}

# What of tests/ has no folder of sources to mirror.
TESTS_OF_THE_WHOLE = {
    "architecture", "faults", "integration", "interleaving", "memory", "power", "simulation", "stress", "support"}

# Third-party headers stay out of ours, so that none of them reaches who includes us.
THIRD_PARTY = re.compile(r"^(boost/|hiredis/|simdjson|rapidjson/|curl/|openssl/|sqlite3|spdlog/|CLI/|toml\+\+/|zlib)")

# A class that is defined, or a function that is only declared, at the left margin: templates are made where they are
# used, so what follows such a line is left out.
DECLARATION = re.compile(
    r"^(?P<before>[^\n]*\n)"
    r"(?=(?:class|struct) (?P<class>(?:VELLORA_EXPORT )?\w+)\b[^;{]*\{"
    r"|(?:\[\[nodiscard\]\] )?(?P<function>(?!using|template|class|struct)\w[\w:<>, ]*[&*]? \w+)\([^;{]*;)",
    re.MULTILINE,
)

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)


def layer_of(path):
    return next((layer for layer in MAY_INCLUDE if path.startswith(layer + "/")), None)


def room_of(layer, path):
    """The room of a layer with rooms that a path lies in: the deepest one; none for a path in no room."""
    folder = path[len(layer) + 1:].rpartition("/")[0]
    within = [room for room in ROOMS[layer] if room and (folder + "/").startswith(room + "/")]
    return max(within, key=len, default="" if not folder and "" in ROOMS[layer] else None)


def against_the_rooms(layer, path, included):
    """What is wrong with an include between two files of one layer; none when it runs with the rooms."""
    if layer not in ROOMS:
        return None
    room, target = room_of(layer, path), room_of(layer, included)
    if room is None or target == room or target in ROOMS[layer][room]:
        return None
    return "which is in no room" if target is None else f"but {layer}/{room} must not include {layer}/{target}"


def unmirrored_tests(root):
    """The folders of tests, written in C++, whose sources' folder is not there."""
    for folder in sorted({test.parent.relative_to(root / "tests") for test in root.glob("tests/**/*Test.cpp")}):
        if folder.parts[0] not in TESTS_OF_THE_WHOLE and not (root / folder).is_dir():
            yield f"tests/{folder}: mirrors no folder {folder}"


def public_headers(root):
    """The headers that a CMake list names as installed."""
    for lists in root.glob("**/CMakeLists.txt"):
        for block in re.findall(r"vellora_public_headers\(([^)]*)\)", lists.read_text()):
            for name in block.split()[1:]:
                yield str((lists.parent / name).relative_to(root))


def unmarked(text):
    """What a shared library would hide although its header is installed."""
    for found in DECLARATION.finditer(text):
        name = found["class"] or found["function"]
        if not found["before"].startswith(("template", "requires")) and not name.startswith("VELLORA_EXPORT "):
            yield name.split()[-1]


def problems(root):
    yield from unmirrored_tests(root)
    installed = set(public_headers(root))
    for source in sorted(root.glob("**/*")):
        path = str(source.relative_to(root))
        layer = layer_of(path)
        if layer is None or source.suffix not in {".h", ".cpp"}:
            continue
        if layer in ROOMS and room_of(layer, path) is None:
            yield f"{path}: {layer} has no room for it"
        text = source.read_text()
        if path in installed:
            for name in unmarked(text):
                yield f"{path}: is installed, but {name} is not marked VELLORA_EXPORT"
        for quote, included in INCLUDE.findall(text):
            target = layer_of(included)
            if target is None and quote == '"':
                yield f'{path}: includes "{included}", which is no path from the root of one of the layers'
            elif target is not None and target != layer and target not in MAY_INCLUDE[layer]:
                yield f"{path}: includes {included}, but {layer} must not include {target}"
            elif target == layer and (wrong := against_the_rooms(layer, path, included)):
                yield f"{path}: includes {included}, {wrong}"
            elif target is not None and path in installed and included not in installed:
                yield f"{path}: is installed, but includes the internal {included}"
            elif layer in APPS and target in LIBRARY | {"hostkit"} and included not in installed:
                yield f"{path}: includes {included}, which is not installed"
            elif path in installed and THIRD_PARTY.match(included):
                yield f"{path}: is installed, but includes the third-party {included}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / PLATFORM).is_dir():
        sys.exit(f"{root} has no {PLATFORM}: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every include runs with the layers and their rooms")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
