#!/usr/bin/env python3
"""Fails when a pkg-config module for C++ does not say which standard its headers need. usage: pkg_config_test.py PREFIX COMPILER"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

PREFIX, COMPILER = sys.argv[1:3]
(CONFIGS,) = pathlib.Path(PREFIX).glob("lib*/**/pkgconfig")
ENVIRONMENT = os.environ | {"PKG_CONFIG_PATH": str(CONFIGS)}

REDIS_PROGRAM = """#include <iostream>
#include "hostkit/cache/redis/RedisCache.h"
int main() {
  using namespace vellora::hostkit;
  const auto cache = RedisCache::open("no address");
  if (cache || !RedisCache::open("redis://cache.example")) return 1;
  const bool isTold = cache.error().as<RedisCacheError>()->reason == RedisCacheError::Reason::invalidAddress;
  std::cout << (isTold ? "no address" : "another error") << '\\n';
}
"""


def flags(module):
    asked = subprocess.run(["pkg-config", "--cflags", module], env=ENVIRONMENT, capture_output=True, text=True, check=True)
    return asked.stdout.split()


def compiled(header, *options):
    return subprocess.run([COMPILER, *flags("vellora"), *options, "-fsyntax-only", "-x", "c++", "-"],
                          input=f"#include <{header}>\n", capture_output=True, text=True)


class PkgConfigTest(unittest.TestCase):
    def test_every_module_says_the_standard(self):
        modules = [file.stem for file in CONFIGS.glob("vellora*.pc") if file.stem != "vellora-c"]
        for module in ("vellora", "vellora-hostkit", "vellora-testkit", "vellora-conformance"):
            self.assertIn(module, modules)
        for module in modules:
            self.assertIn("-std=c++20", flags(module), module)

    @unittest.skipUnless((CONFIGS / "vellora-redishost.pc").exists(), "the cache in a Redis is not built")
    def test_a_program_with_the_cache_in_a_redis_builds_and_runs(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder) / "program"
            link = subprocess.run(["pkg-config", "--libs", "vellora-redishost"], env=ENVIRONMENT, capture_output=True, text=True, check=True)
            built = subprocess.run([COMPILER, *flags("vellora-redishost"), "-x", "c++", "-", "-x", "none", *link.stdout.split(), "-o", program],
                                   input=REDIS_PROGRAM, capture_output=True, text=True)
            self.assertEqual(built.returncode, 0, built.stderr)
            libraries = next(word[2:] for word in link.stdout.split() if word.startswith("-L"))
            told = subprocess.run([program], env=ENVIRONMENT | {"LD_LIBRARY_PATH": libraries}, capture_output=True, text=True)
        self.assertEqual((told.returncode, told.stdout), (0, "no address\n"), told.stderr)

    def test_a_later_standard_may_stand_behind_it(self):
        done = compiled("vellora/Catalog/Catalog.h", "-std=c++2b")
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_for_an_older_standard_the_headers_say_what_is_needed(self):
        for header in ("vellora/Catalog/Catalog.h", "hostkit/StandardPlatformAPI.h", "vellora/Host/Network.h"):
            done = compiled(header, "-std=c++17")
            self.assertNotEqual(done.returncode, 0)
            first = next(line for line in done.stderr.splitlines() if "error" in line)
            self.assertIn("Vellora needs C++20 or later: compile with -std=c++20", first)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
