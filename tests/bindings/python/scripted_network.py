"""A network that answers from memory, for the tests of this folder."""

import threading
from concurrent.futures import Future

from vellora import Network, NetworkError

TYPES_URL = "/services/data/v50.0/sobjects"
THEMES_URL = "/services/data/v50.0/theme"
HEADLINES_URL = "/services/data/v53.0/compactLayouts?q=Account"
COLUMNS_URL = "/services/data/v50.0/search/layout?q=Account"
ACCOUNT_ID = "001000000000009"
COLUMNS = b'[{"objectType":"Account","searchColumns":[]}]'


class ScriptedNetwork(Network):
    """Requests of silent URLs are kept until they are answered by hand."""

    def __init__(self):
        self._change = threading.Condition()
        self._answers = {}
        self._busy = {}
        self._kept = []
        self._sent = []

    @classmethod
    def of_accounts(cls, label="Account"):
        """One that knows the type Account."""
        network = cls()
        network.answer(TYPES_URL, b'{"sobjects":[{"name":"Account","keyPrefix":"001","label":"%s","labelPlural":"Accounts",'
                                  b'"createable":true}]}' % label.encode())
        network.answer(THEMES_URL, b'{"themeItems":[{"name":"Account","icons":[],"colors":['
                                   b'{"color":"FF0000","context":"primary","theme":"light"},'
                                   b'{"color":"00FF00","context":"primary","theme":"dark"}]}]}')
        return network

    def answer(self, url, body):
        """Gives that from now on: bytes, a Future, an exception to raise, or a function to call."""
        with self._change:
            self._answers[url] = body

    def be_busy_once(self, url, error):
        """The next request of that URL gets that first."""
        with self._change:
            self._busy.setdefault(url, []).append(error)

    def silence(self, url):
        self.answer(url, None)

    def send(self, request):
        with self._change:
            self._sent.append(request.url)
            busy = self._busy.get(request.url)
            answer = busy.pop(0) if busy else self._answers.get(request.url, NetworkError("not there"))
            if answer is None:
                answer = Future()
                self._kept.append(answer)
                self._change.notify_all()
        if callable(answer):
            return answer()
        if isinstance(answer, BaseException):
            raise answer
        return answer

    def await_silent(self):
        """Waits for a request of a silent URL, whose Future it gives."""
        with self._change:
            self._change.wait_for(lambda: self._kept)
            return self._kept.pop(0)

    def take_sent(self):
        """The URLs since it was called last, sorted."""
        with self._change:
            sent, self._sent = self._sent, []
        return sorted(sent)
