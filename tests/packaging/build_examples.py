#!/usr/bin/env python3
"""Builds the examples against the installed package, as its users do, and runs them against the demo server.

usage: build_examples.py CMake|PkgConfig Shared|Static PREFIX SOURCES COMPILER RECORDS_SERVER
"""

import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from demo_server import demo_server

FLAGS = ["-std=c++20", "-Wall", "-Wextra", "-Werror"]


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit(f"{shlex.join(map(str, command))} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout


def launcher():
    ccache = shutil.which("ccache")
    return [ccache] if ccache else []


def build_with_cmake(form, prefix, sources, compiler, folder):
    build = folder / "build"
    run("cmake", "-S", sources / "examples", "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_CXX_FLAGS={shlex.join(FLAGS)}",
        f"-DCMAKE_CXX_COMPILER_LAUNCHER={';'.join(launcher())}",
        f"-DVellora_USE_STATIC_LIBS={'ON' if form == 'Static' else 'OFF'}")
    run("cmake", "--build", build)
    return build


def build_with_pkg_config(form, prefix, sources, compiler, folder):
    modules = {"embed": ["vellora-hostkit"], "boundary": ["vellora-hostkit", "vellora-testkit"]}
    files = {"embed": sources / "examples/embed/main.cpp", "boundary": sources / "tests/packaging/boundary/main.cpp"}
    if form == "Static":
        # Archives alone, for the linker prefers a shared library where it sees one.
        moved = folder / "moved"
        shutil.copytree(prefix, moved, symlinks=True, ignore=shutil.ignore_patterns("*.so", "*.so.*", "bin", "share"))
        prefix = moved
    (configs,) = prefix.glob("lib*/**/pkgconfig")
    environment = os.environ | {"PKG_CONFIG_PATH": str(configs)}
    how = ["--static"] if form == "Static" else []
    for name, file in files.items():
        cflags, libs = (
            shlex.split(run("pkg-config", *how, what, *modules[name], env=environment))
            for what in ("--cflags", "--libs")
        )
        run(*launcher(), compiler, *FLAGS, "-fvisibility=hidden", *cflags, "-c", file, "-o", folder / f"{name}.o")
        run(compiler, folder / f"{name}.o", "-o", folder / name, *libs)
    if form == "Shared":
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", "vellora-c", env=environment))
        run("cc", "-std=c99", "-Wall", "-Wextra", "-Werror", sources / "examples/c-own-host/main.c", *flags,
            "-o", folder / "c-own-host")
    return folder


def linked_libraries(program):
    return {line.split()[0] for line in run("ldd", program).splitlines()}


def main():
    tool, form = sys.argv[1:3]
    prefix, sources = pathlib.Path(sys.argv[3]), pathlib.Path(sys.argv[4])
    compiler, records_server = sys.argv[5:7]
    build = {"CMake": build_with_cmake, "PkgConfig": build_with_pkg_config}[tool]
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        built = build(form, prefix, sources, compiler, folder)
        (library,) = {file.parent for file in prefix.glob("lib*/**/libvellora.so")}
        environment = os.environ | {"LD_LIBRARY_PATH": str(library)}
        for program in filter(os.path.exists, (built / name for name in ("embed", "boundary"))):
            is_shared = any(name.startswith("libvellora.so") for name in linked_libraries(program))
            if is_shared != (form == "Shared"):
                sys.exit(f"{program.name} is linked in the other form than the {form} one")
        with demo_server(records_server) as url:
            told = run(built / "embed", url, "001000000000009", env=environment, cwd=folder)
        if told != "Account\n":
            sys.exit(f"embed says: {told}")
        if form == "Shared":
            told = run(built / "c-own-host", folder, "001000000000009", env=environment)
            if "There is no such answer." not in told:
                sys.exit(f"c-own-host says: {told}")
        if tool == "PkgConfig":
            run(built / "boundary", env=environment)
        else:
            verdicts = run(built / "host-conformance", env=environment)
            if "[       OK ] AppCache.KeepsWhatWasSavedLast" not in verdicts:
                sys.exit(f"host-conformance gives no verdicts:\n{verdicts}")


if __name__ == "__main__":
    main()
