#!/usr/bin/env python3
"""Takes TLS off connections, and passes their bytes on to a server without.

usage: tls_relay.py CERTIFICATE KEY PLAIN_PORT

Listens on a free loopback port and prints it as "port N". A connection that the plain server resets is reset.
When the client's system has what was sent on a connection so far, "sent N." says how many bytes of the plain server's.
"""

import fcntl
import select
import socket
import ssl
import struct
import sys
import termios
import threading
import time


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def wait_until_delivered(connection):
    """At most until the client has gone: what it has not taken then stays unsent for ever."""
    ends = select.poll()
    ends.register(connection, select.POLLRDHUP)
    while not ends.poll(0) and struct.unpack("i", fcntl.ioctl(connection, termios.TIOCOUTQ, b"\0" * 4))[0] > 0:
        time.sleep(0.001)


def relay(client, plain):
    """Until one side ends; one thread, since a TLS connection is not to be read and written at once."""
    sent = 0
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
            wait_until_delivered(client)
            sent += len(answered)
            print(f"sent {sent}.", flush=True)


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
        try:
            raw, _ = listener.accept()
            threading.Thread(target=serve, args=(raw, context, int(port)), daemon=True).start()
        except (OSError, RuntimeError):  # who called has gone, or no thread can be had at the moment
            time.sleep(0.01)


if __name__ == "__main__":
    main()
