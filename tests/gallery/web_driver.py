"""A headless browser, controlled by the WebDriver protocol."""

import base64
import json
import re
import shutil
import subprocess
import tempfile
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key of an element reference in the protocol


class Browser:
    """A session of Chromium. The caller closes it."""

    def __init__(self, width=1280, height=900, javascript=True):
        for program in ("chromium", "chromedriver"):
            assert shutil.which(program), f"{program} is missing: tools/setup browser installs it"
        self.home = tempfile.TemporaryDirectory()
        self.driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True
        )
        for line in self.driver.stdout:
            if found := re.search(r"started successfully on port (\d+)", line):
                break
        self.base = f"http://127.0.0.1:{found.group(1)}/session"
        chrome = {
            "args": ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                     f"--window-size={width},{height}", f"--user-data-dir={self.home.name}"],
            "prefs": {} if javascript else {"profile.managed_default_content_settings.javascript": 2},
        }
        wanted = {"browserName": "chrome", "goog:chromeOptions": chrome, "goog:loggingPrefs": {"browser": "ALL"}}
        session = self._send("POST", "", {"capabilities": {"alwaysMatch": wanted}})
        self.base += "/" + session["sessionId"]

    def _send(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        with urllib.request.urlopen(request, timeout=60) as response:
            return json.load(response)["value"]

    def close(self):
        self._send("DELETE", "")
        self.driver.terminate()
        self.driver.wait()
        self.driver.stdout.close()
        self.home.cleanup()

    def open(self, path):
        """Opens a file, or an address."""
        self._send("POST", "/url", {"url": path if isinstance(path, str) else path.as_uri()})

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self._send("GET", "/screenshot")))

    def accessible(self, selector):
        """The role and the name of an element, as a screen reader gets them."""
        element = self.find(selector)
        return tuple(self._send("GET", f"/element/{element}/computed{what}") for what in ("role", "label"))

    def run(self, script, *arguments):
        return self._send("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def run_async(self, script, *arguments):
        """Runs a script that calls its last argument with the result."""
        return self._send("POST", "/execute/async", {"script": script, "args": list(arguments)})

    def find(self, selector):
        return self._send("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]

    def is_displayed(self, selector):
        return self._send("GET", f"/element/{self.find(selector)}/displayed")

    def box(self, selector):
        return self._send("GET", f"/element/{self.find(selector)}/rect")

    def type(self, selector, text):
        self._send("POST", f"/element/{self.find(selector)}/value", {"text": text})

    def press(self, key):
        """Presses a key in the focused element."""
        keys = [{"type": "keyDown", "value": key}, {"type": "keyUp", "value": key}]
        self._send("POST", "/actions", {"actions": [{"type": "key", "id": "keys", "actions": keys}]})

    def drag(self, points):
        """Presses the mouse at the first point of the window, moves it through the others, and releases it."""
        moves = [{"type": "pointerMove", "duration": 0, "x": round(x), "y": round(y)} for x, y in points]
        steps = [moves[0], {"type": "pointerDown", "button": 0}, *moves[1:], {"type": "pointerUp", "button": 0}]
        self._send("POST", "/actions", {"actions": [{"type": "pointer", "id": "mouse", "actions": steps}]})

    def console(self):
        """The messages that the page wrote to the console since the last call."""
        return [entry["message"] for entry in self._send("POST", "/se/log", {"type": "browser"})]

    def emulate(self, command, **parameters):
        self._send("POST", "/goog/cdp/execute", {"cmd": f"Emulation.{command}", "params": parameters})

    def prefer(self, scheme):
        """Sets the preferred color scheme: light or dark."""
        self.emulate("setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def width(self, pixels):
        """Sets the width of the screen."""
        self.emulate("setDeviceMetricsOverride", width=pixels, height=800, deviceScaleFactor=1, mobile=False)
