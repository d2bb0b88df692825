"""The programs that the page is tested with, started as a user would start them."""

import pathlib
import signal
import subprocess
import tempfile


class Explorer:
    """`vellora explore` on a server of that address, with a cache of its own unless one is given. `url` is what it
    printed."""

    def __init__(self, program, server, *options, cache=None):
        self.folder = tempfile.TemporaryDirectory()
        cache = cache or pathlib.Path(self.folder.name) / "cache.sqlite"
        self.process = subprocess.Popen(
            [program, "--server", server, "--cache", cache, *options, "explore"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
        )  # fmt: skip
        self.url = self.process.stdout.readline().strip()

    def stop(self):
        """Ends it as Ctrl-C does; its exit code."""
        self.process.send_signal(signal.SIGINT)
        code = self.process.wait()
        self.process.stdout.close()
        self.folder.cleanup()
        return code


class RecordsServer:
    """The demo records server."""

    def __init__(self, program, *options):
        self.log = tempfile.NamedTemporaryFile()
        self.process = subprocess.Popen(
            [program, "--log-file", self.log.name, *options], stdout=subprocess.PIPE, text=True
        )
        self.url = self.process.stdout.readline().split()[-1]

    def requests(self):
        return pathlib.Path(self.log.name).read_text().splitlines()

    def hold(self):
        """Lets requests wait for their answers until `release`."""
        self.process.send_signal(signal.SIGSTOP)

    def release(self):
        self.process.send_signal(signal.SIGCONT)

    def stop(self):
        self.process.terminate()
        self.release()
        self.process.wait()
        self.process.stdout.close()
        self.log.close()
