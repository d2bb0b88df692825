#!/usr/bin/env python3
"""Shows that check_dependencies.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_dependencies


class CheckDependenciesTest(unittest.TestCase):
    def problems(self, document, packages, licences=None):
        """`licences` are the lines of that table; None has one for each package."""
        if licences is None:
            licences = "".join(f"| `{package}` | free |\n" for package in packages)
        tables = ["| package | who uses it |\n|---|---|\n" + document]
        tables.append("\n## Licences\n\n| package | licence |\n|---|---|\n" + licences)
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name in ("docs", "scripts"):
                (root / name).mkdir()
            (root / "docs/dependencies.md").write_text("".join(tables))
            setup = root / "scripts/setup"
            setup.write_text(f'#!/bin/sh\n[ "$*" = "--list all" ] && printf "%s\\n" {" ".join(packages)}\n')
            setup.chmod(0o755)
            return list(check_dependencies.problems(root))

    def test_the_same_packages_are_fine(self):
        self.assertEqual(self.problems("| `one` (a part), `two` | `x` |\n| `three` | `y` |\n", ["one", "two", "three"]), [])

    def test_a_package_without_a_reason_is_found(self):
        self.assertEqual(self.problems("| `one` | x |\n", ["one", "two"]), ["docs/dependencies.md: says nothing of two"])

    def test_a_package_that_is_not_installed_is_found(self):
        self.assertEqual(self.problems("| `one`, `two` | x |\n", ["one"]), ["scripts/setup: does not install two"])

    def test_a_package_with_two_reasons_is_found(self):
        self.assertEqual(self.problems("| `one` | x |\n| `one` | y |\n", ["one"]),
                         ["docs/dependencies.md: names one more than once"])

    def test_a_package_without_a_licence_is_found(self):
        self.assertEqual(self.problems("| `one`, `two` | x |\n", ["one", "two"], licences="| `one` | free |\n"),
                         ["docs/dependencies.md: gives no licence of two"])

    def test_a_licence_of_what_is_not_installed_is_found(self):
        self.assertEqual(self.problems("| `one` | x |\n", ["one"], licences="| `one`, `two` | free |\n"),
                         ["scripts/setup: does not install two"])

    def test_two_licences_of_a_package_are_found(self):
        self.assertEqual(self.problems("| `one` | x |\n", ["one"], licences="| `one` | free |\n| `one` | not |\n"),
                         ["docs/dependencies.md: names one more than once"])


if __name__ == "__main__":
    unittest.main()
