#!/usr/bin/env python3
"""Speaks HTTP/2 over TLS, and ends each connection after so many answers, in place of the next one.

usage: closing_http2_server.py CERTIFICATE KEY ANSWERS…

Listens on a free loopback port and prints it as "port N". The first connection gives the first number of answers,
the second one the second, and so on; the last number is that of all further ones. Each answer is "{}". "asked N." says
that a request has come in on the Nth connection.
"""

import socket
import ssl
import struct
import sys

PREFACE = 24  # bytes before a client's first frame
DATA, HEADERS, SETTINGS = 0, 1, 4
ACK = END_STREAM = 1
END_HEADERS = 4
STATUS_200 = b"\x88"


def frame(kind, flags, stream, payload=b""):
    return struct.pack(">I", len(payload))[1:] + struct.pack(">BBI", kind, flags, stream) + payload


def read(connection, count):
    found = b""
    while len(found) < count:
        received = connection.recv(count - len(found))
        if not received:
            raise ConnectionError("the client has gone")
        found += received
    return found


def serve(connection, number, answers):
    read(connection, PREFACE)
    connection.sendall(frame(SETTINGS, 0, 0))
    while True:
        head = read(connection, 9)
        kind, flags, stream = struct.unpack(">BBI", head[3:])
        read(connection, int.from_bytes(head[:3], "big"))
        if kind == SETTINGS and not flags & ACK:
            connection.sendall(frame(SETTINGS, ACK, 0))
        if kind == HEADERS:
            print(f"asked {number}.", flush=True)
            if answers == 0:
                connection.settimeout(0.5)
                connection.unwrap()
                return
            answers -= 1
            connection.sendall(frame(HEADERS, END_HEADERS, stream, STATUS_200) + frame(DATA, END_STREAM, stream, b"{}"))


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
        try:
            with context.wrap_socket(raw, server_side=True) as connection:
                serve(connection, number, int(answers[min(number, len(answers)) - 1]))
        except OSError:
            pass  # the client has gone, or doesn't wait for the end


if __name__ == "__main__":
    main()
