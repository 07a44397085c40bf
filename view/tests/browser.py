"""A headless Chromium on its debugging pipe: messages are JSON, a NUL after each."""
import base64
import json
import os
import subprocess
import tempfile
import time


class Page:
    def __init__(self, browser, target):
        self.browser = browser
        self.target = target
        self.session = browser.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.complaints = []
        browser.pages[self.session] = self
        for domain in ("Page", "Runtime", "Log"):
            self.ask(domain + ".enable")

    def ask(self, method, **words):
        return self.browser.ask(method, self.session, **words)

    def hear(self, message):
        method, words = message["method"], message["params"]
        if method == "Runtime.exceptionThrown":
            self.complaints.append(words["exceptionDetails"].get("exception", {}).get("description", "?"))
        if method == "Runtime.consoleAPICalled" and words["type"] in ("error", "assert", "warning"):
            self.complaints.append(str([a.get("value") for a in words["args"]]))
        if method == "Log.entryAdded" and words["entry"]["level"] == "error":
            self.complaints.append(words["entry"]["text"] + " " + words["entry"].get("url", ""))

    def run(self, script):
        answer = self.ask("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"])
        return answer["result"].get("value")

    def until(self, script, limit=20, what=None):
        end = time.time() + limit
        while not self.run(script):
            if time.time() > end:
                raise AssertionError("not within %g s: %s" % (limit, what or script))
            time.sleep(0.05)

    def mouse(self, kind, place):
        self.ask("Input.dispatchMouseEvent", type=kind, x=place[0], y=place[1], button="left",
                 buttons=0 if kind == "mouseReleased" else 1, clickCount=1)

    def place(self, selector, across=0.5, down=0.5):
        return self.run("(() => { const b = document.querySelector(%s).getBoundingClientRect();"
                        "return [b.left + b.width * %g, b.top + b.height * %g]; })()"
                        % (json.dumps(selector), across, down))

    def click(self, selector, across=0.5, down=0.5):
        place = self.place(selector, across, down)
        self.mouse("mousePressed", place)
        self.mouse("mouseReleased", place)

    def shoot(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.ask("Page.captureScreenshot", format="png")["data"]))

    def wear(self, scheme):
        self.ask("Emulation.setEmulatedMedia",
                 features=[{"name": "prefers-color-scheme", "value": scheme}])

    def close(self):
        self.browser.ask("Target.closeTarget", targetId=self.target)


class Browser:
    def __init__(self, width=1280, height=720):
        to_read, self.writes = os.pipe()
        self.reads, to_write = os.pipe()
        # A process of the browser may write into it after the browser has ended.
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.size = (width, height)
        self.pages = {}
        self.number = 0
        self.text = b""

        def arrange():
            low = (os.dup(to_read), os.dup(to_write))
            os.dup2(low[0], 3)
            os.dup2(low[1], 4)

        self.process = subprocess.Popen(
            ["chromium-headless-shell", "--no-sandbox", "--remote-debugging-pipe", "--disable-gpu",
             "--user-data-dir=" + self.profile.name, "--window-size=%d,%d" % self.size,
             "--hide-scrollbars"],
            preexec_fn=arrange, close_fds=False, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(to_write)

    def take(self):
        while b"\0" not in self.text:
            part = os.read(self.reads, 1 << 20)
            if not part:
                raise RuntimeError("the browser has ended")
            self.text += part
        line, self.text = self.text.split(b"\0", 1)
        return json.loads(line)

    def ask(self, method, session=None, **words):
        self.number += 1
        message = {"id": self.number, "method": method, "params": words}
        if session:
            message["sessionId"] = session
        os.write(self.writes, json.dumps(message).encode() + b"\0")
        mine = self.number
        while True:
            answer = self.take()
            if answer.get("id") == mine:
                if "error" in answer:
                    raise RuntimeError(method + ": " + str(answer["error"]))
                return answer["result"]
            page = self.pages.get(answer.get("sessionId"))
            if page and "method" in answer:
                page.hear(answer)

    def open(self, address):
        page = Page(self, self.ask("Target.createTarget", url="about:blank", width=self.size[0],
                                   height=self.size[1])["targetId"])
        page.ask("Page.navigate", url=address)
        return page

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.profile.cleanup()
