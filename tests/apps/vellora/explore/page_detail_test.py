#!/usr/bin/env python3
"""Tests in a headless Chromium what the explorer's page shows of a type, and what it has for those who come back.

usage: page_detail_test.py VELLORA RECORDS_SERVER

Exits with 77 where no browser is installed.
"""

import json
import pathlib
import re
import subprocess
import tempfile
import urllib.request

import page_test
from hostile_server import Server, plain_answer
from page_test import PROGRAMS, setUpModule  # noqa: F401: the module's own set-up is the same
from programs import Explorer, RecordsServer

TILES = "return [...document.querySelectorAll('#tiles .tile .name')].map((name) => name.textContent)"


class DetailTest(page_test.PageTest):
    def texts(self, selector):
        return self.browser.run("return [...document.querySelectorAll(arguments[0])].map((e) => e.innerText)", selector)

    def copied(self, what):
        self.browser.click(f"#copy-{what}")
        self.browser.wait("return document.querySelector('#detail .copied').innerText.startsWith('Copied')")
        return self.browser.clipboard()


class FieldsTest(DetailTest):
    def test_samples_are_marked_and_the_network_is_said_of_layouts_alone(self):
        self.explore_demo()
        self.open_type("Account")
        self.assertEqual(self.texts("#detail .origin"), [
            "Layout from the network", "Layout from the network", "Labels, colours, icons from the cache",
        ])  # fmt: skip
        self.assertEqual(self.texts("#detail .sample-note"), ["samples made up by this page: no record is read"] * 2)
        unmarked = """
          return [...document.querySelectorAll('#detail td, #detail .headline dd > span')]
            .filter((element) => !element.classList.contains('sample')).length
        """
        self.assertEqual(self.browser.run(unmarked), 0)
        self.assertEqual(len(self.texts("#detail .sample")), 3 * 4 + 5)

    def test_a_switch_shows_the_types_of_fields_and_where_references_lead(self):
        self.explore_demo()
        self.open_type("Account")
        self.browser.click("#field-types")
        self.assertEqual(self.texts("#detail .sample, #detail .sample-note"), [])
        self.assertEqual(self.texts("#detail .headline .field-type"), ["string", "phone", "url", "address", "Owner → User"])
        self.assertEqual(self.texts("#detail td"), ["string", "not told", "phone", "Owner → User"])
        self.browser.click("#detail .headline a")
        self.browser.wait("return document.querySelector('#detail .name')?.textContent === 'User'")
        self.browser.wait(page_test.PANEL_IS_FILLED)
        self.assertTrue(self.browser.run("return document.querySelector('#field-types').checked"))
        self.assertIn("Manager → User", self.texts("#detail .field-type"))
        self.assertEqual(self.texts("#detail .sample-note"), [])
        self.browser.click("#field-types")
        self.assertEqual(len(self.texts("#detail .sample-note")), 2)

    def test_light_and_dark_stand_side_by_side(self):
        self.explore_demo()
        self.open_type("Account")
        self.browser.wait("return document.querySelectorAll('.theme').length === 2")
        look = "return getComputedStyle(document.querySelector(arguments[0])).backgroundColor"
        self.assertEqual(self.browser.run(look, ".theme[data-theme=light] .look"), "rgb(47, 111, 222)")
        self.assertEqual(self.browser.run(look, ".theme[data-theme=dark] .look"), "rgb(143, 180, 245)")
        icons = "return [...document.querySelectorAll('.theme img')].filter((image) => image.naturalWidth > 0).length === 2"
        self.browser.wait(icons)
        tops = self.browser.run("return [...document.querySelectorAll('.theme')].map((t) => t.getBoundingClientRect().top)")
        self.assertEqual(tops[0], tops[1])
        self.assert_contrasts()


class CopyTest(DetailTest):
    def explore_with_token(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "token").write_text("canary-5f0c9d7e41b2")
        server = self.stopping(RecordsServer(PROGRAMS["records-server"], "--token-file", folder / "token"))
        self.explore(server.url, "--token-file", folder / "token")
        self.wait_for_tiles()
        self.open_type("Account")
        return server

    def test_copies_the_requests_as_curl_with_a_placeholder_for_the_token(self):
        server = self.explore_with_token()
        text = self.copied("curl")
        self.assertNotIn("canary", text)
        commands = [line for line in text.splitlines() if line.startswith("curl ")]
        self.assertEqual(len(commands), 4)
        sent = {line.split(" ")[-1] for line in server.requests()}
        for command in commands:
            found = re.fullmatch(r"""curl -H "Authorization: Bearer \$TOKEN" '([^']+)'""", command)
            self.assertTrue(found, command)
            self.assertIn(found.group(1).removeprefix(server.url), sent)
            request = urllib.request.Request(found.group(1), headers={"Authorization": "Bearer canary-5f0c9d7e41b2"})
            with urllib.request.urlopen(request) as reply:
                self.assertEqual(reply.status, 200)

    def test_copies_what_is_known_as_json(self):
        self.explore_with_token()
        document = json.loads(self.copied("json"))
        self.assertEqual(document["objectType"], "Account")
        self.assertEqual(document["presentation"]["color"], "2F6FDE")
        self.assertEqual([c["label"] for c in document["searchLayout"]["searchColumns"]], ["Account Name", "City", "Phone", "Owner"])
        self.assertEqual(document["compactLayout"]["layoutFields"][-1]["referenceTo"], "User")

    def test_copies_cpp_that_compiles(self):
        self.explore_with_token()
        texts = [self.copied("cpp")]
        self.explore(self.stopping(Server(plain_answer(['a"; \\ %s \u0001\n9 配?']))).url)
        self.browser.wait("return document.querySelector('.tile .icon')")
        self.open_type('a"; \\ %s \u0001\n9 配?')
        texts.append(self.copied("cpp"))
        self.assertIn('catalog.types({"Account"})', texts[0])
        self.assertIn("\\001\\0129", texts[1])
        for text in texts:
            include, _, code = text.partition("\n")
            program = f"{include}\nvoid ask(const vellora::Catalog& catalog) {{\n{code}\n}}\n"
            root = pathlib.Path(__file__).resolve().parents[4]
            compiled = subprocess.run(
                ["c++", "-std=c++20", "-fsyntax-only", f"-I{root}", "-x", "c++", "-"],
                input=program, text=True, capture_output=True, check=False,
            )  # fmt: skip
            self.assertEqual(compiled.returncode, 0, compiled.stderr)

    def test_copies_a_link_that_leads_to_the_type(self):
        self.explore_with_token()
        link = self.copied("link")
        self.assertNotIn("key=", link)
        self.browser.open_tab(link)
        self.addCleanup(self.browser.close_tab)
        self.browser.wait("return document.querySelector('#detail .name')?.textContent === 'Account'")

    def test_shows_the_text_where_the_browser_copies_nothing(self):
        self.explore_with_token()
        self.browser.run("navigator.clipboard.writeText = () => Promise.reject(new Error('no'))")
        self.browser.click("#copy-link")
        shown = self.browser.wait("return document.querySelector('#detail .copied textarea')?.value")
        self.assertTrue(shown.endswith("/#/Account"), shown)


class ChangingServer:
    """A records server whose types change."""

    def __init__(self, names):
        self.set_types(names)

    def set_types(self, names, renamed=()):
        right = plain_answer(names)

        def answer(target):
            status, headers, body = right(target)
            if target.endswith("/sobjects"):
                types = json.loads(body)
                for entry in types["sobjects"]:
                    if entry["name"] in renamed:
                        entry["label"] = "Renamed"
                body = json.dumps(types).encode()
            return status, headers, body

        self.answer = answer

    def __call__(self, target):
        return self.answer(target)


class ComingBackTest(DetailTest):
    def lists_asked_for(self, server):
        return sum(target.endswith(("/sobjects", "/theme")) for target in server.requests)

    def test_a_refresh_asks_the_server_and_says_what_has_changed(self):
        answer = ChangingServer(["Account", "Contact", "Task"])
        server = self.stopping(Server(answer))
        self.explore(server.url)
        self.browser.wait(TILES + ".length === 3")
        answer.set_types(["Account", "Contact", "Visit"], renamed=["Contact"])
        self.start_again()
        self.assertEqual(self.lists_asked_for(server), 2)
        self.assertFalse(self.browser.run("return document.querySelector('#changes').checkVisibility()"))
        self.browser.click("#refresh")
        self.browser.wait("return document.querySelector('#changes').checkVisibility()")
        self.assertEqual(self.lists_asked_for(server), 4)
        text = self.text("#changes")
        self.assertIn("Refreshed from the server: 1 added, 1 removed, 1 changed since ", text)
        self.assertEqual(sorted(self.texts("#changes li")), ["Label 2 added", "Renamed changed", "Task removed"])
        self.browser.wait("return [...document.querySelectorAll('#tiles .tile .name')].some((n) => n.textContent === 'Visit')")
        self.assertEqual(sorted(self.browser.run(TILES)), ["Account", "Contact", "Visit"])
        self.browser.click("#refresh")
        self.browser.wait("return document.querySelector('#changes').innerText.includes('nothing has changed since')")
        self.browser.click("#changes button")
        self.assertFalse(self.browser.run("return document.querySelector('#changes').checkVisibility()"))

    def test_a_start_with_an_old_cache_says_what_has_changed_since(self):
        answer = ChangingServer(["Account", "Task"])
        server = self.stopping(Server(answer))
        cache = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "cache.sqlite"
        for first in (True, False):
            self.browser.open("about:blank")
            explorer = self.stopping(
                Explorer(PROGRAMS["vellora"], server.url, "--cache-timeout", "0", cache=cache)
            )
            self.browser.open(explorer.url)
            self.browser.wait(TILES + ".length === 2")
            if first:
                explorer.process.terminate()
                explorer.process.wait()
                answer.set_types(["Account", "Visit"])
        self.browser.wait("return document.querySelector('#changes').checkVisibility()")
        self.assertIn("The list was fetched anew: 1 added, 1 removed since ", self.text("#changes"))

    def test_the_log_is_folded_away_until_asked_for_and_counts_no_icons(self):
        server = self.stopping(Server(plain_answer(["Account", "Contact"])))
        self.explore(server.url)
        self.browser.wait("return [...document.querySelectorAll('.tile img')].filter((i) => i.complete).length === 2")
        self.assertIn("/icon/0.svg", server.requests)
        self.assertFalse(self.browser.run("return document.querySelector('#entries').checkVisibility()"))
        self.assertEqual(self.browser.run("return document.querySelectorAll('#entries li').length"), 0)
        self.browser.click("#log summary")
        self.browser.wait("return document.querySelector('#entries').innerText.includes('GET /services/data/')")
        self.assertNotIn("icon", self.text("#entries"))
        self.browser.wait("return document.querySelector('#totals').innerText.includes('2 answered · 0 failed')")


if __name__ == "__main__":
    page_test.main()
