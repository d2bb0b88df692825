"""A relay before the demo server that counts what passes, request by request."""

import contextlib
import socket
import threading

REFUSAL = b"HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"


class Request:
    """A request and its answer: the request's head, and the bytes of the answer with its head."""

    def __init__(self, head):
        self.head, self.answer = head, b""
        self.answer_bytes = 0

    @property
    def path(self):
        return self.head.split(b" ")[1].decode()

    @property
    def status(self):
        return int(self.answer.split(b" ")[1])

    @property
    def is_conditional(self):
        return b"\r\nif-none-match:" in self.head.lower() or b"\r\nif-modified-since:" in self.head.lower()

    def take(self, data):
        self.answer_bytes += len(data)
        self.answer += data[:max(0, 4096 - len(self.answer))]  # its head is in there


class Relay:
    """Passes requests without bodies on, or refuses them all while `refuses` is set. Tells of them in `requests`."""

    def __init__(self, port):
        self.port, self.refuses, self.requests, self.lock = port, False, [], threading.Lock()
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.address = f"http://127.0.0.1:{self.listener.getsockname()[1]}"
        threading.Thread(target=self._accept, daemon=True).start()

    def taken(self):
        """The requests since the last call."""
        with self.lock:
            taken, self.requests = self.requests, []
        return taken

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            threading.Thread(target=self._serve, args=(client,), daemon=True).start()

    def _serve(self, client):
        with contextlib.suppress(OSError), client, socket.create_connection(("127.0.0.1", self.port)) as server:
            while head := self._head(client):
                request = Request(head)
                with self.lock:
                    self.requests.append(request)
                if self.refuses:
                    request.take(REFUSAL)
                    client.sendall(REFUSAL)
                    return
                server.sendall(head)
                self._pass_answer(server, client, request)

    @staticmethod
    def _head(client):
        head = b""
        while not head.endswith(b"\r\n\r\n"):
            piece = client.recv(65536)
            if not piece:
                return b""
            head += piece
        return head

    @staticmethod
    def _pass_answer(server, client, request):
        def step():
            piece = server.recv(262144)
            if not piece:
                raise ConnectionError("the server has closed the connection")
            request.take(piece)
            client.sendall(piece)

        while b"\r\n\r\n" not in request.answer:
            step()
        whole = whole_size(request.answer)
        while request.answer_bytes < whole:
            step()


def whole_size(answer):
    """How long an answer is with its head, of which `answer` is the beginning. Without a length there is no body."""
    head, _, _ = answer.partition(b"\r\n\r\n")
    status = int(head.split(b" ")[1])
    length = [line for line in head.lower().split(b"\r\n") if line.startswith(b"content-length:")]
    body = int(length[0].split(b":")[1]) if length and status != 304 else 0
    return len(head) + 4 + body
