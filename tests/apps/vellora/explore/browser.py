"""A headless Chromium, driven over WebDriver with nothing but the standard library."""

import base64
import http.client
import json
import pathlib
import re
import shutil
import subprocess
import tempfile

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
FLAGS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync", "--force-device-scale-factor=1",
]  # fmt: skip

KEYS = {"Enter": "\ue007", "Escape": "\ue00c", "Tab": "\ue004", "Space": " "}
KEYS |= {"PageUp": "\ue00e", "PageDown": "\ue00f", "End": "\ue010", "Home": "\ue011"}
KEYS |= {"ArrowLeft": "\ue012", "ArrowUp": "\ue013", "ArrowRight": "\ue014", "ArrowDown": "\ue015"}


def chromedriver():
    """The path of the driver, or None where no browser is installed."""
    return shutil.which("chromedriver") if shutil.which("chromium") else None


# Calls a function again and again until what it returns, or promises, counts as true, and gives that to its last argument.
UNTIL = """
  const done = arguments[arguments.length - 1];
  const values = [...arguments].slice(0, -1);
  const attempt = async function () { %s };
  const look = async () => {
    try {
      const value = await attempt(...values);
      if (value) done({ value });
      else setTimeout(look, 15);
    } catch (error) {
      done({ error: `${error}` });
    }
  };
  look();
"""


def started_driver():
    """chromedriver and its port. It takes a free port of IPv6 and then wants the same of IPv4, which another program may
    have: it ends then, about once in three hundred times, and is started again."""
    for _ in range(20):
        driver = subprocess.Popen(
            [chromedriver(), "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True
        )
        said = []
        for line in driver.stdout:
            if found := re.search(r"on port (\d+)\.", line):
                return driver, int(found.group(1))
            said.append(line)
        driver.wait()
        driver.stdout.close()
    raise RuntimeError("chromedriver did not start: " + "".join(said))


class Browser:
    """One browser window with a profile of its own, which ends with the object's `with` block."""

    def __init__(self, width=1280, height=900):
        self.driver, port = started_driver()
        self.folder = tempfile.mkdtemp(prefix="explorer-")
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=600)
        options = {
            "binary": shutil.which("chromium"),
            "args": [*FLAGS, f"--user-data-dir={self.folder}", f"--window-size={width},{height}"],
        }
        wanted = {"goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        self.path = ""
        try:
            self.path = f"/session/{self.new_session(wanted)['sessionId']}"
        except BaseException:
            self.end_driver()
            raise

    def new_session(self, wanted):
        """chromedriver gives Chromium a minute to start, which a busy machine may not."""
        for attempt in range(3):
            try:
                return self.call("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
            except RuntimeError:
                if attempt == 2:
                    raise

    def end_driver(self):
        self.driver.terminate()
        self.driver.wait()
        self.driver.stdout.close()
        self.connection.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("DELETE", "")
        finally:
            self.end_driver()

    def call(self, method, path, body=None):
        text = None if method in ("GET", "DELETE") else json.dumps(body or {})
        self.connection.request(method, self.path + path, text, {"Content-Type": "application/json"})
        value = json.loads(self.connection.getresponse().read())["value"]
        if isinstance(value, dict) and "error" in value:
            raise RuntimeError(f"{value['error']}: {value['message'].splitlines()[0]}")
        return value

    def open(self, url):
        self.call("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        """The value that `script` returns."""
        return self.call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def run_async(self, script, *arguments):
        """The value that `script` gives to its last argument, a function."""
        return self.call("POST", "/execute/async", {"script": script, "args": list(arguments)})

    def wait(self, script, *arguments, seconds=60):
        """The first value of `script` that counts as true. It is tried within the page, so that a page which is just
        being left is not mistaken for the one that takes its place: leaving it ends the wait with an error."""
        self.call("POST", "/timeouts", {"script": seconds * 1000})
        try:
            found = self.run_async(UNTIL % script, *arguments)
        except RuntimeError as error:
            raise AssertionError(f"{error}, of {seconds} s: {script} {arguments}") from None
        if "error" in found:
            raise RuntimeError(f"{found['error']}: {script} {arguments}")
        return found["value"]

    def reload(self):
        """Loads the page anew, and waits until that is done."""
        self.call("POST", "/refresh")

    def press(self, *names):
        """Presses keys one after the other, wherever the focus is."""
        actions = []
        for name in names:
            key = KEYS.get(name, name)
            actions += [{"type": "keyDown", "value": key}, {"type": "keyUp", "value": key}]
        self.call("POST", "/actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def click(self, selector):
        found = self.call("POST", "/element", {"using": "css selector", "value": selector})
        self.call("POST", f"/element/{found[ELEMENT]}/click")

    def open_tab(self, url):
        """Opens the address in a tab of its own, which is the one that is driven from now on."""
        tab = self.call("POST", "/window/new", {"type": "tab"})["handle"]
        self.call("POST", "/window", {"handle": tab})
        self.open(url)

    def close_tab(self):
        """Closes the tab that is driven, and goes back to the oldest."""
        left = self.call("DELETE", "/window")
        self.call("POST", "/window", {"handle": left[0]})

    def clipboard(self):
        """What the page has copied."""
        self.chrome("Browser.grantPermissions", permissions=["clipboardReadWrite", "clipboardSanitizedWrite"])
        return self.run_async("const done = arguments[0]; navigator.clipboard.readText().then(done, (e) => done(`${e}`))")

    def role_and_name(self, selector):
        """What assistive technology is told of an element."""
        found = self.call("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]
        get = lambda what: self.call("GET", f"/element/{found}/{what}")
        return get("computedrole"), get("computedlabel")

    def chrome(self, command, **parameters):
        return self.call("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def set_scheme(self, scheme):
        """"dark" or "light", as the user's system would say."""
        self.chrome("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def set_viewport(self, width, height):
        self.chrome("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def log(self):
        """The lines of the console since the last call."""
        return [entry["message"] for entry in self.call("POST", "/se/log", {"type": "browser"})]

    def screenshot(self, file):
        pathlib.Path(file).write_bytes(base64.b64decode(self.call("GET", "/screenshot")))
