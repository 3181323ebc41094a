"""Chromium without a window, spoken to over a pipe, for tests of pages."""

import base64
import json
import os
import select
import shutil
import subprocess
import time

PATIENCE = 120  # seconds that an answer may take


def find():
    """The program's path, or None."""
    return shutil.which("chromium") or shutil.which("chromium-browser")


class Browser:
    """One tab. Use it in a `with` statement."""

    def __init__(self, program, profile):
        commands, self.commands = os.pipe()
        self.answers, answers = os.pipe()
        moved = [os.dup(each) for each in (commands, answers)]

        def take_pipes():  # the browser reads commands from 3 and answers on 4
            high = [os.dup2(each, 100 + i) for i, each in enumerate(moved)]
            os.dup2(high[0], 3)
            os.dup2(high[1], 4)
        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--hide-scrollbars", "--no-first-run", "--disable-background-networking",
             "--disable-component-update",
             f"--user-data-dir={profile}", "--remote-debugging-pipe", "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            close_fds=False, preexec_fn=take_pipes)
        for each in (commands, answers, *moved):
            os.close(each)
        self.buffer, self.number, self.session, self.events = b"", 0, None, []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target,
                                 flatten=True)["sessionId"]
        self.call("Page.enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        os.close(self.commands)
        os.close(self.answers)

    def receive(self):
        """The next message, an answer or an event."""
        end = time.monotonic() + PATIENCE
        while b"\0" not in self.buffer:
            if not select.select([self.answers], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError(f"the browser says nothing for {PATIENCE} seconds")
            got = os.read(self.answers, 1 << 20)
            if not got:
                raise EOFError("the browser is gone")
            self.buffer += got
        message, _, self.buffer = self.buffer.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive()
            if answer.get("id") == self.number:
                break
            self.events.append(answer.get("method"))
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']}")
        return answer["result"]

    def await_load(self):
        while "Page.loadEventFired" not in self.events:
            self.events.append(self.receive().get("method"))
        self.events.clear()

    def resize(self, width, height, is_phone):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=2 if is_phone else 1, mobile=is_phone)

    def open(self, path):
        self.events.clear()
        problem = self.call("Page.navigate", url=path.resolve().as_uri()).get("errorText")
        if problem:
            raise RuntimeError(f"{path}: {problem}")
        self.await_load()

    def evaluate(self, expression):
        """The value of an expression in JavaScript, which is waited for."""
        result = self.call("Runtime.evaluate", expression=expression, awaitPromise=True,
                           returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def type(self, text):
        self.call("Input.insertText", text=text)

    def press_enter(self):
        """Follows the link that this opens."""
        self.events.clear()
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key="Enter", code="Enter",
                      windowsVirtualKeyCode=13, text="\r" if kind == "keyDown" else "")
        self.await_load()

    def shoot(self, path):
        """A picture of what the tab shows."""
        path.write_bytes(base64.b64decode(self.call("Page.captureScreenshot",
                                                    format="png")["data"]))
