#!/usr/bin/env python3
"""Shows that check_layers.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_layers


class CheckLayersTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def problems(self):
        return list(check_layers.problems(self.root))

    def test_an_include_along_the_layers_is_fine(self):
        self.write("vellora/DataServices/A.cpp", '#include "vellora/DataServices/A.h"\n#include "vellora/Host/Cache.h"\n')
        self.write("hostkit/B.h", "#include <vellora/Services/VelloraService.h>\n#include <vector>\n")
        self.assertEqual(self.problems(), [])

    def test_an_include_against_the_layers_is_found(self):
        self.write("vellora/Models/A.h", '#pragma once\n#  include "vellora/DataServices/B.h"\n')
        self.assertEqual(
            self.problems(),
            ["vellora/Models/A.h: includes vellora/DataServices/B.h, but vellora/Models must not include vellora/DataServices"],
        )

    def test_the_library_must_not_include_the_host_kit(self):
        self.write("vellora/Services/A.cpp", "#include <hostkit/cache/memory/MemoryCache.h>\n")
        self.assertEqual(len(self.problems()), 1)

    def test_models_and_host_do_not_know_each_other(self):
        self.write("vellora/Models/A.cpp", '#include "vellora/Host/Cache.h"\n')
        self.write("vellora/Host/B.cpp", '#include "vellora/Models/A.h"\n')
        self.assertEqual(len(self.problems()), 2)

    def test_a_relative_include_is_found(self):
        self.write("vellora/Models/A.cpp", '#include "A.h"\n')
        self.assertIn("no path from the root", self.problems()[0])

    def test_an_installed_header_with_a_third_party_include_is_found(self):
        self.write("hostkit/CMakeLists.txt", "vellora_public_headers(vellora_hostkit\n  A.h\n)\n")
        self.write("hostkit/A.h", "#include <sqlite3.h>\n")
        self.write("hostkit/Internal.h", "#include <sqlite3.h>\n")
        self.assertEqual(self.problems(), ["hostkit/A.h: is installed, but includes the third-party sqlite3.h"])

    def test_an_installed_class_or_function_without_a_mark_is_found(self):
        self.write("hostkit/CMakeLists.txt", "vellora_public_headers(vellora_hostkit A.h)\n")
        self.write(
            "hostkit/A.h",
            "\nclass Forward;\nclass VELLORA_EXPORT Marked {\n};\nclass Bare final : public Marked {\n};\n"
            "template <class T>\nclass Template {\n};\n\n[[nodiscard]] VELLORA_EXPORT int marked();\n"
            "[[nodiscard]] const std::map<int, int>& bare(int a,\n    int b);\ninline int defined() {\n}\n",
        )
        self.assertEqual(
            self.problems(),
            [f"hostkit/A.h: is installed, but {name} is not marked VELLORA_EXPORT" for name in ("Bare", "bare")],
        )

    def test_an_installed_header_with_an_internal_include_is_found(self):
        self.write("hostkit/CMakeLists.txt", "vellora_public_headers(vellora_hostkit A.h)\n")
        self.write("hostkit/A.h", '#include "hostkit/Internal.h"\n')
        self.assertEqual(self.problems(), ["hostkit/A.h: is installed, but includes the internal hostkit/Internal.h"])


if __name__ == "__main__":
    unittest.main()
