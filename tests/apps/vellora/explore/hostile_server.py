"""A records server whose every text and address tries to be more than that."""

import contextlib
import http.server
import json
import threading
import urllib.parse

SCRIPT = "window.hostile=1"
TEXTS = [
    f'"><script>{SCRIPT}</script>',
    f"<img src=x onerror={SCRIPT}>",
    f"<svg onload={SCRIPT}>",
    f"</title></textarea></style><script>{SCRIPT}</script>",
    f"javascript:{SCRIPT}",
    "{{constructor.constructor('" + SCRIPT + "')()}}",
    "\u202eright to left\u2066",
    "\u0000 \u0007 control \u001b[31m",
    "wide " * 200,
    "unbroken" * 60,
    "&lt;b&gt; &amp; %3Cb%3E \\u003cb\\u003e",
    "__proto__",
]
COLOURS = [
    "2F6FDE;background:url(//canary)", "url(//canary)", "red", "var(--ink)", "#12345", "FFFFFF", "000000", "777777",
    "#0A6", "expression(1)", "rgb(1 2 3)", "\u0000",
]  # fmt: skip
SVG = f'<svg xmlns="http://www.w3.org/2000/svg" onload="{SCRIPT}"><script>{SCRIPT}</script><image href="CANARY"/></svg>'


class Server:
    """Listens on the loopback interface; `requests` are the targets that it was asked for, `authorizations` the
    header of that name for each of them."""

    def __init__(self, answer):
        self.requests = requests = []
        self.authorizations = authorizations = {}

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                requests.append(self.path)
                authorizations.setdefault(self.path, self.headers.get("Authorization"))
                status, headers, body = answer(self.path)
                with contextlib.suppress(OSError):  # who asked may have left
                    self.send_response(status)
                    for name, value in {**headers, "Content-Length": str(len(body))}.items():
                        self.send_header(name, value)
                    self.end_headers()
                    self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.server.server_port}"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def stop(self):
        self.server.shutdown()
        self.server.server_close()


def names():
    return [f"Hostile{i}{text}" for i, text in enumerate(TEXTS)]


def icon_addresses(canary):
    """Addresses of which none may be asked for, then those that lead to the server itself."""
    elsewhere = [
        f"javascript:{SCRIPT}", f"data:text/html,<script>{SCRIPT}</script>", "data:image/svg+xml,<svg/>",
        "file:///etc/passwd", f"{canary}/icon.svg", canary.replace("http:", "") + "/icon.svg",
        canary.replace("127.0.0.1", "localhost") + "/icon.svg", f'"><script>{SCRIPT}</script>',
    ]  # fmt: skip
    return elsewhere + ["/icon/script.svg", "/icon/page.html", "/icon/elsewhere.svg", "/icon/none.svg"]


def hostile_answer(canary):
    def icons(i):
        addresses = icon_addresses(canary)
        return [
            {"contentType": "image/svg+xml", "theme": "light", "url": addresses[i % len(addresses)]},
            {"contentType": "image/png", "theme": "light", "url": addresses[(i + 1) % len(addresses)], "width": 16},
            {"contentType": "image/png", "theme": "light", "url": addresses[(i + 5) % len(addresses)], "width": 64},
        ]

    types = [
        {"name": name, "keyPrefix": f"h{i:02}", "label": text, "labelPlural": text, "createable": True}
        for i, (name, text) in enumerate(zip(names(), TEXTS))
    ]
    themes = [
        {
            "name": name,
            "colors": [{"color": COLOURS[i % len(COLOURS)], "context": "primary", "theme": "light"}],
            "icons": icons(i),
        }
        for i, name in enumerate(names())
    ]
    columns = [{"name": text, "label": text, "field": text, "format": text} for text in TEXTS]
    fields = [{"apiName": text, "fieldType": text, "label": text, "htmlFormatted": True} for text in TEXTS]

    def answer(target):
        path, _, query = target.partition("?")
        q = urllib.parse.parse_qs(query).get("q", [""])[0]
        as_json = lambda value: (200, {"Content-Type": "application/json"}, json.dumps(value).encode())
        if path.endswith("/sobjects"):
            return as_json({"sobjects": types})
        if path.endswith("/theme"):
            return as_json({"themeItems": themes})
        if path.endswith("/search/layout"):
            return as_json([{"objectType": q, "searchColumns": columns}])
        if path.endswith("/compactLayouts"):
            return as_json({q: {"objectType": q, "layoutFields": fields}})
        if path.endswith("/query"):
            return as_json({"records": []})
        if path == "/icon/script.svg":
            return 200, {"Content-Type": "image/svg+xml"}, SVG.replace("CANARY", canary).encode()
        if path == "/icon/page.html":
            return 200, {"Content-Type": "image/png"}, f"<html><script>{SCRIPT}</script></html>".encode()
        if path == "/icon/elsewhere.svg":
            return 302, {"Location": f"{canary}/redirected.svg"}, b""
        return 404, {}, b""

    return answer


def plain_answer(names, icon=None, labels=None, colours=("2F6FDE",)):
    """A server without a fault that knows types of these names; `icon(target)` answers for their icons. They take the
    colours in turn."""
    types = [
        {"name": name, "keyPrefix": f"p{i:02}", "label": f"Label {i}", "labelPlural": f"Labels {i}", "createable": True}
        for i, name in enumerate(names)
    ]
    for entry, label in zip(types, labels or []):
        entry["label"] = label
    themes = [
        {
            "name": name,
            "colors": [{"color": colours[i % len(colours)], "context": "primary", "theme": "light"}],
            "icons": [{"contentType": "image/svg+xml", "theme": "light", "url": f"/icon/{i}.svg"}],
        }
        for i, name in enumerate(names)
    ]

    def answer(target):
        path, _, query = target.partition("?")
        q = urllib.parse.parse_qs(query).get("q", [""])[0]
        if path.startswith("/icon/"):
            return icon(target) if icon else (200, {}, b'<svg xmlns="http://www.w3.org/2000/svg"/>')
        bodies = {
            "sobjects": {"sobjects": types},
            "theme": {"themeItems": themes},
            "layout": [{"objectType": q, "searchColumns": []}],
            "compactLayouts": {q: {"objectType": q, "layoutFields": []}},
        }
        body = bodies.get(path.rpartition("/")[2], {"records": []})
        return 200, {"Content-Type": "application/json"}, json.dumps(body).encode()

    return answer
