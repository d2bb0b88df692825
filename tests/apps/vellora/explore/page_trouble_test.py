#!/usr/bin/env python3
"""Tests in a headless Chromium what the explorer's page does when something fails, and who gets in.

usage: page_trouble_test.py VELLORA RECORDS_SERVER

Exits with 77 where no browser is installed.
"""

import json
import pathlib
import tempfile
import threading

import page_test
from hostile_server import Server, plain_answer
from page_test import PROGRAMS, setUpModule  # noqa: F401: the module's own set-up is the same
from programs import Explorer, RecordsServer

FAILURE = "return document.querySelector('#failure:not([hidden])')?.innerText"
LIST_IS_SHOWN = "return document.querySelector('main').checkVisibility() && document.querySelectorAll('.tile .icon').length >= arguments[0]"


def refusal(status, message):
    return status, {"Content-Type": "application/json"}, json.dumps([{"message": message, "code": "X"}]).encode()


class Switchable:
    """A records server that answers as `answer` says, which can be another function at any time."""

    def __init__(self, answer):
        self.answer = answer

    def __call__(self, target):
        return self.answer(target)


class TroubleTest(page_test.PageTest):
    def serve(self, answer):
        return self.stopping(Server(answer))

    def explore_cache(self, server, cache, *options):
        self.browser.open("about:blank")
        explorer = self.stopping(Explorer(PROGRAMS["vellora"], server, *options, cache=cache))
        self.browser.open(explorer.url)
        return explorer

    def filled_cache(self, server, types):
        """A cache with what that server lists, which is so many types."""
        cache = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "cache.sqlite"
        explorer = self.explore_cache(server, cache)
        self.browser.wait(LIST_IS_SHOWN, types)
        self.browser.open("about:blank")
        explorer.process.terminate()
        explorer.process.wait()
        return cache

    def failure(self, *parts):
        """The text of the failure's page, once it has all these parts."""
        return self.browser.wait(
            "const text = document.querySelector('#failure:not([hidden])')?.innerText ?? '';"
            "return arguments.length > 0 && [...arguments].every((part) => text.includes(part)) && text",
            *parts,
        )


class FailurePageTest(TroubleTest):
    def test_a_missing_token_is_a_page_that_says_to_sign_in_again(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "token").write_text("right-token-1234")
        server = self.stopping(RecordsServer(PROGRAMS["records-server"], "--token-file", folder / "token"))
        self.explore(server.url)
        text = self.failure("Sign in again: the server said “A valid bearer token is required.”")
        for part in ("could not be fetched", "/services/data/v50.0/", "401", "token file", "Nothing is cached yet"):
            self.assertIn(part, text)
        self.assertFalse(self.browser.run("return document.querySelector('main').checkVisibility()"))
        self.assertTrue(self.browser.run("return document.querySelector('#work-offline').disabled"))
        self.assertEqual(self.browser.run("return document.activeElement.id"), "failure-heading")
        self.assertEqual(self.browser.role_and_name("#failure"), ("region", "The object types could not be fetched"))
        self.browser.wait("return document.querySelector('#totals').textContent.includes('0 answered · 2 failed')")
        for scheme in ("light", "dark"):
            self.browser.set_scheme(scheme)
            measured, low = self.browser.run(page_test.LOW_CONTRASTS)
            self.assertEqual(low, [], scheme)
            self.assertGreater(measured, 10)

    def test_another_attempt_leads_to_the_list_once_the_server_answers(self):
        answer = Switchable(lambda _: refusal(500, "Closed for lunch."))  # a 503 would hold the next attempt back
        self.explore(self.serve(answer).url)
        self.failure("trouble of its own: the server said “Closed for lunch.”", "500")
        answer.answer = lambda _: refusal(403, "Not for you.")
        self.browser.click("#retry")
        self.failure("does not allow it: the server said “Not for you.”", "403")
        answer.answer = plain_answer(["Account", "Contact"])
        self.browser.click("#retry")
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.assertIsNone(self.browser.run(FAILURE))
        self.assertTrue(self.browser.run("return document.querySelector('#notice').hidden"))

    def test_one_can_work_offline_with_what_is_cached_and_come_back(self):
        answer = Switchable(plain_answer(["Account", "Contact"]))
        server = self.serve(answer)
        cache = self.filled_cache(server.url, 2)
        answer.answer = lambda _: refusal(401, "Your time is over.")
        self.explore_cache(server.url, cache, "--cache-timeout", "0")
        self.failure("Sign in again: the server said “Your time is over.”", "The cache has 2 object types")
        # The page opens with the first list that fails; the other's request may still be on its way.
        self.browser.wait("return document.querySelector('#totals').textContent.includes('0 answered · 2 failed')")
        self.browser.click("#work-offline")
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.assertIn("what the cache holds", self.text("#notice"))
        self.assertFalse(self.browser.run("return document.querySelector('#reachable').checked"))
        sent = len(server.requests)
        self.open_type("Account")
        self.assertEqual(self.sources(), ["not available", "not available", "from the cache"])
        self.assertEqual(len(server.requests), sent)
        answer.answer = plain_answer(["Account", "Contact", "Task"])
        self.browser.click("#reachable")
        self.browser.wait(LIST_IS_SHOWN, 3)
        self.assertIsNone(self.browser.run(FAILURE))

    def test_a_failure_while_one_works_is_a_line_that_leads_to_its_page(self):
        answer = Switchable(plain_answer(["Account", "Contact"]))
        self.explore(self.serve(answer).url)
        self.browser.wait(LIST_IS_SHOWN, 2)
        answer.answer = lambda _: refusal(401, "Your time is over.")
        self.browser.click("#refresh")
        self.browser.wait("return document.querySelector('#notice:not([hidden])')?.innerText.includes('Your time is over.')")
        self.assertTrue(self.browser.run(LIST_IS_SHOWN, 2))
        self.browser.click("#notice button")
        self.failure("Sign in again", "The cache has 2 object types")

    def test_a_layout_that_is_refused_says_why_and_counts_as_failed(self):
        right = plain_answer(["Account"])
        self.explore(self.serve(lambda target: refusal(401, "Your time is over.") if "ayout" in target else right(target)).url)
        self.browser.wait(LIST_IS_SHOWN, 1)
        self.open_type("Account")
        self.assertEqual(self.sources(), ["not available", "not available", "from the cache"])
        failures = self.browser.run("return [...document.querySelectorAll('#detail .failure')].map((f) => f.innerText)")
        self.assertEqual(len(failures), 2)
        for failure in failures:
            self.assertIn("Sign in again: the server said “Your time is over.”", failure)
        self.browser.wait("return document.querySelector('#totals').textContent.includes('2 answered · 2 failed')")

    def test_skeletons_stand_where_something_is_still_being_loaded(self):
        may_list, may_lay_out = threading.Event(), threading.Event()
        right = plain_answer(["Account"])

        def answer(target):
            (may_lay_out if "ayout" in target else may_list).wait()
            return right(target)

        server = self.serve(answer)
        self.addCleanup(may_lay_out.set)  # before the server is stopped, which waits for its threads
        self.addCleanup(may_list.set)
        self.explore(server.url)
        self.browser.wait("return document.querySelector('#prefetch').innerText.includes('Loading')")
        self.assertTrue(self.browser.run("return document.querySelector('#skeleton').checkVisibility()"))
        may_list.set()
        self.browser.wait(LIST_IS_SHOWN, 1)
        self.assertFalse(self.browser.run("return document.querySelector('#skeleton').checkVisibility()"))
        self.browser.run("location.hash = '#/Account'")
        self.browser.wait("return document.querySelectorAll('#detail .skeleton').length === 2")
        may_lay_out.set()
        self.browser.wait(page_test.PANEL_IS_FILLED)
        self.assertEqual(self.browser.run("return document.querySelectorAll('#detail .skeleton').length"), 0)


class KeyTest(TroubleTest):
    def setUp(self):
        self.server = self.serve(plain_answer(["Account", "Contact"]))
        self.browser.open("about:blank")
        self.explorer = self.stopping(Explorer(PROGRAMS["vellora"], self.server.url))
        self.origin = self.explorer.url.split("/#")[0]

    def enter(self, text):
        self.browser.run("document.querySelector('#key').value = arguments[0]", text)
        self.browser.click("#failure form button")

    def test_the_address_works_in_a_second_tab_and_after_a_reload(self):
        self.browser.open(self.explorer.url)
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.assertEqual(self.browser.run("return location.href"), self.origin + "/")
        self.browser.reload()
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.browser.open_tab(self.origin + "/#/Account")
        self.addCleanup(self.browser.close_tab)
        self.browser.wait("return document.querySelector('#detail .name')?.textContent === 'Account'")
        self.browser.wait(page_test.PANEL_IS_FILLED)
        self.browser.reload()
        self.browser.wait("return document.querySelector('#detail .name')?.textContent === 'Account'")

    def test_no_cookie_bears_the_key_to_other_ports(self):
        self.browser.open(self.explorer.url)
        self.browser.wait(LIST_IS_SHOWN, 2)
        neighbour = self.serve(lambda _: (200, {"Content-Type": "text/html"}, b""))
        self.browser.open_tab(neighbour.url + "/")
        self.addCleanup(self.browser.close_tab)
        self.assertEqual(self.browser.chrome("Network.getAllCookies")["cookies"], [])
        self.assertIsNone(self.browser.run("return localStorage.getItem('vellora-key')"))

    def test_without_the_key_the_page_says_how_to_get_in_and_takes_it(self):
        self.browser.open(self.origin)
        self.failure("key that vellora printed", "vellora explore", self.origin + "/#key=")
        self.assertEqual(self.browser.run("return document.querySelectorAll('#rows [data-name]').length"), 0)
        self.enter("0123456789abcdef0123456789abcdef")
        self.failure("not valid any more")
        self.enter(" " + self.explorer.url + "\n")
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.assertIsNone(self.browser.run(FAILURE))

    def test_a_wrong_key_in_the_address_takes_the_right_one_from_no_tab(self):
        self.browser.open(self.explorer.url)
        self.browser.wait(LIST_IS_SHOWN, 2)
        self.browser.open_tab(self.origin + "/#key=0123456789abcdef0123456789abcdef")
        self.addCleanup(self.browser.close_tab)
        self.failure("key that vellora printed")
        self.browser.reload()
        self.browser.wait(LIST_IS_SHOWN, 2)

    def test_the_right_address_opened_in_a_tab_without_the_key_lets_it_in(self):
        self.browser.open(self.origin)
        self.failure("key that vellora printed")
        self.browser.run("location.href = arguments[0]", self.explorer.url)
        self.browser.wait(LIST_IS_SHOWN, 2)


if __name__ == "__main__":
    page_test.main()
