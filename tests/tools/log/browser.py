"""Chromium without a window, driven through its own pipe: no network, nothing else installed."""
import base64
import fcntl
import json
import os
import shutil
import subprocess
import tempfile

OPTIONS = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-sync",
           "--disable-background-networking", "--disable-component-update", "--hide-scrollbars",
           "--remote-debugging-pipe", "about:blank"]


def high(descriptor):
    copy = fcntl.fcntl(descriptor, fcntl.F_DUPFD_CLOEXEC, 10)
    os.close(descriptor)
    return copy


class Browser:
    """One page. What goes wrong in it is in `problems`."""

    def __init__(self, width=1280, height=900):
        self.problems, self.number, self.rest = [], 0, b""
        self.profile = tempfile.mkdtemp()
        # Beyond the numbers 3 and 4, which the browser expects to be its ends.
        theirs_in, self.to, self.out, theirs_out = [high(end) for end in os.pipe() + os.pipe()]
        command = ["chromium", f"--user-data-dir={self.profile}", f"--window-size={width},{height}", *OPTIONS]
        self.process = subprocess.Popen(
            command, stderr=subprocess.DEVNULL, close_fds=False,
            preexec_fn=lambda: (os.dup2(theirs_in, 3), os.dup2(theirs_out, 4)))
        os.close(theirs_in)
        os.close(theirs_out)
        self.session = None
        targets = self.ask("Target.getTargets")["targetInfos"]
        page = next(target["targetId"] for target in targets if target["type"] == "page")
        self.session = self.ask("Target.attachToTarget", targetId=page, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.ask(domain + ".enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        shutil.rmtree(self.profile, ignore_errors=True)

    def read(self):
        while b"\0" not in self.rest:
            block = os.read(self.out, 1 << 20)
            if not block:
                raise RuntimeError("the browser ended")
            self.rest += block
        message, self.rest = self.rest.split(b"\0", 1)
        message = json.loads(message)
        if message.get("method") in ("Runtime.exceptionThrown", "Log.entryAdded", "Runtime.consoleAPICalled"):
            self.problems.append(message["params"])
        return message

    def ask(self, method, **parameters):
        self.number += 1
        question = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            question["sessionId"] = self.session
        os.write(self.to, json.dumps(question).encode() + b"\0")
        while True:
            message = self.read()
            if message.get("id") == self.number:
                if "error" in message:
                    raise RuntimeError(f"{method}: {message['error']}")
                return message["result"]

    def open(self, path, scheme="light"):
        self.ask("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.ask("Page.navigate", url="file://" + os.path.abspath(path))
        while self.read().get("method") != "Page.loadEventFired":
            pass
        self.value("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))")

    def value(self, expression):
        result = self.ask("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        return result["result"].get("value")

    def hover(self, selector, index=0):
        x, y = self.value(f"(() => {{ "
                          f"const e = [...document.querySelectorAll({selector!r})].filter(e => e.offsetWidth)[{index}];"
                          " e.scrollIntoView({block: 'center'}); const b = e.getBoundingClientRect();"
                          " return [b.x + b.width / 2, b.y + b.height / 2]; })()")
        self.ask("Input.dispatchMouseEvent", type="mouseMoved", x=x, y=y)

    def picture(self, path):
        data = self.ask("Page.captureScreenshot")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))
