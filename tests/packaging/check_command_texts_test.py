#!/usr/bin/env python3
"""Shows that check_command_texts.py finds what it is there for."""

import unittest

import check_command_texts as check

HELP = {
    (): "Usage\n\nOptions:\n  -h, --help   Print\n\nServer:\n  --server URL\n        A server; --not-here is text of the "
    "description\n        [VELLORA_SERVER]\n\nSubcommands:\n  cache    A cache\n\nExit codes: 0\n",
    ("cache",): "Options:\n  -h, --help   Print\n\nSubcommands:\n  ls    Lists\n",
    ("cache", "ls"): "Options:\n  -h, --help   Print\n  --no-color   Plain\n\nExit codes: 0\n",
}
WORDS = {"--help", "--server", "--no-color", "cache", "ls", "VELLORA_SERVER"}


class CheckCommandTextsTest(unittest.TestCase):
    def found(self, path, text):
        return list(check.problems(WORDS, {path: text}))

    def test_commands_and_options_are_read_at_every_depth(self):
        self.assertEqual(check.words_of(lambda *command: HELP[command]), WORDS)

    def test_a_whole_document_is_fine(self):
        self.assertEqual(self.found("vellora.1", r"\-\-help \-\-server \-\-no\-color .B cache ls VELLORA_SERVER"), [])
        self.assertEqual(self.found("vellora.fish", "set -l all cache ls\ncomplete -l help -l server -l no-color"), [])
        self.assertEqual(self.found("_vellora", "'--help[x]' '--server[y]' '--no-color' 'cache:z' 'ls:z'"), [])

    def test_a_missing_option_is_found(self):
        self.assertEqual(self.found("vellora.1", r"\-\-help \-\-server cache ls VELLORA_SERVER"),
                         ["vellora.1: lacks --no-color"])
        self.assertEqual(self.found("_vellora", "--help --server --no-colors cache ls")[0], "_vellora: lacks --no-color")

    def test_a_missing_command_is_found(self):
        self.assertEqual(self.found("vellora.fish", "complete -l help -l server -l no-color cache"), ["vellora.fish: lacks ls"])

    def test_a_variable_that_the_man_page_lacks_or_makes_up_is_found(self):
        self.assertEqual(self.found("vellora.1", r"\-\-help \-\-server \-\-no\-color cache ls VELLORA_OLD"),
                         ["vellora.1: lacks VELLORA_SERVER", "vellora.1: has VELLORA_OLD, which the command does not know"])

    def test_an_option_that_is_no_more_is_found(self):
        self.assertEqual(
            self.found("vellora", "--help --server --no-color --old cache ls"),
            ["vellora: has --old, which the command does not know"],
        )


if __name__ == "__main__":
    unittest.main()
