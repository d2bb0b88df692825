#!/usr/bin/env python3
"""Fails when a shared library offers what is not ours, or lacks the name of its ABI. usage: exports_test.py PREFIX"""

import pathlib
import re
import subprocess
import sys
import unittest

(LIBRARIES,) = {file.parent for file in pathlib.Path(sys.argv[1]).glob("lib*/**/libvellora.so")}

OURS = re.compile(r"((typeinfo|typeinfo name|vtable) for |non-virtual thunk to )?(vellora|CorvaneSDK)::")


def offered(library):
    listed = subprocess.run(["nm", "-DC", "--defined-only", library], capture_output=True, text=True, check=True)
    return [line.split(" ", 2)[2] for line in listed.stdout.splitlines()]


class ExportsTest(unittest.TestCase):
    def check(self, name, known):
        symbols = offered(LIBRARIES / name)
        self.assertIn(known, symbols)
        self.assertEqual([symbol for symbol in symbols if not OURS.match(symbol)], [])

    def test_the_library_hides_what_it_is_built_on(self):
        self.check("libvellora.so", "vellora::VelloraService::primedAndCached() const")

    def test_the_host_kit_hides_what_it_is_built_on(self):
        self.check("libvellora-hostkit.so", "vellora::hostkit::MemoryCache::load(std::__cxx11::basic_string<char, "
                   "std::char_traits<char>, std::allocator<char> > const&)")

    @unittest.skipUnless((LIBRARIES / "libvellora-redishost.so").exists(), "the cache in a Redis is not built")
    def test_the_redis_host_hides_what_it_is_built_on(self):
        self.check("libvellora-redishost.so", "vellora::hostkit::RedisCache::clear()")
        symbols = offered(LIBRARIES / "libvellora-redishost.so")
        self.assertEqual([symbol for symbol in symbols if "RedisStore::" in symbol or "Checksum::" in symbol], [])

    def test_internal_classes_are_hidden(self):
        symbols = offered(LIBRARIES / "libvellora-hostkit.so")
        self.assertEqual([symbol for symbol in symbols if "SQLiteStatement::" in symbol], [])

    def test_each_name_carries_the_version_of_the_abi(self):
        names = ["libvellora", "libvellora-hostkit"]
        names += ["libvellora-redishost"] if (LIBRARIES / "libvellora-redishost.so").exists() else []
        for name in names:
            told = subprocess.run(["objdump", "-p", LIBRARIES / f"{name}.so"], capture_output=True, text=True, check=True)
            soname = re.search(r"SONAME\s+(\S+)", told.stdout)[1]
            self.assertRegex(soname, rf"^{name}\.so\.(0\.)?\d+$")
            self.assertTrue((LIBRARIES / soname).exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
