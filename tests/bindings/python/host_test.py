"""What a host may give and do."""

import logging
import threading
import unittest
from concurrent.futures import Future, ThreadPoolExecutor

from scripted_network import COLUMNS, COLUMNS_URL, THEMES_URL, TYPES_URL, ScriptedNetwork
from vellora import Catalog, End, NetworkError, Source, VelloraError


class Unprintable(Exception):
    def __str__(self):
        raise RuntimeError("no words")


class Exiting(Exception):
    def __str__(self):
        raise SystemExit(3)


class Deaf(Future):
    """One that takes the callback, calls it, and raises."""

    def add_done_callback(self, callback):
        self.set_result(COLUMNS)
        callback(self)
        raise RuntimeError("nobody is called")


class Mute(Future):
    def add_done_callback(self, callback):
        raise RuntimeError("nobody is called")


def released():
    view = memoryview(COLUMNS)
    view.release()
    return view


def done_with(body):
    done = Future()
    done.set_result(body)
    return done


class HostTest(unittest.TestCase):
    def setUp(self):
        self.network = ScriptedNetwork.of_accounts()

    def ask(self, answer, **options):
        self.network.answer(COLUMNS_URL, answer)
        with Catalog(network=self.network, load_late=True, **({"attempts": 1} | options)) as catalog:
            return catalog.search_columns(["Account"], deadline=600).result()

    def test_a_network_gives_bytes_of_any_sort(self):
        for body in (COLUMNS, bytearray(COLUMNS), memoryview(COLUMNS)):
            self.assertIs(self.ask(body).end, End.ANSWERED)

    def test_a_network_gives_a_future(self):
        with ThreadPoolExecutor(1) as pool:
            self.assertIs(self.ask(lambda: pool.submit(lambda: COLUMNS)).end, End.ANSWERED)

    def test_whatever_a_network_does_wrong_fails_the_request_only(self):
        cancelled = Future()
        cancelled.cancel()
        for answer, words in (
            (ValueError("broken"), "ValueError: broken"),
            (NetworkError("n\0 signal \udcff"), r"n\? signal \?"),
            (Unprintable(), "Unprintable"),
            (Exiting(), "Exiting"),
            (NetworkError("later", "not a number"), "later"),
            (NetworkError("later", 10**400), "later"),
            (SystemExit(3), "SystemExit"),
            (lambda: None, "no bytes, but an object of type NoneType"),
            (lambda: "text", "no bytes, but an object of type str"),
            (cancelled, "cancelled"),
            (done_with(Future()), "Future of a Future"),
            (done_with("text"), "no bytes, but an object of type str"),
            (released, "released memoryview"),
            (done_with(released()), "released memoryview"),
            (Mute, "nobody is called"),
        ):
            with self.subTest(words):
                answered = self.ask(answer)
                self.assertIs(answered.end, End.FAILED)
                self.assertRegex(str(answered.trouble), words)

    def test_the_first_reply_to_a_request_counts(self):
        self.assertIs(self.ask(Deaf).end, End.ANSWERED)

    def test_a_request_is_sent_again_only_where_that_may_help(self):
        for retry_after, requests in ((0, 2), (None, 1)):
            self.network.take_sent()
            self.ask(NetworkError("busy", retry_after), attempts=2)
            self.assertEqual(self.network.take_sent(), [COLUMNS_URL] * requests)

    def test_a_host_that_closes_the_catalogue_is_told_not_to(self):
        told = []

        def close():
            try:
                catalog.close()
            except VelloraError as error:
                told.append(str(error))
            return COLUMNS

        self.network.answer(COLUMNS_URL, close)
        with Catalog(network=self.network, load_late=True) as catalog:
            self.assertIs(catalog.search_columns(["Account"]).result().end, End.ANSWERED)
        self.assertEqual(told, ["A host's function must not close a catalogue."])

    def test_a_logger_gets_lines_and_may_raise(self):
        lines = []

        def log(is_error, line):
            lines.append((is_error, line))
            raise RuntimeError("the disk is full")

        with self.assertLogs("vellora", "ERROR") as logs:
            with Catalog(network=self.network, logger=log, load_late=True) as catalog:
                self.assertIn("Account", catalog.types(["Account"]).result().found)
        self.assertIn("the disk is full", logs.output[0])
        self.assertIn((False, "sObjectForName(_:), name: Account"), lines)

    def test_a_logger_can_be_one_of_pythons(self):
        with self.assertLogs("lines", "DEBUG") as logs:
            with Catalog(network=self.network, logger=logging.getLogger("lines"), load_late=True, attempts=1) as catalog:
                catalog.types(["Account"]).result()
                self.network.answer(COLUMNS_URL, NetworkError("no signal"))
                catalog.search_columns(["Account"]).result()
        self.assertIn("DEBUG:lines:sObjectForName(_:), name: Account", logs.output)
        self.assertIn("ERROR", {record.levelname for record in logs.records})

    def test_the_token_is_in_no_line_before_anything_is_sent(self):
        lines = []
        with Catalog("https://records.example", token=lambda refused: "abc-secret99",
                     logger=lambda is_error, line: lines.append(line), load_late=True) as catalog:
            catalog.types(["abc-secret99"], source=Source.CACHE_ONLY).result()
        self.assertEqual(lines[0], "sObjectForName(_:), name: [token]")

    def test_both_lists_are_asked_for_at_once_unless_that_is_to_be_late(self):
        asked = {TYPES_URL: threading.Event(), THEMES_URL: threading.Event()}
        for url, event in asked.items():
            self.network.answer(url, lambda event=event: event.set() or b"{}")
        with Catalog(network=self.network):
            for event in asked.values():
                event.wait()
