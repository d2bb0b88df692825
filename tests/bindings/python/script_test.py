#!/usr/bin/env python3
"""The script that every language's binding runs. usage: script_test.py SCRIPT"""

import dataclasses
import enum
import json
import pathlib
import re
import sys
import unittest
from concurrent.futures import CancelledError, Future
from urllib.parse import unquote_to_bytes

from scripted_network import ScriptedNetwork
from vellora import Answer, Catalog, NetworkError, Readiness, Source, TypeChange

SCRIPT = pathlib.Path(sys.argv[1])
MOST_LEFT_OUT = 1
NO_DEADLINE = 600  # where a line says none: on a busy machine the default may come too early
METHODS = {"records": "records", "types": "types", "allTypes": "all_types", "searchColumns": "search_columns",
           "headlines": "headlines", "refresh": "refresh"}


def camel(name):
    first, *rest = name.split("_")
    return first + "".join(word.capitalize() for word in rest)


def plain(value):
    """What the typed form of a document says, as its JSON would."""
    if isinstance(value, tuple):
        return [plain(each) for each in value]
    if isinstance(value, enum.Enum):
        return value.value
    if dataclasses.is_dataclass(value):
        members = {camel(member.name): getattr(value, member.name) for member in dataclasses.fields(value)}
        return {name: plain(member) for name, member in members.items() if member is not None}
    return value


def moment(age):
    fetched = {} if age.fetched is None else {"fetched": age.fetched.strftime("%Y-%m-%dT%H:%M:%SZ")}
    return fetched if age.is_stale is None else fetched | {"stale": age.is_stale}


def document_of(answer):
    """The answer written anew from its typed form."""
    content = lambda value: {"change" if isinstance(value, TypeChange) else "record": plain(value)}
    why = lambda missing: {"code": missing.why.value} | {
        name: value for name, value in (("text", missing.text), ("request", missing.request)) if value is not None}
    return {
        "question": answer.question,
        "end": answer.end.value,
        "found": [{"key": key} | content(value) | moment(answer.ages[key]) for key, value in answer.found.items()],
        "missing": [{"key": key} | why(missing) for key, missing in answer.missing.items()],
        **({} if answer.trouble is None else {"trouble": plain(answer.trouble)}),
        **moment(answer.age),
    }


class Script:
    """Performs its lines; `check` is called with what was expected and what was kept."""

    def __init__(self, test):
        self._test = test
        self._catalog = None
        self._is_without_us = False
        self.expectations = 0
        self.left_out = 0

    def close(self):
        if self._catalog is not None:
            self._catalog.close()

    def perform(self, where, word, rest):
        self._where = where
        if not self._is_without_us or word == "case":
            getattr(self, "do_" + word)(rest)
        elif word == "expect":
            self.left_out += 1

    def do_case(self, _):
        self.close()
        self._is_without_us = False
        self._network = ScriptedNetwork()
        self._catalog = Catalog(network=self._network, load_late=True, attempts=2)

    def do_without(self, rest):
        self._is_without_us = "python" in rest.split(" ")

    def do_server(self, rest):
        url, body = rest.split(" ", 1)
        self._network.answer(url, body.encode())

    def do_refuses(self, rest):
        url, text = rest.split(" ", 1)
        self._network.answer(url, NetworkError(text))

    def do_busy(self, rest):
        url, text = rest.split(" ", 1)
        self._network.be_busy_once(url, NetworkError(text, retry_after=0))

    def do_silent(self, url):
        self._network.silence(url)

    def do_ask(self, rest):
        self._keep(self._asked(rest).result())

    def do_listen(self, rest):
        told = Future()
        self._asked(rest).add_done_callback(lambda question: told.set_result(question.result()))
        self._keep(told.result())

    def do_cancel(self, rest):
        self._give_up(rest, lambda question: question.cancel())

    def do_close(self, rest):
        self._give_up(rest, lambda question: self._catalog.close())

    def do_watch(self, rest):
        self._watch = self._catalog.watch_readiness() if rest == "readiness" else self._asked(rest, "watch_")
        self.do_again(rest)

    def do_again(self, _):
        self._keep_either(next(self._watch))

    def do_state(self, _):
        self._keep_either(self._catalog.readiness())

    def do_forget(self, _):
        self._catalog.forget()

    def do_release(self, _):
        self._catalog.release_memory()

    def do_sent(self, _):
        self._kept = " ".join(self._network.take_sent())

    def do_expect(self, rest):
        self.expectations += 1
        self._test.assertEqual(re.sub(r'"fetched":"[^"]*"', '"fetched":"T"', self._kept), rest, self._where)

    def _keep_either(self, told):
        if isinstance(told, Readiness):
            self._kept = json.dumps({"question": "readiness"} | plain(told), ensure_ascii=False, separators=(",", ":"))
        else:
            self._keep(told)

    def _keep(self, answer):
        self._kept = answer.document
        self._test.assertIsInstance(answer, Answer)
        self._test.assertEqual(document_of(answer), json.loads(answer.document), self._where)

    def _give_up(self, rest, end):
        question = self._asked(rest)
        self._network.await_silent()
        end(question)
        self._test.assertTrue(question.cancelled())
        try:
            self._keep(question.result())
        except CancelledError:
            self._kept = "nothing"

    def _asked(self, rest, prefix=""):
        kind, *words = rest.split(" ")
        keys = [self._key(word) for word in words if not word.startswith("@")]
        options = dict(word[1:].split("=", 1) for word in words if word.startswith("@"))
        options["deadline"] = float(options.get("deadline", NO_DEADLINE))
        if "source" in options:
            options["source"] = Source[re.sub("([A-Z])", r"_\1", options["source"]).upper()]
        takes_keys = kind not in ("allTypes", "refresh")
        return getattr(self._catalog, prefix + METHODS[kind])(*([keys] if takes_keys else []), **options)

    @staticmethod
    def _key(word):
        """%XX is the byte with that number; one that is not UTF-8 stands as Python writes such bytes in texts."""
        return "" if word == "(empty)" else unquote_to_bytes(word).decode(errors="surrogateescape")


class ScriptTest(unittest.TestCase):
    def test_it_comes_to_what_the_script_says(self):
        script = Script(self)
        self.addCleanup(script.close)
        for number, line in enumerate(SCRIPT.read_text().splitlines(), 1):
            if line and not line.startswith("#"):
                word, _, rest = line.partition(" ")
                script.perform(f"line {number}", word, rest)
        there = len(re.findall("^expect", SCRIPT.read_text(), re.M))
        self.assertEqual(script.expectations + script.left_out, there)
        self.assertLessEqual(script.left_out, MOST_LEFT_OUT)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
