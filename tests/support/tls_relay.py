#!/usr/bin/env python3
"""Takes TLS off connections, and passes their bytes on to a server without.

usage: tls_relay.py CERTIFICATE KEY PLAIN_PORT

Listens on a free loopback port and prints it as "port N". A connection that the plain server resets is reset.
"""

import select
import socket
import ssl
import struct
import sys
import threading


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def relay(client, plain):
    """Until one side ends; one thread, since a TLS connection is not to be read and written at once."""
    while True:
        ready = [client] if client.pending() else select.select([client, plain], [], [])[0]
        if client in ready:
            received = client.recv(65536)
            if not received:
                return
            plain.sendall(received)
        if plain in ready:
            try:
                answered = plain.recv(65536)
            except ConnectionResetError:
                reset(client)
                return
            if not answered:
                client.settimeout(0.5)
                client.unwrap()  # so that the client can tell the end from a cut
                return
            client.sendall(answered)


def serve(raw, context, port):
    try:
        with context.wrap_socket(raw, server_side=True) as client:
            with socket.create_connection(("127.0.0.1", port)) as plain:
                relay(client, plain)
    except OSError:
        pass  # the client has gone, or wants no TLS with us


def main():
    certificate, key, port = sys.argv[1:]
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    listener = socket.create_server(("127.0.0.1", 0), backlog=64)
    print("port", listener.getsockname()[1], flush=True)
    while True:
        raw, _ = listener.accept()
        threading.Thread(target=serve, args=(raw, context, int(port)), daemon=True).start()


if __name__ == "__main__":
    main()
