"""The source of tokens of the ready-made network, before a server that asks for one."""

import contextlib
import http.server
import threading
import unittest

from scripted_network import COLUMNS
from vellora import Catalog, End


class Server(http.server.ThreadingHTTPServer):
    """Knows one token, and keeps what requests were authorised by."""

    daemon_threads = False
    token = "fresh"

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.authorizations = []

    @property
    def address(self):
        return f"http://127.0.0.1:{self.server_port}"


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        authorization = self.headers["Authorization"]
        self.server.authorizations.append(authorization)
        is_known = authorization == f"Bearer {self.server.token}"
        self.send_response(200 if is_known else 401)
        self.send_header("Content-Length", str(len(COLUMNS) if is_known else 0))
        self.end_headers()
        if is_known:
            self.wfile.write(COLUMNS)

    def log_message(self, *_):
        pass


@contextlib.contextmanager
def serving():
    with Server() as server:
        thread = threading.Thread(target=server.serve_forever, kwargs={"poll_interval": 0.01})
        thread.start()
        try:
            yield server
        finally:
            server.shutdown()
            thread.join()


class TokenTest(unittest.TestCase):
    def ask(self, source):
        """The answer, and what the requests were authorised by."""
        with serving() as server:
            with Catalog(server.address, token=source, allow_token_over_plain_http=True, load_late=True, attempts=1) as catalog:
                answer = catalog.search_columns(["Account"], deadline=600).result()
            return answer, server.authorizations

    def test_a_token_that_the_server_refuses_is_asked_for_again(self):
        asked = []

        def token(refused):
            asked.append(refused)
            return "fresh" if refused == "stale" else "stale"

        answer, authorizations = self.ask(token)
        self.assertIn("Account", answer.found)
        self.assertEqual((set(asked[:-1]), asked[-1]), ({None}, "stale"))
        self.assertEqual(authorizations, ["Bearer stale", "Bearer fresh"])

    def test_without_a_token_none_is_sent(self):
        answer, authorizations = self.ask(lambda refused: None)
        self.assertIs(answer.end, End.FAILED)
        self.assertEqual(set(authorizations), {None})

    def test_a_source_that_raises_or_gives_no_text_is_logged_and_none_is_sent(self):
        def raising(refused):
            raise RuntimeError("locked out")

        for source, words in ((raising, "locked out"), (lambda refused: b"fresh", "bytes"), (lambda refused: "\ud800", "surrogates")):
            with self.subTest(words), self.assertLogs("vellora", "ERROR") as logs:
                answer, authorizations = self.ask(source)
                self.assertIs(answer.end, End.FAILED)
                self.assertEqual(set(authorizations), {None})
            self.assertIn(words, logs.output[0])
