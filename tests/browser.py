"""Drives Debian's Chromium, without a window, through chromium-driver."""

import contextlib
import json
import shutil
import subprocess
import tempfile
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the standard's key of an element's number
OPTIONS = ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync",
           "--hide-scrollbars", "--force-device-scale-factor=1", "--window-size=1280,900")


def is_installed():
    return all(map(shutil.which, ("chromium", "chromedriver")))


@contextlib.contextmanager
def open_browser():
    """A new Browser with a profile of its own, for a `with` block."""
    command = ["chromedriver", "--port=0"]
    with (tempfile.TemporaryDirectory() as folder,
          subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as driver):
        try:
            browser = Browser(driver, folder)
            try:
                yield browser
            finally:
                browser.ask("DELETE", "")
        finally:
            driver.terminate()


class Browser:
    """A browser that a running chromedriver has started."""

    def __init__(self, driver, folder):
        port = next(line.split()[-1].rstrip(".") for line in driver.stdout
                    if "started successfully on port" in line)
        self.address = f"http://127.0.0.1:{port}"
        wanted = {"goog:chromeOptions": {"args": [*OPTIONS, f"--user-data-dir={folder}"]},
                  "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"}}
        created = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
        self.address += "/session/" + created["sessionId"]

    def ask(self, method, path, body=None):
        """The value of the answer to a command of the WebDriver protocol."""
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.address + path, data, method=method)
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def protocol(self, command, **parameters):
        """The result of a command of the browser's own devtools protocol."""
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def open(self, path):
        self.ask("POST", "/url", {"url": path.as_uri()})

    def run(self, script, *arguments):
        """What a script returns."""
        return self.ask("POST", "/execute/sync", {"script": script, "args": arguments})

    def click(self, selector):
        """Clicks on the middle of an element, as the mouse does."""
        element = self.ask("POST", "/element", {"using": "css selector", "value": selector})
        self.ask("POST", f"/element/{element[ELEMENT]}/click", {})

    def press(self, keys):
        """Presses keys where the focus is."""
        presses = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.ask("POST", "/actions", {"actions": [{"type": "key", "id": "k", "actions": presses}]})

    def log(self, kind):
        """What has come to a log, "browser" or "performance", since it was last read."""
        return self.ask("POST", "/se/log", {"type": kind})

    def emulate(self, scheme):
        """Makes the reader prefer a "light" or a "dark" page."""
        feature = {"name": "prefers-color-scheme", "value": scheme}
        self.protocol("Emulation.setEmulatedMedia", features=[feature])
