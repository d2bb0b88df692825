#!/usr/bin/env python3
"""Tests in a headless Chromium what the explorer's page needs until it shows its first tile.

usage: page_start_test.py VELLORA RECORDS_SERVER

Exits with 77 where no browser is installed.
"""

import os
import time

import page_test
from page_test import PROGRAMS, setUpModule  # noqa: F401: the module's own set-up is the same
from programs import Explorer, RecordsServer

# Notes when the first tile is in the page, what had been loaded by then, and what the script had asked of the page's layout
# before it asked the explorer for anything.
NOTE_FIRST_TILE = """{
  const asked = [];
  for (const [type, name] of [[Element, "clientHeight"], [Element, "clientWidth"], [Element, "scrollTop"],
                              [Element, "getBoundingClientRect"], [HTMLElement, "offsetHeight"]]) {
    const property = Object.getOwnPropertyDescriptor(type.prototype, name);
    for (const part of ["get", "set", "value"]) {
      const original = property[part];
      if (original) property[part] = function (...values) {
        asked.push(name);
        return original.apply(this, values);
      };
    }
    Object.defineProperty(type.prototype, name, property);
  }
  let before;
  const original = window.fetch;
  window.fetch = (...values) => {
    before ??= [...asked];
    return original(...values);
  };
  new MutationObserver((_, observer) => {
    if (!document.querySelector(".tile")) return;
    observer.disconnect();
    const loaded = performance.getEntriesByType("resource").map(({ name }) => new URL(name).pathname);
    window.firstTile = { loaded, before, asked: asked.length, milliseconds: performance.now() };
  }).observe(document, { subtree: true, childList: true });
}"""


class StartTest(page_test.PageTest):
    def setUp(self):
        script = self.browser.chrome("Page.addScriptToEvaluateOnNewDocument", source=NOTE_FIRST_TILE)
        self.addCleanup(lambda: self.browser.chrome("Page.removeScriptToEvaluateOnNewDocument", **script))

    def start(self):
        """What was noted of a start on the demo data, and how long the program and the page took, in milliseconds."""
        server = self.stopping(RecordsServer(PROGRAMS["records-server"]))
        self.browser.open("about:blank")
        begin = time.monotonic()
        explorer = self.stopping(Explorer(PROGRAMS["vellora"], server.url))
        program = (time.monotonic() - begin) * 1000
        self.browser.open(explorer.url)
        first = self.browser.wait("return window.firstTile")
        return first, program + first["milliseconds"]

    def test_the_first_tile_needs_three_files_the_state_and_the_list(self):
        times = []
        for _ in range(5):
            first, took = self.start()
            times.append(took)
            needed = {"/page.css", "/main.js", "/api/state", "/api/types"}
            self.assertLessEqual(needed, set(first["loaded"]))
            self.assertEqual(set(first["loaded"]) - needed - {"/favicon.svg"}, set())
        # No time is held, since a busy machine changes it.
        print(f"first tile after {min(times):.0f} ms at best, {sorted(times)[2]:.0f} ms in the middle, load {os.getloadavg()[0]:.1f}")

    def test_nothing_is_laid_out_before_the_explorer_has_been_asked(self):
        first = self.start()[0]
        self.assertEqual(first["before"], [])
        self.assertGreater(first["asked"], 0)  # so it is noted


if __name__ == "__main__":
    page_test.main()
