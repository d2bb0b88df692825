"""The demo server, for tests that are written in Python."""

import contextlib
import pathlib
import subprocess
import tempfile
import time


@contextlib.contextmanager
def demo_server(program, *options):
    """Runs the demo server while the block lasts, and gives its address."""
    with tempfile.TemporaryDirectory() as folder:
        port_file = pathlib.Path(folder) / "port"
        server = subprocess.Popen([program, "--port-file", port_file, *options], stdout=subprocess.DEVNULL)
        try:
            while not port_file.exists() and server.poll() is None:
                time.sleep(0.05)
            yield f"http://127.0.0.1:{port_file.read_text().strip()}"
        finally:
            server.terminate()
            server.wait()
