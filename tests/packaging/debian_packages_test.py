#!/usr/bin/env python3
"""Makes the Debian packages and looks into them. usage: debian_packages_test.py CPACK BUILD VERSION ABI [java] [python] [redis]"""

import gzip
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

CPACK, BUILD, VERSION, ABI = sys.argv[1:5]
HAS_JAVA = "java" in sys.argv[5:]
HAS_PYTHON = "python" in sys.argv[5:]
HAS_REDIS = "redis" in sys.argv[5:]
LIBRARY = f"libvellora{ABI}"


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class DebianPackagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.root = pathlib.Path(folder.name)
        made = subprocess.run([CPACK, "-G", "DEB", "-B", cls.root], cwd=BUILD, capture_output=True, text=True)
        if made.returncode != 0:
            raise AssertionError(made.stdout + made.stderr)
        cls.packages = {file.name.split("_")[0]: file for file in cls.root.glob("*.deb")}
        (cls.root / "root").mkdir()
        for name, file in cls.packages.items():
            subprocess.run(["dpkg-deb", "-x", file, cls.root / "root" / name], check=True)
        cls.listings = {name: output("dpkg-deb", "-c", file).splitlines() for name, file in cls.packages.items()}

    def field(self, package, name):
        return output("dpkg-deb", "-f", self.packages[package], name).strip()

    def file(self, package, path):
        found = self.root / "root" / package / path
        self.assertTrue(found.exists(), f"{package} lacks {path}")
        return found

    def test_there_are_the_library_what_builds_against_it_and_the_command(self):
        others = {"libvellora-java"} if HAS_JAVA else set()
        others |= {"python3-vellora"} if HAS_PYTHON else set()
        self.assertEqual(set(self.packages), {LIBRARY, "libvellora-dev", "vellora", "libvellora-c1", "libvellora-c-dev"} | others)

    def test_each_package_says_what_it_is(self):
        for package in self.packages:
            self.assertEqual(self.field(package, "Version"), VERSION)
            self.assertIn("@", self.field(package, "Maintainer"))
            self.assertNotEqual(self.field(package, "Section"), "devel")
            synopsis, *lines = self.field(package, "Description").splitlines()
            self.assertTrue(lines, f"{package} has no long description")
            self.assertLessEqual(max(map(len, (synopsis, *lines))), 80)
            self.file(package, f"usr/share/doc/{package}/copyright")
            changelog = self.file(package, f"usr/share/doc/{package}/changelog.gz")
            self.assertIn("# Changelog", gzip.decompress(changelog.read_bytes()).decode())

    def test_each_depends_on_what_its_programs_load(self):
        for package, libraries in {
            LIBRARY: ("libc6", "libstdc++6", "libsimdjson", "libboost-json1.81.0", "libcurl4", "libssl3", "libsqlite3-0", "libspdlog"),
            "vellora": ("libc6", "libstdc++6", "libsimdjson", "libcurl4", "libssl3", "libsqlite3-0"),
            "libvellora-c1": ("libc6", "libstdc++6", "libsimdjson", "libcurl4", "libssl3", "libsqlite3-0"),
            "libvellora-c-dev": (f"libvellora-c1 (= {VERSION})",),
            "libvellora-dev": (f"{LIBRARY} (= {VERSION})", "libboost-json1.81-dev", "libsimdjson-dev"),
        }.items():
            depends = self.field(package, "Depends")
            for library in libraries:
                self.assertIn(library, depends, package)

    def test_the_library_is_stripped_and_the_linkers_cache_learns_of_it(self):
        for name in ("libvellora", "libvellora-hostkit", *(("libvellora-redishost",) if HAS_REDIS else ())):
            library = self.file(LIBRARY, f"usr/lib/{name}.so.{VERSION}")
            self.assertIn("no symbols", subprocess.run(["nm", library], capture_output=True, text=True).stderr)
            self.assertTrue((library.parent / f"{name}.so.{ABI}").is_symlink())
        control = self.root / "control"
        subprocess.run(["dpkg-deb", "-e", self.packages[LIBRARY], control], check=True)
        self.assertIn("ldconfig", (control / "triggers").read_text())
        self.assertIn(f"libvellora {ABI} {LIBRARY}", (control / "shlibs").read_text())

    def test_what_builds_against_it_is_in_the_dev_package_alone(self):
        for path in ("usr/lib/libvellora.a", "usr/lib/libvellora-testkit.a", "usr/lib/pkgconfig/vellora.pc",
                     "usr/lib/cmake/Vellora/VelloraConfig.cmake", f"usr/include/vellora-{ABI}/hostkit/cache/memory/MemoryCache.h"):
            self.file("libvellora-dev", path)
        self.assertTrue((self.root / "root/libvellora-dev/usr/lib/libvellora.so").is_symlink())
        for package in (LIBRARY, "vellora"):
            self.assertEqual(list((self.root / "root" / package).glob("usr/include")), [])

    @unittest.skipUnless(HAS_REDIS, "the cache in a Redis is not built")
    def test_the_cache_in_a_redis_comes_with_hiredis(self):
        for package in (LIBRARY, "vellora"):
            self.assertIn("libhiredis0.14", self.field(package, "Depends"), package)
        self.assertIn("libhiredis-dev", self.field("libvellora-dev", "Depends"))
        for path in ("usr/lib/libvellora-redishost.a", "usr/lib/pkgconfig/vellora-redishost.pc",
                     f"usr/include/vellora-{ABI}/hostkit/cache/redis/RedisCache.h"):
            self.file("libvellora-dev", path)
        self.assertEqual(list((self.root / "root/libvellora-dev").rglob("RedisStore.h")), [])
        library = self.file(LIBRARY, f"usr/lib/libvellora-redishost.so.{VERSION}")
        folder = {"LD_LIBRARY_PATH": str(library.parent)}
        loaded = subprocess.run(["ldd", library], env=os.environ | folder, capture_output=True, text=True, check=True).stdout
        self.assertNotIn("not found", loaded)
        self.assertNotIn("libvellora-hostkit", loaded)

    def test_the_library_for_c_comes_with_its_header_and_needs_no_other_of_ours(self):
        self.file("libvellora-c1", f"usr/lib/libvellora-c.so.1.{VERSION}")
        for path in ("usr/include/vellora-c-1/vellora.h", "usr/lib/pkgconfig/vellora-c.pc",
                     "usr/lib/cmake/VelloraC/VelloraCConfig.cmake"):
            self.file("libvellora-c-dev", path)
        self.assertNotIn(LIBRARY, self.field("libvellora-c1", "Depends"))

    @unittest.skipUnless(HAS_JAVA, "the library for Java is not built")
    def test_the_jar_has_its_native_library_inside(self):
        with zipfile.ZipFile(self.file("libvellora-java", "usr/share/java/vellora.jar")) as jar:
            names = [name.rpartition("/")[2] for name in jar.namelist()]
        for name in ("Catalog.class", "libvellora-java.so", "libvellora-c.so.1"):
            self.assertIn(name, names)
        self.assertIn(f"libvellora-c1 (= {VERSION})", self.field("libvellora-java", "Depends"))

    @unittest.skipUnless(HAS_PYTHON, "the package for Python is not built")
    def test_the_module_for_python_loads_the_library_of_the_package_for_c(self):
        depends = self.field("python3-vellora", "Depends")
        for needed in ("python3 (>= 3.11)", f"libvellora-c1 (= {VERSION})"):
            self.assertIn(needed, depends)
        self.assertEqual(self.field("python3-vellora", "Architecture"), "all")
        modules = self.file("python3-vellora", "usr/lib/python3/dist-packages")
        self.assertEqual(list(modules.rglob("*.so*")), [])
        library = self.file("libvellora-c1", "usr/lib/libvellora-c.so.1")
        program = "import importlib.metadata, vellora; print(vellora.version(), importlib.metadata.version('vellora'))"
        told = subprocess.run([sys.executable, "-B", "-c", program], capture_output=True, text=True,
                              env=os.environ | {"PYTHONPATH": str(modules), "LD_LIBRARY_PATH": str(library.parent)})
        self.assertEqual((told.stdout, told.stderr), (f"{VERSION} {VERSION}\n", ""))

    @unittest.skipUnless(HAS_PYTHON, "the package for Python is not built")
    def test_the_module_for_python_is_compiled_where_it_is_installed(self):
        control, tools = self.root / "python-control", self.root / "tools"
        subprocess.run(["dpkg-deb", "-e", self.packages["python3-vellora"], control], check=True)
        tools.mkdir()
        for tool in ("py3compile", "py3clean"):
            (tools / tool).write_text('#!/bin/sh\necho "$(basename "$0") $*"\n')
            (tools / tool).chmod(0o755)
        for script, argument, call in (("postinst", "configure", "py3compile -p python3-vellora\n"),
                                       ("postinst", "abort-upgrade", ""), ("prerm", "remove", "py3clean -p python3-vellora\n")):
            told = subprocess.run([control / script, argument], capture_output=True, text=True, env={"PATH": f"{tools}:/usr/bin:/bin"})
            self.assertEqual((told.returncode, told.stdout, told.stderr), (0, call, ""))

    def test_the_command_comes_with_its_man_page_and_completions(self):
        program = self.file("vellora", "usr/bin/vellora")
        self.assertEqual(output(program, "--version"), f"vellora {VERSION}\n")
        page = gzip.decompress(self.file("vellora", "usr/share/man/man1/vellora.1.gz").read_bytes())
        self.assertTrue(page.startswith(b".TH VELLORA 1"))
        for path in ("bash-completion/completions/vellora", "zsh/vendor-completions/_vellora",
                     "fish/vendor_completions.d/vellora.fish"):
            self.file("vellora", f"usr/share/{path}")

    def test_owners_and_permissions_are_those_of_system_files(self):
        for package, listing in self.listings.items():
            for line in listing:
                mode, owner, path = line.split()[0], line.split()[1], line.split()[5]
                self.assertEqual(owner, "root/root", line)
                self.assertFalse(path.startswith("./usr/local"), line)
                if mode.startswith("d") or path == "./usr/bin/vellora":
                    self.assertEqual(mode[1:], "rwxr-xr-x", f"{package}: {line}")
                elif mode.startswith("-"):
                    self.assertEqual(mode, "-rw-r--r--", f"{package}: {line}")


if __name__ == "__main__":
    if shutil.which("dpkg-shlibdeps") is None:
        sys.exit("no dpkg-shlibdeps: install dpkg-dev, as scripts/setup does")
    unittest.main(argv=sys.argv[:1])
