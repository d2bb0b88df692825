#!/usr/bin/env python3
"""Takes a picture of the explorer's page.

usage: screenshot.py VELLORA RECORDS_SERVER FILE
"""

import contextlib
import sys

from browser import Browser
from programs import Explorer, RecordsServer


def main():
    vellora, records_server, file = sys.argv[1:]
    with contextlib.ExitStack() as stack:
        server = RecordsServer(records_server, "--port", "8080")
        stack.callback(server.stop)
        explorer = Explorer(vellora, server.url)
        stack.callback(explorer.stop)
        browser = stack.enter_context(Browser())
        browser.set_viewport(1500, 860)
        browser.open(explorer.url)
        browser.wait("return document.querySelectorAll('.tile .icon img').length > 20")
        browser.run("location.hash = '#/Account'")
        browser.wait("return document.querySelectorAll('#detail .origin .badge').length === 3")
        browser.wait("return [...document.images].every((image) => image.complete)")
        browser.run("document.activeElement.blur()")
        browser.screenshot(file)


if __name__ == "__main__":
    main()
