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

    def test_an_include_along_the_rooms_is_fine(self):
        self.write("vellora/Platform/Json/A.h", '#include "vellora/Platform/Text/Utf8.h"\n#include "vellora/Platform/Json/B.h"\n')
        self.write("vellora/Platform/Publishers/A.h", '#include "vellora/Platform/Publishers/detail/B.h"\n')
        self.write("hostkit/cache/sqlite/A.cpp", '#include "hostkit/cache/rows/B.h"\n')
        self.write("hostkit/A.cpp", '#include "hostkit/network/B.h"\n')
        self.assertEqual(self.problems(), [])

    def test_an_include_against_the_rooms_is_found(self):
        self.write("vellora/Platform/Publishers/detail/A.h", '#include "vellora/Platform/Json/B.h"\n')
        self.write("hostkit/cache/rows/C.cpp", '#include "hostkit/cache/sqlite/D.h"\n')
        self.assertEqual(
            self.problems(),
            [
                "hostkit/cache/rows/C.cpp: includes hostkit/cache/sqlite/D.h, but hostkit/cache/rows must not include "
                "hostkit/cache/sqlite",
                "vellora/Platform/Publishers/detail/A.h: includes vellora/Platform/Json/B.h, but "
                "vellora/Platform/Publishers must not include vellora/Platform/Json",
            ],
        )

    def test_a_file_in_no_room_is_found(self):
        self.write("vellora/Platform/A.h", '#include "vellora/Platform/Values/B.h"\n')
        self.write("vellora/Platform/Odds/B.h", "#pragma once\n")
        self.write("vellora/Platform/Values/C.h", '#include "vellora/Platform/Odds/B.h"\n')
        self.assertEqual(
            self.problems(),
            [
                "vellora/Platform/A.h: vellora/Platform has no room for it",
                "vellora/Platform/Odds/B.h: vellora/Platform has no room for it",
                "vellora/Platform/Values/C.h: includes vellora/Platform/Odds/B.h, which is in no room",
            ],
        )

    def test_a_header_from_any_room_may_be_included_by_other_layers(self):
        self.write("vellora/Host/A.h", "#include <vellora/Platform/Web/URL.h>\n")
        self.assertEqual(self.problems(), [])

    def test_tests_of_a_folder_that_is_not_there_are_found(self):
        self.write("vellora/Host/A.h", "#pragma once\n")
        for folder in ("vellora/Host", "vellora/Gone", "integration"):
            self.write(f"tests/{folder}/ATest.cpp", "\n")
        self.assertEqual(self.problems(), ["tests/vellora/Gone: mirrors no folder vellora/Gone"])

    def test_a_relative_include_is_found(self):
        self.write("vellora/Models/A.cpp", '#include "A.h"\n')
        self.assertIn("no path from the root", self.problems()[0])

    def test_an_installed_header_with_a_third_party_include_is_found(self):
        self.write("hostkit/CMakeLists.txt", "vellora_public_headers(vellora_hostkit\n  A.h\n)\n")
        self.write("hostkit/A.h", "#include <sqlite3.h>\n")
        self.write("hostkit/Internal.h", "#include <sqlite3.h>\n")
        self.assertEqual(self.problems(), ["hostkit/A.h: is installed, but includes the third-party sqlite3.h"])

    def test_an_app_that_includes_an_internal_header_is_found(self):
        self.write("hostkit/CMakeLists.txt", "vellora_public_headers(vellora_hostkit cache/A.h)\n")
        self.write("vellora/Platform/CMakeLists.txt", "vellora_public_headers(vellora_platform\n  Json/B.h\n)\n")
        self.write("apps/vellora/command/C.cpp", '#include "hostkit/cache/A.h"\n#include <vellora/Platform/Json/B.h>\n')
        self.assertEqual(self.problems(), [])
        self.write("apps/vellora/command/C.cpp", '#include "hostkit/cache/Internal.h"\n')
        self.write("apps/http/D.h", '#include "vellora/Platform/Json/Internal.h"\n#include "apps/http/E.h"\n')
        self.assertEqual(
            self.problems(),
            [
                "apps/http/D.h: includes vellora/Platform/Json/Internal.h, which is not installed",
                "apps/vellora/command/C.cpp: includes hostkit/cache/Internal.h, which is not installed",
            ],
        )

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
