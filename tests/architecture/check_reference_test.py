#!/usr/bin/env python3
"""Shows that check_reference.py finds what it is there for."""

import pathlib
import tempfile
import unittest

import check_reference


class CheckReferenceTest(unittest.TestCase):
    def problems(self, index):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "index.html").write_text(index)
            (root / "guide.html").write_text('<h1><a class="anchor" id="begin"></a>Begin</h1>')
            (root / "picture.png").write_bytes(b"")
            return list(check_reference.problems(root))

    def test_what_is_there_is_fine(self):
        self.assertEqual(self.problems(
            '<img class="inline" src="picture.png"/> <a class="el" href="guide.html#begin">begin</a> '
            '<a href="https://elsewhere.example/gone">elsewhere</a> <a id="here"></a><a href="#here">here</a>'), [])

    def test_a_picture_that_is_not_there_is_found(self):
        self.assertEqual(self.problems('<img alt="it" src="docs/picture.png"/>'),
                         ["index.html: leads to docs/picture.png, which is not there"])

    def test_a_page_and_a_place_that_are_not_there_are_found(self):
        self.assertEqual(len(self.problems('<a href="guide.md#begin">begin</a>')), 1)
        self.assertEqual(len(self.problems('<a href="guide.html#end">end</a>')), 1)
        self.assertEqual(len(self.problems('<a href="#nowhere">nowhere</a>')), 1)


if __name__ == "__main__":
    unittest.main()
