#!/usr/bin/env python3
"""Shows that check_records.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_records

RECORD = """struct VELLORA_EXPORT Outer {
  struct Inner {
    static constexpr std::string_view recordName = "Inner";
  };
  struct Constants {
    int size;
  };

  static constexpr std::string_view recordName = "Outer";
};
"""


class CheckRecordsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        self.write("vellora/Models/Outer.h", RECORD)
        self.write("vellora/Models/CMakeLists.txt", "vellora_public_headers(vellora_models\n  Outer.h\n)\n")
        self.write("vellora/Platform/CMakeLists.txt", "vellora_public_headers(vellora_platform\n  Json.h\n)\n")
        self.write("vellora/Platform/Json.h", "template <class T>\nstruct Codec;\n")
        self.list("Outer::Inner, Outer")

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def list(self, records):
        self.write(check_records.LIST, f"using AllRecords = testing::Types<{records}>;\n")

    def problems(self):
        return list(check_records.problems(self.root))

    def test_records_that_are_listed_are_fine(self):
        self.assertEqual(self.problems(), [])

    def test_a_record_that_is_not_listed_is_found(self):
        self.list("Outer::Inner")
        self.assertEqual(self.problems(), [f"vellora/Models/Outer.h: Outer is missing in {check_records.LIST}"])

    def test_a_record_within_another_is_found(self):
        self.list("Outer")
        self.assertEqual(self.problems(), [f"vellora/Models/Outer.h: Outer::Inner is missing in {check_records.LIST}"])

    def test_no_records_at_all_are_a_problem(self):
        self.write("vellora/Models/Outer.h", "")
        self.assertEqual(self.problems(), ["vellora/Models: has no record"])

    def test_what_nobody_outside_can_call_is_found_in_installed_headers_alone(self):
        form = "bool decodeJson(const json::Reader& reader);\n"
        self.write("vellora/Models/OuterCodec.h", form)
        self.assertEqual(self.problems(), [])
        self.write("vellora/Platform/Json.h", form)
        self.assertEqual(self.problems(), ["vellora/Platform/Json.h: shows decodeJson, which nobody outside can call"])


if __name__ == "__main__":
    unittest.main()
