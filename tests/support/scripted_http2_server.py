#!/usr/bin/env python3
"""Speaks HTTP/2 over TLS, and answers as it was told to.

usage: scripted_http2_server.py CERTIFICATE KEY ANSWERS…

Listens on a free loopback port and prints it as "port N". The first connection gives the first answers, the second one
the second, and so on; the last are those of all further ones. ANSWERS are words with blanks between them, one for each
request. In place of one more answer the connection ends.

  answer     "{}", with a tag
  cut        the same, and at once half of a frame that belongs to no request; the rest comes before the next answer
  unchanged  the head of a 304, the end of which never comes
  silent     nothing

"asked N." says that a request has come in on the Nth connection.
"""

import socket
import ssl
import struct
import sys
import threading

PREFACE = 24  # bytes before a client's first frame
DATA, HEADERS, SETTINGS, PING = 0, 1, 4, 6
ACK = END_STREAM = 1
END_HEADERS = 4
STATUS_200, STATUS_304, TAG = b"\x88", b"\x8b", b'\x0f\x13\x03"1"'


def frame(kind, flags, stream, payload=b""):
    return struct.pack(">I", len(payload))[1:] + struct.pack(">BBI", kind, flags, stream) + payload


class Connection:
    """TLS over a socket. What TLS makes of a text is sent apart, so that it can be cut."""

    def __init__(self, raw, context):
        self.raw, self.incoming, self.outgoing = raw, ssl.MemoryBIO(), ssl.MemoryBIO()
        self.tls = context.wrap_bio(self.incoming, self.outgoing, server_side=True)
        self.drive(self.tls.do_handshake)

    def drive(self, step, *arguments):
        while True:
            try:
                return step(*arguments)
            except ssl.SSLWantReadError:
                pass
            finally:
                self.raw.sendall(self.outgoing.read())
            received = self.raw.recv(65536)
            if not received:
                raise ConnectionError("the client has gone")
            self.incoming.write(received)

    def read(self, count):
        found = b""
        while len(found) < count:
            received = self.drive(self.tls.read, count - len(found))
            if not received:
                raise ConnectionError("the client has gone")
            found += received
        return found

    def sealed(self, text):
        self.tls.write(text)
        return self.outgoing.read()

    def send(self, sealed):
        self.raw.sendall(sealed)

    def end(self):
        self.raw.settimeout(0.5)
        self.drive(self.tls.unwrap)


def answer_to(stream, word):
    if word == "unchanged":
        return frame(HEADERS, END_HEADERS, stream, STATUS_304)
    return frame(HEADERS, END_HEADERS, stream, STATUS_200 + TAG) + frame(DATA, END_STREAM, stream, b"{}")


def serve(connection, number, answers):
    connection.read(PREFACE)
    connection.send(connection.sealed(frame(SETTINGS, 0, 0)))
    rest = b""
    while True:
        head = connection.read(9)
        kind, flags, stream = struct.unpack(">BBI", head[3:])
        connection.read(int.from_bytes(head[:3], "big"))
        if kind == SETTINGS and not flags & ACK:
            connection.send(connection.sealed(frame(SETTINGS, ACK, 0)))
        if kind == HEADERS:
            print(f"asked {number}.", flush=True)
            if not answers:
                connection.end()
                return
            word = answers.pop(0)
            if word == "silent":
                continue
            answer = rest + connection.sealed(answer_to(stream, word))
            unasked = connection.sealed(frame(PING, 0, 0, b"a number")) if word == "cut" else b""
            half = len(unasked) // 2
            connection.send(answer + unasked[:half])  # in one piece: who reads on behind the answer finds the half
            rest = unasked[half:]


def take(raw, context, number, answers):
    try:
        with raw:
            serve(Connection(raw, context), number, answers)
    except OSError:
        pass  # the client has gone, or doesn't wait for the end


def main():
    certificate, key, *answers = sys.argv[1:]
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    context.set_alpn_protocols(["h2"])
    listener = socket.create_server(("127.0.0.1", 0))
    print("port", listener.getsockname()[1], flush=True)
    number = 0
    while True:
        raw, _ = listener.accept()
        number += 1
        words = answers[min(number, len(answers)) - 1].split()
        threading.Thread(target=take, args=(raw, context, number, words), daemon=True).start()


if __name__ == "__main__":
    main()
