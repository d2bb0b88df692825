#!/usr/bin/env python3
"""Tests the explorer's page in a headless Chromium.

usage: page_test.py VELLORA RECORDS_SERVER

Exits with 77 where no browser is installed.
"""

import contextlib
import http.client
import pathlib
import sys
import tempfile
import threading
import time
import unittest

from browser import Browser, chromedriver
from hostile_server import TEXTS, Server, hostile_answer, names, plain_answer
from programs import Explorer, RecordsServer

PROGRAMS = {}

# The contrast of each visible text with the ground that it stands on, where it is below the least allowed.
LOW_CONTRASTS = """
  const parts = (colour) => colour.match(/[\\d.]+/g).map(Number);
  const luminance = ([r, g, b]) => [r, g, b].map((part) => part / 255)
    .map((share) => share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4)
    .reduce((sum, share, i) => sum + share * [0.2126, 0.7152, 0.0722][i], 0);
  const groundOf = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const colour = parts(getComputedStyle(at).backgroundColor);
      if (colour.length === 3 || colour[3] === 1) return colour;
      if (colour[3] !== 0) throw Error("a ground that lets others through");
    }
    throw Error("no ground");
  };
  const contrast = (one, other) => {
    const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
    return (light + 0.05) / (dark + 0.05);
  };
  const low = [];
  let measured = 0;
  const measure = (element, ink, text) => {
    const ratio = contrast(parts(ink), groundOf(element));
    ++measured;
    if (ratio < 4.5) low.push(`${ratio.toFixed(2)} ${element.tagName}.${element.className} ${text}`);
  };
  for (const element of document.body.querySelectorAll("*")) {
    if (!element.checkVisibility() || element.closest("noscript")) continue;
    const text = [...element.childNodes].filter((node) => node.nodeType === 3).map((node) => node.data).join("").trim();
    if (text) measure(element, getComputedStyle(element).color, text.slice(0, 40));
    if (element.placeholder) measure(element, getComputedStyle(element, "::placeholder").color, element.placeholder);
  }
  return [measured, low];
"""

# Scrolls by a page, from the end back to the start, unless the type is in the page.
SCROLL_TO = """
  const list = document.querySelector("#list");
  const cell = [...document.querySelectorAll("#rows [data-name]")].find(({ dataset }) => dataset.name === arguments[0]);
  if (cell) {
    cell.scrollIntoView({ block: "center" });
    return true;
  }
  const isAtEnd = list.scrollTop + list.clientHeight >= list.scrollHeight - 1;
  list.scrollTop = isAtEnd ? 0 : list.scrollTop + list.clientHeight / 2;
  return false;
"""

# The API names in the page, and where each stands: its row, and its place in that.
PLACES = """
  return [...document.querySelectorAll("#rows [data-name]")].map((cell) =>
    [cell.dataset.name, [Number(cell.parentElement.ariaRowIndex), [...cell.parentElement.children].indexOf(cell)]]);
"""

# What the explorer has noted after the entry of that number.
ENTRIES = """
  const headers = { "X-Vellora-Key": localStorage.getItem("vellora-key") };
  const { entries } = await (await fetch(`/api/state?after=${arguments[0]}`, { headers })).json();
"""

ICONS_ARE_LOADED = "return [...document.images].every((image) => image.complete && image.dataset.waiting === undefined)"
PANEL_IS_FILLED = "return document.querySelectorAll('#detail .origin .badge').length === 3 && !document.querySelector('#detail [aria-busy]')"


def setUpModule():
    PageTest.browser = unittest.enterModuleContext(Browser())


class PageTest(unittest.TestCase):
    def stopping(self, program):
        self.addCleanup(program.stop)
        return program

    def explore(self, server, *options):
        self.browser.open("about:blank")
        explorer = self.stopping(Explorer(PROGRAMS["vellora"], server, *options))
        self.browser.log()
        self.browser.open(explorer.url)
        return explorer

    def explore_demo(self, *options):
        server = self.stopping(RecordsServer(PROGRAMS["records-server"], *options))
        self.explore(server.url)
        self.wait_for_tiles()
        return server

    def wait_for_tiles(self):
        self.browser.wait("return document.querySelectorAll('.tile .icon').length > 20")

    def scroll_to(self, name):
        """Scrolls through the types until this one is in the page, and seen."""
        self.browser.wait(SCROLL_TO, name)

    def names_in_order(self):
        """The API names of all types that are listed, found by scrolling through them."""
        self.browser.run("document.querySelector('#list').scrollTop = 0")
        names = {}
        for _ in range(1000):
            self.browser.run_async("requestAnimationFrame(() => requestAnimationFrame(arguments[0]))")
            names |= dict(self.browser.run(PLACES))
            if self.browser.run("const list = document.querySelector('#list'), at = list.scrollTop; list.scrollTop += 300; return list.scrollTop === at"):
                return sorted(names, key=names.get)
        self.fail("the list has no end")

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).innerText", selector)

    def open_type(self, name):
        self.browser.run("location.hash = '#/' + encodeURIComponent(arguments[0])", name)
        self.browser.wait(
            "return document.querySelector('#detail .name')?.textContent === arguments[0]", name
        )
        self.browser.wait(PANEL_IS_FILLED)

    def sources(self):
        """Where each part of the open type came from: headline, search result, presentation."""
        return self.browser.run("return [...document.querySelectorAll('#detail .origin .badge')].map((b) => b.innerText)")

    def start_again(self):
        """Waits until the load that it starts has come to its end."""
        last = self.browser.wait(ENTRIES + "return entries.at(-1).number", 0)
        self.browser.click("#again")
        self.browser.wait(ENTRIES + "return entries.some(({ source, outcome }) => source === 'prefetch' && outcome !== 'isLoading')", last)

    def flip_switch(self, to):
        self.browser.click("#reachable")
        self.browser.wait("return document.querySelector('#notice').hidden === arguments[0]", to)

    def assert_contrasts(self):
        for scheme in ("light", "dark"):
            self.browser.set_scheme(scheme)
            measured, low = self.browser.run(LOW_CONTRASTS)
            self.assertEqual(low, [], scheme)
            self.assertGreater(measured, 60)


class DemoPageTest(PageTest):
    def test_shows_every_type_as_a_tile_in_its_colour_with_its_icon(self):
        server = self.explore_demo()
        self.assertEqual(self.text("#count"), "44")
        self.assertEqual(len(self.names_in_order()), 44)
        account = "[data-name=Account] .swatch"
        colour = "return getComputedStyle(document.querySelector(arguments[0])).backgroundColor"
        self.assertEqual(self.browser.run(colour, account), "rgb(47, 111, 222)")
        self.browser.wait("return document.querySelector(arguments[0] + ' img').naturalWidth > 0", account)
        self.scroll_to("Permit")
        self.browser.wait("return document.querySelector('[data-name=Permit] .painted')")
        self.assertEqual(self.browser.run(colour, "[data-name=Permit] .swatch"), "rgb(0, 170, 102)")
        self.scroll_to("AccessGrant")
        self.assertEqual(self.text("[data-name=AccessGrant] .swatch"), "Ac")
        self.assertIn(server.url, self.text("#server"))
        self.assertIn("Loaded", self.text("#prefetch"))
        self.assertNotIn("key=", self.browser.run("return location.href"))
        self.assertEqual(self.browser.log(), [])

    def test_shows_the_token_to_nobody_but_the_server(self):
        token = "canary-5f0c9d7e41b2"
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "token").write_text(token)
        server = self.stopping(RecordsServer(PROGRAMS["records-server"], "--token-file", folder / "token"))
        options = ("--token-file", folder / "token", "--log", "info", "--log-file", folder / "log")
        explorer = self.explore(server.url, *options)
        self.wait_for_tiles()  # so the server has been shown it
        self.open_type("Account")

        shown = [self.browser.run("return document.documentElement.outerHTML + JSON.stringify([sessionStorage, localStorage])")]
        origin, key = explorer.url.split("/#key=")
        for target in ("state", "types", "presentations?names=Account", "search-layout?names=Account",
                       "compact-layout?names=Account"):  # fmt: skip
            connection = http.client.HTTPConnection(origin.removeprefix("http://"))
            self.addCleanup(connection.close)
            connection.request("GET", "/api/" + target, headers={"X-Vellora-Key": key})
            reply = connection.getresponse()
            self.assertEqual(reply.status, 200, target)
            shown.append(str(reply.headers) + reply.read().decode())
        kept = [path for path in pathlib.Path(explorer.folder.name).iterdir()] + [folder / "log"]
        shown += [path.read_bytes().decode("latin-1") for path in kept]
        shown.append(pathlib.Path(f"/proc/{explorer.process.pid}/cmdline").read_text())
        self.assertIn("cache.sqlite", [path.name for path in kept])
        pieces = [token[at : at + 8] for at in range(len(token) - 7)]
        self.assertEqual([piece for piece in pieces if any(piece in text for text in shown)], [])

    def test_shows_what_an_app_would_show_of_a_type(self):
        self.explore_demo()
        self.open_type("Account")
        self.assertEqual(self.sources(), ["from the network", "from the network", "from the cache"])
        heads = "return [...document.querySelectorAll('#detail th bdi')].map((head) => head.innerText)"
        self.assertEqual(self.browser.run(heads), ["Account Name", "City", "Phone", "Owner"])
        fields = "return [...document.querySelectorAll('#detail .headline dt')].map((field) => field.innerText)"
        self.assertEqual(self.browser.run(fields)[:3], ["Name", "Phone", "Website"])
        facts = self.text("#detail .facts")
        for fact in ("Accounts", "001", "can be created", "2F6FDE", "/icons/light/account_120.png"):
            self.assertIn(fact, facts)
        self.browser.wait(ICONS_ARE_LOADED)
        drawn = "return [...document.querySelectorAll(arguments[0])].map((image) => image.naturalWidth > 0)"
        self.assertEqual(self.browser.run(drawn, "#detail .head img, #detail .thumb img"), [True] * 4)
        self.browser.click("#look-up-again")
        self.browser.wait(PANEL_IS_FILLED)
        self.assertEqual(self.sources(), ["from the cache"] * 3)
        self.browser.click("#log summary")
        self.browser.wait("return document.querySelector('#entries').innerText.includes('OPS_Layout_Account')")
        self.browser.click("#network-only")
        self.assertNotIn("OPS_Layout_Account", self.text("#entries"))
        self.assertIn("GET /services/data/v50.0/search/layout?q=Account", self.text("#entries"))

    def test_searches_while_one_types(self):
        self.explore_demo()
        shown = "return [...document.querySelectorAll('#rows [data-name]')].map((tile) => tile.dataset.name)"
        for typed, expected in (
            ("invoice", ["Invoice", "InvoiceLine"]),
            ("BEHÄLTER", ["Container"]),
            ("配送", ["DeliveryStop"]),
            ("001000000000009", ["Account"]),
            ("nothing like it", []),
        ):
            self.browser.press("/")
            self.browser.run("document.activeElement.select()")
            self.browser.press(*typed)
            self.browser.wait("return document.querySelector('#search').value === arguments[0]", typed)
            self.assertEqual(self.browser.run(shown), expected)
        self.assertEqual(self.text("#count"), "Nothing matches")

    def test_is_used_with_the_keyboard_alone(self):
        self.explore_demo()
        focused = "return document.activeElement.closest('[data-name]')?.dataset.name ?? document.activeElement.id"
        self.browser.press("/", *"case", "ArrowDown")
        self.assertEqual(self.browser.run(focused), "Case")
        self.browser.press("Enter")
        self.browser.wait("return document.activeElement.id === 'detail-heading'")
        self.assertEqual(self.text("#detail-heading"), "Case")
        self.browser.press("Escape")
        self.assertEqual(self.browser.run(focused), "Case")
        self.browser.press("ArrowUp")
        self.assertEqual(self.browser.run(focused), "search")
        self.browser.run("document.activeElement.value = ''; document.activeElement.dispatchEvent(new Event('input'))")
        self.browser.press("ArrowDown", "ArrowRight", "ArrowRight")
        tiles = self.names_in_order()
        self.browser.run("document.querySelector('#list').scrollTop = 0")
        self.assertEqual(self.browser.run(focused), tiles[2])
        self.browser.press("ArrowDown")
        below = "return document.activeElement.getBoundingClientRect().left"
        left = self.browser.run(below)
        self.assertNotIn(self.browser.run(focused), tiles[:3])
        self.browser.press("ArrowUp")
        self.assertEqual(self.browser.run(below), left)
        self.browser.press("ArrowLeft")
        self.assertEqual(self.browser.run(focused), tiles[1])
        outline = "return getComputedStyle(document.activeElement).outlineStyle"
        self.assertEqual(self.browser.run(outline), "solid")
        self.browser.run("document.querySelector('#reachable').focus()")
        self.browser.press("Space")
        self.browser.wait("return !document.querySelector('#notice').hidden")

    def test_tells_assistive_technology_what_everything_is(self):
        self.explore_demo()
        self.open_type("Account")
        self.browser.click("#log summary")
        for selector, expected in (
            ("#search", ("searchbox", "Search object types")),
            ("#reachable", ("switch", "Server reachable")),
            ("#again", ("button", "Start again")),
            ("#refresh", ("button", "Refresh from the server")),
            ("#prefetch", ("status", "Prefetch")),
            ("#tiles", ("grid", "Object types")),
            ("[data-name=Account] a", ("link", "Account Account 001")),
            ("#detail", ("region", "Account")),
            ("#detail-heading", ("heading", "Account")),
            (".activity", ("region", "Cache and network")),
            ("#network-only", ("checkbox", "Network only")),
        ):
            self.assertEqual(self.browser.role_and_name(selector), expected, selector)
        self.assertEqual(self.browser.run("return document.documentElement.lang"), "en")
        self.assertEqual(self.browser.run("return document.querySelectorAll('img:not([alt])').length"), 0)
        levels = "return [...document.querySelectorAll('h1,h2,h3')].map((heading) => heading.tagName).join(' ')"
        self.assertEqual(self.browser.run(levels), "H1 H2 H2 H3 H3 H3 H2")

    def test_can_be_read_in_the_dark_and_in_the_light(self):
        self.explore_demo()
        self.open_type("Document")  # white text could not be read on its colour
        self.assert_contrasts()
        ground = "return getComputedStyle(document.body).backgroundColor"
        self.browser.set_scheme("light")
        light = self.browser.run(ground)
        self.browser.set_scheme("dark")
        self.assertNotEqual(self.browser.run(ground), light)

    def test_shows_the_app_without_its_server(self):
        server = self.explore_demo()
        self.open_type("Account")
        # Requests that are under way still get their answers: the icons are the last, those of the dark theme's card.
        self.browser.wait("return document.querySelectorAll('.theme').length === 2")
        self.browser.wait(ICONS_ARE_LOADED)
        self.flip_switch(False)
        sent = server.requests()
        self.start_again()
        self.open_type("Account")
        self.open_type("Contact")
        self.assertEqual(self.sources(), ["not available", "not available", "from the cache"])
        self.assertIn("Offline: the server has been taken away", self.text("#detail"))
        self.open_type("Account")
        self.assertEqual(self.sources(), ["from the cache"] * 3)
        self.assert_contrasts()
        name = self.names_in_order()[-1]
        self.scroll_to(name)
        last = f"document.querySelector('[data-name={name}]')"
        self.browser.wait(f"return {last}.querySelector('.initials')")
        self.assertEqual(server.requests(), sent)
        self.flip_switch(True)
        self.browser.wait(f"return {last}.querySelector('img')?.naturalWidth > 0")
        self.open_type("Contact")
        self.assertEqual(self.sources(), ["from the network", "from the network", "from the cache"])

    def test_shows_the_prefetch_while_it_runs(self):
        server = self.stopping(RecordsServer(PROGRAMS["records-server"]))
        server.hold()
        self.explore(server.url)
        self.browser.wait("return document.querySelector('#prefetch').innerText.includes('Loading')")
        self.assertEqual(self.text("#count"), "None yet")
        server.release()
        self.browser.wait("return document.querySelector('#prefetch').innerText.includes('Loaded')")
        self.wait_for_tiles()

    def test_shows_why_a_prefetch_failed(self):
        server = self.stopping(RecordsServer(PROGRAMS["records-server"], "--garbage"))
        self.explore(server.url)
        self.browser.wait("return document.querySelector('#prefetch').innerText.includes('Failed')")
        self.assertIn("not valid JSON", self.text("#prefetch"))
        self.assert_no_tiles()

    def assert_no_tiles(self):
        self.assertEqual(self.browser.run("return document.querySelectorAll('#rows [data-name]').length"), 0)

    def test_says_when_the_command_has_ended(self):
        server = self.stopping(RecordsServer(PROGRAMS["records-server"]))
        explorer = Explorer(PROGRAMS["vellora"], server.url)
        self.browser.open("about:blank")
        self.browser.open(explorer.url)
        self.wait_for_tiles()
        self.assertEqual(explorer.stop(), 130)
        self.browser.wait("return document.querySelector('#notice.bad:not([hidden])')?.innerText.includes('ended')")


class HostilePageTest(PageTest):
    def test_runs_nothing_and_asks_nobody_that_a_hostile_server_names(self):
        canary = self.stopping(Server(lambda _: (200, {"Access-Control-Allow-Origin": "*"}, b"")))
        server = self.stopping(Server(hostile_answer(canary.url)))
        explorer = self.explore(server.url)
        self.browser.wait("return document.querySelectorAll('.tile .icon').length === arguments[0]", len(TEXTS))
        labels = "return [...document.querySelectorAll('#tiles .label')].map((label) => label.textContent)"
        self.assertEqual(sorted(self.browser.run(labels)), sorted(TEXTS))
        for name in names():
            self.open_type(name)
            self.assertEqual(self.browser.run("return document.querySelectorAll('#detail th').length"), len(TEXTS))
        self.assert_contrasts()
        self.browser.wait(ICONS_ARE_LOADED)
        foreign = "return document.querySelectorAll('script:not([src=\"/main.js\"]), iframe, object, style, [onload], [onerror], [style*=url]').length"
        self.assertEqual(self.browser.run(foreign), 0)
        self.assertIsNone(self.browser.run("return window.hostile"))
        self.assertEqual(self.browser.run("return document.title"), "Vellora explorer")
        self.assertEqual(canary.requests, [])
        self.assertTrue(all(target.startswith(("/services/data/", "/icon/")) for target in server.requests))
        self.assertIn("/icon/script.svg", server.requests)
        wide = "return document.documentElement.scrollWidth <= document.documentElement.clientWidth"
        self.assertTrue(self.browser.run(wide))
        self.assert_scripted_icon_is_no_document(explorer.url.split("/#")[0])

    def assert_scripted_icon_is_no_document(self, origin):
        """Opens the icon that holds a script as a user would who opens it in a tab of its own."""
        connection = http.client.HTTPConnection(origin.removeprefix("http://"))
        self.addCleanup(connection.close)
        scripted = []
        for address in self.browser.run("return [...new Set([...document.images].map((image) => image.src))]"):
            connection.request("GET", address.removeprefix(origin))
            if b"<script>" in connection.getresponse().read():
                scripted.append(address)
        self.assertEqual(len(scripted), 1)
        with contextlib.suppress(RuntimeError):  # a file to be saved ends the way there
            self.browser.open(scripted[0])
        self.assertIsNone(self.browser.run("return window.hostile"))
        self.assertEqual(self.browser.run("return document.documentElement.tagName"), "HTML")

    def test_a_nameless_type_and_long_names_leave_every_other_tile_as_it_is(self):
        long_names = [f"Long{i}" + "x" * 600 for i in range(70)]  # too long for one address
        endless = "Endless" + "x" * 40_000  # too long for any
        server = self.stopping(Server(plain_answer(["Plain", "", endless, *long_names])))
        self.explore(server.url)
        self.browser.wait("return document.querySelector('#count').innerText === '73'")
        painted, failures = 0, []
        for name in ["Plain", "", endless, *long_names[::10], long_names[-1]]:
            self.scroll_to(name)
            tile = "document.querySelector(`[data-name='${arguments[0]}']`)"
            text = self.browser.wait(f"const shown = {tile}.querySelector('.painted, .failure'); return shown && [shown.textContent]", name)[0]
            if text.startswith("Not looked up"):
                failures.append(text)
            else:
                painted += 1
        self.assertEqual(painted, 9)
        self.assertEqual(sorted(failures), ["Not looked up: it has no name.", "Not looked up: its name is too long."])

    def test_icons_that_stall_hold_up_no_lookup(self):
        over = threading.Event()
        self.addCleanup(over.set)
        asked = []

        def stall(target):
            asked.append(target)
            over.wait()
            return 404, {}, b""

        server = self.stopping(Server(plain_answer([f"Type{i}" for i in range(40)], stall)))
        self.addCleanup(over.set)  # before the server is stopped, which waits for its threads
        begin = time.monotonic()
        self.explore(server.url)
        self.wait_for_tiles()
        self.browser.wait("return document.querySelectorAll('img[data-waiting]').length > 10")
        self.open_type("Type7")
        self.assertEqual(self.sources(), ["from the network", "from the network", "from the cache"])
        self.assertGreaterEqual(len(asked), 4)
        count = len(asked)
        turns = 1 + (time.monotonic() - begin) // 10  # each stalls for ten seconds
        self.assertLessEqual(count, 4 * turns, "four at a time")

    def test_asks_for_icons_without_the_token(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "token").write_text("canary-5f0c9d7e41b2")
        server = self.stopping(Server(plain_answer(["Account"])))
        self.explore(server.url, "--token-file", folder / "token")
        self.browser.wait("return document.querySelector('[data-name=Account] img')")
        self.browser.wait(ICONS_ARE_LOADED)
        self.assertIsNone(server.authorizations["/icon/0.svg"])
        lists = {target: sent for target, sent in server.authorizations.items() if target.startswith("/services/")}
        self.assertEqual(set(lists.values()), {"Bearer canary-5f0c9d7e41b2"})
        self.assertGreaterEqual(len(lists), 2)

    def test_its_policy_stops_what_the_page_does_not_do(self):
        canary = self.stopping(Server(lambda _: (200, {"Access-Control-Allow-Origin": "*"}, b"")))
        server = self.stopping(Server(hostile_answer(canary.url)))
        self.explore(server.url)
        markup = "try { document.body.innerHTML = '<b>'; return 'taken'; } catch (error) { return error.name; }"
        self.assertEqual(self.browser.run(markup), "TypeError")
        handler = "try { document.body.setAttribute('onclick', ''); return 'taken'; } catch (error) { return error.name; }"
        self.assertEqual(self.browser.run(handler), "TypeError")
        fetched = "const done = arguments[1]; fetch(arguments[0]).then(() => done('fetched'), () => done('stopped'))"
        self.assertEqual(self.browser.run_async(fetched, canary.url), "stopped")
        image = "const done = arguments[1], i = new Image(); i.onload = i.onerror = (e) => done(e.type); i.src = arguments[0]"
        self.assertEqual(self.browser.run_async(image, canary.url), "error")
        self.assertEqual(canary.requests, [])


def main():
    """Runs the tests of the script that calls it, with the programs that its command line names."""
    if chromedriver() is None:
        print("skipped: chromium and chromium-driver are not installed; scripts/setup installs them")
        sys.exit(77)
    PROGRAMS["vellora"], PROGRAMS["records-server"] = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main()


if __name__ == "__main__":
    main()
