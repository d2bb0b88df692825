#!/usr/bin/env python3
"""Shows that cmake/unity_groups.py puts together only what can be compiled together."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "cmake"))
import unity_groups  # noqa: E402


class UnityGroupsTest(unittest.TestCase):
    def test_sources_without_a_common_name_come_together(self):
        self.assertEqual(unity_groups.grouped(100, {"a": "struct A {\n", "b": "int b() {\n"}), {"a": 0, "b": 0})

    def test_sources_that_declare_the_same_name_do_not(self):
        for first, second in (
            ("struct Answer {\n", "class Answer final : public Base {\n"),
            ("constexpr std::string_view key = \"k\";\n", "const std::string key(\"k\");\n"),
            ("std::vector<int> all(int a) {\n", "Result<std::map<int, int>>\nall(int b) {\n"),
            ("template <class T>\nT made() {\n", "auto made = 1;\n"),
            ("using Names = int;\n", "enum class Names { a };\n"),
            ("#define TRIED 1\n", "#define TRIED 2\n"),
            ("void write(const char* text, int count) {\n", "bool write;\n"),
            ("MATCHER_P(isOne, value, \"\") {\n", "bool isOne(int a) {\n"),
        ):
            self.assertEqual(unity_groups.grouped(100, {"a": first, "b": second}), {"a": 0, "b": 1}, (first, second))

    def test_a_namespace_clashes_with_what_else_has_its_name_only(self):
        texts = {"a": "namespace vellora::plain {\n", "b": "namespace vellora {\n", "c": "int plain() {\n"}
        self.assertEqual(unity_groups.grouped(100, texts), {"a": 0, "b": 0, "c": 1})

    def test_a_name_of_a_helpers_header_clashes_with_another_one(self):
        headers = {"tests/A.h": "int made();\n", "tests/B.h": '#include "tests/A.h"\n'}
        texts = {"a": '#include "tests/B.h"\n', "b": '#include "tests/A.h"\n', "c": "int made() {\n"}
        self.assertEqual(unity_groups.grouped(100, texts, headers.get), {"a": 0, "b": 0, "c": 1})

    def test_a_source_may_define_what_its_header_declares(self):
        headers = {"tests/A.h": "int made();\n"}
        texts = {"A.cpp": '#include "tests/A.h"\nint made() {\n', "b": '#include "tests/A.h"\n'}
        self.assertEqual(unity_groups.grouped(100, texts, headers.get), {"A.cpp": 0, "b": 0})

    def test_a_header_that_defines_what_others_declare_comes_only_to_those_that_include_it(self):
        texts = {"a": "int a() {\n", "b": '#include "vellora/Platform/Json/JsonCodec.h"\n', "c": "int c() {\n"}
        self.assertEqual(unity_groups.grouped(100, texts), {"a": 0, "b": 1, "c": 0})

    def test_names_within_functions_and_classes_do_not_matter(self):
        texts = {"a": "void a() {\n  int same = 1;\n}\n", "b": "void b() {\n  int same = 1;\n}\n"}
        self.assertEqual(unity_groups.grouped(100, texts), {"a": 0, "b": 0})

    def test_tests_of_one_suite_may_come_together(self):
        self.assertEqual(unity_groups.grouped(100, {"a": "TEST(S, A) {\n", "b": "TEST(S, B) {\n"}), {"a": 0, "b": 0})

    def test_a_group_grows_to_its_limit_only(self):
        self.assertEqual(unity_groups.grouped(3, {"a": "\n\n", "b": "\n\n", "c": "\n"}), {"a": 0, "b": 1, "c": 0})

    def test_a_source_beyond_the_limit_comes_alone(self):
        self.assertEqual(unity_groups.grouped(1, {"a": "\n\n\n", "b": "\n"}), {"a": 0, "b": 1})


if __name__ == "__main__":
    unittest.main()
