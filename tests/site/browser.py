"""A headless Chromium that tests steer through a pipe, by the DevTools protocol."""

import base64
import fcntl
import json
import os
import shutil
import subprocess
import tempfile

PROGRAM = shutil.which("chromium") or shutil.which("chromium-browser") or shutil.which("google-chrome")


class Browser:
    """One page of a browser of its own, with a new profile."""

    def __init__(self):
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        commands, answers = ([fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in os.pipe()] for _ in range(2))

        def give_pipes():  # the browser reads commands from 3 and writes answers to 4
            os.dup2(commands[0], 3)
            os.dup2(answers[1], 4)

        options = ["--headless", "--disable-gpu", "--no-first-run", "--remote-debugging-pipe", f"--user-data-dir={self._profile.name}"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")  # it does not start as root otherwise
        self._process = subprocess.Popen([PROGRAM, *options, "about:blank"], pass_fds=(3, 4), preexec_fn=give_pipes,
                                         stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(commands[0])
        os.close(answers[1])
        self._commands, self._answers = os.fdopen(commands[1], "wb", 0), os.fdopen(answers[0], "rb")
        self._number, self._session, self._rest = 0, {}, b""
        target = self._call("Target.createTarget", url="about:blank")["targetId"]
        self._session = {"sessionId": self._call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]}

    def close(self):
        """Ends the browser."""
        self._process.kill()
        self._process.wait()
        self._commands.close()
        self._answers.close()
        self._profile.cleanup()

    def _message(self):
        while b"\0" not in self._rest:
            block = self._answers.raw.read(1 << 16)
            if not block:
                raise RuntimeError("the browser has ended")
            self._rest += block
        message, self._rest = self._rest.split(b"\0", 1)
        return json.loads(message)

    def _call(self, method, **parameters):
        self._number += 1
        call = {"id": self._number, "method": method, "params": parameters, **self._session}
        self._commands.write(json.dumps(call).encode() + b"\0")
        while (answer := self._message()).get("id") != self._number:
            continue
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def prefer(self, scheme):
        """Makes the system's colours "light" or "dark"."""
        self._call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def resize(self, width, height):
        """Gives the window a size in pixels."""
        self._call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def open(self, url):
        """Goes to a page and waits until it is loaded."""
        self._call("Page.navigate", url=url)
        self.run("new Promise(done => document.readyState == 'complete' ? done() : addEventListener('load', () => done()))")

    def run(self, script):
        """Returns the value of an expression of JavaScript; waits for a promise."""
        result = self._call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"]["exception"]["description"])
        return result["result"].get("value")

    def save_picture(self, path):
        """Saves what the window shows as PNG."""
        with open(path, "wb") as picture:
            picture.write(base64.b64decode(self._call("Page.captureScreenshot")["data"]))
