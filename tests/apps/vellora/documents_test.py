#!/usr/bin/env python3
"""Fails when a document that the command prints is not as its schema says.

usage: documents_test.py VELLORA RECORDS-SERVER ROOT

The documents are those of the program itself, against the demo server.
"""

import copy
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
import warnings

import jsonschema

sys.path.insert(0, str(pathlib.Path(__file__).parent / "explore"))
from programs import RecordsServer  # noqa: E402

VELLORA, RECORDS_SERVER, ROOT = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3])
FOLDER = ROOT / "docs/schemas"
SCHEMAS = {str(file.relative_to(FOLDER)): json.loads(file.read_text()) for file in FOLDER.rglob("*.json")}
BASE = "https://vellora.example/schemas/"  # against which their ids are read
OF_COMMAND = {name for name in SCHEMAS if name.startswith("command/")}


def validator(name):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)  # of versions later than Debian's
        resolver = jsonschema.RefResolver(BASE + name, SCHEMAS[name], {BASE + other: SCHEMAS[other] for other in SCHEMAS})
    return jsonschema.Draft202012Validator(SCHEMAS[name], resolver=resolver)


class DocumentsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.cache = pathlib.Path(cls.folder.name) / "cache.sqlite"
        cls.server = RecordsServer(RECORDS_SERVER)
        cls.used = set()

    @classmethod
    def tearDownClass(cls):
        cls.server.stop()
        cls.folder.cleanup()

    def run_command(self, *words):
        return self.run_at(self.server.url, self.cache, *words)

    def run_without_server(self, *words):
        return self.run_at("http://127.0.0.1:1", f"{self.cache}-2", *words)

    @staticmethod
    def run_at(server, cache, *words):
        command = [VELLORA, "--server", server, "--cache", cache, *words]
        return subprocess.run(command, capture_output=True, text=True)

    def check(self, name, text):
        document = json.loads(text)
        validator(name).validate(document)
        self.used.add(name)
        if isinstance(document, dict) and SCHEMAS[name].get("additionalProperties") is False:
            more = {**copy.deepcopy(document), "unheardOf": 1}
            self.assertFalse(validator(name).is_valid(more), "a member that the schema does not know")
        return document

    def expect(self, name, *words, code=0):
        ended = self.run_command(*words)
        self.assertEqual(ended.returncode, code, (words, ended.stderr))
        return self.check(name, ended.stdout)

    def expect_lines(self, name, *words):
        lines = self.run_command("--output", "jsonl", *words).stdout.splitlines()
        self.assertNotEqual(lines, [], words)
        for line in lines:
            self.check(name, line)

    def test_each_schema_is_one(self):
        for schema in SCHEMAS.values():
            jsonschema.Draft202012Validator.check_schema(schema)

    def test_each_document_is_as_its_schema_says_and_each_schema_is_of_one(self):
        self.dictionaries()
        self.whole_answers()
        self.rows()
        self.status()
        self.cache_commands()
        self.assertEqual(OF_COMMAND - self.used, set())

    def dictionaries(self):
        presentations = "command/presentations.json"
        for words in (("ids", "001000000000009", "00B000000000001"), ("names", "Account", "Contact"), ("list",)):
            self.assertGreater(len(self.expect(presentations, "--json", *words)), 0)
        self.assertEqual(self.expect(presentations, "--json", "names", "Nonsense", code=3), {})
        self.expect("command/search-layouts.json", "--json", "search-layouts", "Account", "Contact")
        self.expect("command/compact-layouts.json", "--json", "compact-layouts", "Account", "Contact")
        nobody = self.run_without_server("--json", "ids", "x")
        self.assertIsNone(self.check(presentations, nobody.stdout))

    def whole_answers(self):
        asked = {
            "records.json": ("ids", "00B000000000001", "001000000000009", "zzz"),
            "types.json": ("names", "Contact", "Account", "Nonsense"),
            "searchColumns.json": ("search-layouts", "Contact", "Account", "Nonsense"),
            "headlines.json": ("compact-layouts", "Contact", "Account", "Nonsense"),
        }
        for name, (command, *keys) in asked.items():
            document = self.expect(name, "-o", "json", command, *keys, code=3)
            self.assertEqual([found["key"] for found in document["found"]], keys[:-1], "in the order asked")
            self.assertEqual([missing["key"] for missing in document["missing"]], keys[-1:])
        self.expect("allTypes.json", "-o", "json", "list")
        failed = self.run_without_server("-o", "json", "search-layouts", "Account")
        self.assertEqual(self.check("searchColumns.json", failed.stdout)["missing"][0]["code"], "failed")

    def rows(self):
        self.expect_lines("command/type-row.json", "list")
        self.expect_lines("command/type-row.json", "ids", "00B000000000001")
        self.expect_lines("command/search-column-row.json", "search-layouts", "Account", "Contact")
        self.expect_lines("command/headline-row.json", "compact-layouts", "Account", "Contact")
        self.expect_lines("command/cache-entry-row.json", "cache", "ls")

    def status(self):
        self.expect("command/status.json", "--json", "status")
        self.expect("command/status.json", "-o", "json", "--offline", "status")
        failed = self.run_without_server("--json", "status")
        self.assertIn("error", self.check("command/status.json", failed.stdout))

    def cache_commands(self):
        listing = self.expect("command/cache-ls.json", "--json", "cache", "ls")
        entries = [entry["entry"] for entry in listing["blobs"]]
        entries += [row["entry"] for table in listing["tables"] for row in table["rows"]]
        shown = self.expect("command/cache-show.json", "--json", "cache", "show", *entries)
        self.assertEqual(set(shown), set(entries))
        self.assertIsInstance(shown["OPS_Layout_Account"], dict, "JSON, and no text that holds it")
        self.differences()
        self.expect("command/cache-verify.json", "--json", "cache", "verify")
        self.expect("command/cache-purge.json", "--json", "cache", "purge", entries[0])
        self.expect("command/cache-delete.json", "--json", "cache", "delete")
        self.kept_files()

    def differences(self):
        self.expect("command/diff.json", "--json", "diff", str(self.cache), str(self.cache))
        empty = f"{self.cache}-3"
        self.assertEqual(self.run_at(self.server.url, empty, "search-layouts", "Account").returncode, 0)
        document = self.expect("command/diff.json", "--json", "diff", empty, str(self.cache), code=1)
        for difference in document["differences"]:
            self.check("command/difference.json", json.dumps(difference))
        self.expect_lines("command/difference-row.json", "diff", empty, str(self.cache))
        watched = self.run_at(self.server.url, self.cache_of_another_server(), "--json", "watch", "--times", "1")
        self.assertEqual(watched.returncode, 0, watched.stderr)
        self.assertNotEqual(watched.stdout, "")
        for line in watched.stdout.splitlines():
            self.check("command/watch-row.json", line)

    def cache_of_another_server(self):
        """A file that belongs to nobody yet, and holds other types than the demo server has."""
        archive, filled, given = (f"{self.cache}-{name}" for name in ("archive", "filled", "given"))
        other = RecordsServer(RECORDS_SERVER, "--types", "3")
        self.assertEqual(self.run_at(other.url, filled, "list").returncode, 0)
        other.stop()
        for words in (["--cache", filled, "cache", "export", archive], ["--cache", given, "cache", "import", archive]):
            subprocess.run([VELLORA, *words], check=True)
        return given

    def kept_files(self):
        home = {"HOME": self.folder.name, "PATH": "/usr/bin:/bin"}

        def run(*words):
            return subprocess.run([VELLORA, *words], capture_output=True, text=True, env=home)

        self.assertEqual(run("--server", self.server.url, "list").returncode, 0)
        self.assertEqual(len(self.check("command/cache-ls-all.json", run("--json", "cache", "ls", "--all").stdout)), 1)
        purged = self.check("command/cache-purge-all.json", run("--json", "cache", "purge", "--all").stdout)
        self.assertGreater(purged[0]["deleted"], 0)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
