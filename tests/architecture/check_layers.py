#!/usr/bin/env python3
"""Fails when an include runs against the layers.

usage: check_layers.py ROOT

Every folder names the folders that it may include besides itself. A header of ours that is included by another
name than its path from the root is an error too: it would slip through.
"""

import pathlib
import re
import sys

PLATFORM = "vellora/Platform"
HOST = "vellora/Host"
MODELS = "vellora/Models"
DATA_SERVICES = "vellora/DataServices"
SERVICES = "vellora/Services"
LIBRARY = {PLATFORM, HOST, MODELS, DATA_SERVICES, SERVICES}

MAY_INCLUDE = {
    PLATFORM: set(),
    HOST: {PLATFORM},
    MODELS: {PLATFORM},
    DATA_SERVICES: {PLATFORM, HOST, MODELS},
    SERVICES: {PLATFORM, HOST, MODELS, DATA_SERVICES},
    "hostkit": LIBRARY,
    "testkit": LIBRARY,
    "conformance": LIBRARY | {"tests/support"},
    "apps/http": {PLATFORM},
    "apps/records-server": {PLATFORM, "apps/http"},
    "apps/vellora": LIBRARY | {"hostkit", "apps/http"},
    "tests/support": LIBRARY | {"hostkit", "testkit", "apps/records-server"},
    "bench": LIBRARY | {"hostkit", "testkit", "apps/records-server", "tests/support"},
    "examples": LIBRARY | {"hostkit", "testkit", "conformance"},
    "fuzz": LIBRARY | {"hostkit", "testkit", "apps/records-server", "tests/support"},
}

# Third-party headers stay out of ours, so that none of them reaches who includes us.
THIRD_PARTY = re.compile(r"^(boost/|simdjson|rapidjson/|curl/|sqlite3|spdlog/|CLI/|zlib)")

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
    installed = set(public_headers(root))
    for source in sorted(root.glob("**/*")):
        path = str(source.relative_to(root))
        layer = layer_of(path)
        if layer is None or source.suffix not in {".h", ".cpp"}:
            continue
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
            elif target is not None and path in installed and included not in installed:
                yield f"{path}: is installed, but includes the internal {included}"
            elif path in installed and THIRD_PARTY.match(included):
                yield f"{path}: is installed, but includes the third-party {included}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    if not (root / PLATFORM).is_dir():
        sys.exit(f"{root} has no {PLATFORM}: nothing to check")
    found = list(problems(root))
    print("\n".join(found) if found else "every include runs with the layers")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
