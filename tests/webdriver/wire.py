"""WebDriver on the wire: WebKitWebDriver as a process, its sessions, and a server with pages for them."""

import contextlib
import http.server
import json
import os
import shutil
import socket
import subprocess
import tempfile
import threading
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
SHADOW = "shadow-6066-11e4-a52e-4f735466cecf"
# Longer than any wait in the program or the driver.
PATIENCE = 60


class Refused(Exception):
    """An error of the protocol; `code` is its name in the recommendation."""

    def __init__(self, value):
        super().__init__(f"{value.get('error')}: {value.get('message')}")
        self.code = value.get("error")


# The driver's network library asks the desktop for a proxy, and would start a bus for that.
NO_BUS = {"DBUS_SESSION_BUS_ADDRESS": "disabled:"}


class Driver:
    """A WebKitWebDriver at a free port, with its own environment."""

    def __init__(self, *arguments, **environment):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        self.log = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen(
            ["WebKitWebDriver", f"--port={self.port}", *arguments], stdin=subprocess.DEVNULL, stdout=self.log,
            stderr=self.log, env={**os.environ, **NO_BUS, **environment})
        until(lambda: self.ask("GET", "/status"), refused=(OSError,))

    def ask(self, method, path, body=None):
        data = None if method in ("GET", "DELETE") else json.dumps(body or {}).encode()
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}{path}", data, method=method,
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=PATIENCE) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise Refused(json.load(error)["value"]) from None

    def said(self):
        self.log.seek(0)
        return self.log.read()

    def end(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.log.close()

    @contextlib.contextmanager
    def session(self, binary, *arguments, **capabilities):
        session = Session(self, binary, arguments, capabilities)
        try:
            yield session
        finally:
            session.end()


class Session:
    def __init__(self, driver, binary, arguments=("--automation",), capabilities=None):
        options = {"binary": binary, "args": list(arguments)} if binary else {}
        self.driver = driver
        value = driver.ask("POST", "/session", {"capabilities": {"alwaysMatch": {
            "webkitgtk:browserOptions": options, **(capabilities or {})}}})
        self.id = value["sessionId"]
        self.capabilities = value["capabilities"]

    def end(self):
        if self.id:
            # The last window that is closed ends the session as well.
            with contextlib.suppress(Refused, OSError):
                self.driver.ask("DELETE", f"/session/{self.id}")
        self.id = None

    def get(self, path):
        return self.driver.ask("GET", f"/session/{self.id}/{path}")

    def post(self, path, **body):
        return self.driver.ask("POST", f"/session/{self.id}/{path}", body)

    def delete(self, path):
        return self.driver.ask("DELETE", f"/session/{self.id}/{path}")

    def run(self, script, *arguments):
        return self.post("execute/sync", script=script, args=list(arguments))

    def find(self, selector, root=""):
        return self.post(f"{root}element", using="css selector", value=selector)[ELEMENT]

    def click(self, selector):
        self.post(f"element/{self.find(selector)}/click")

    def text(self, selector):
        return self.get(f"element/{self.find(selector)}/text")

    def perform(self, kind, *steps, **parameters):
        # A source keeps its kind for the whole session.
        source = {"type": kind, "id": kind + parameters.get("pointerType", ""), "actions": list(steps)}
        if parameters:
            source["parameters"] = parameters
        self.post("actions", actions=[source])


def until(holds, refused=(), seconds=PATIENCE):
    """What the condition gives, as soon as it is true; exceptions of those classes count as not yet."""
    end = time.monotonic() + seconds
    while True:
        try:
            if value := holds():
                return value
        except refused:
            pass
        assert time.monotonic() < end, "it does not come about"
        time.sleep(0.02)


def equal(seen, wanted):
    assert seen == wanted, f"{seen!r} is not {wanted!r}"


@contextlib.contextmanager
def served(pages):
    """Serves texts by their paths at an address, which it gives; bytes are downloads."""

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            page = pages.get(self.path.split("?")[0])
            self.send_response(404 if page is None else 200)
            is_file = isinstance(page, bytes)
            self.send_header("Content-Type", "application/octet-stream" if is_file else "text/html; charset=utf-8")
            body = page if is_file else (page or "<title>none</title>").encode()
            self.send_header("Content-Length", str(len(body)))
            self.end_headers()
            self.wfile.write(body)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    thread = threading.Thread(target=server.serve_forever)
    thread.start()
    try:
        yield f"http://127.0.0.1:{server.server_port}"
    finally:
        server.shutdown()
        thread.join()
        server.server_close()


def program():
    """The program under test: PAGEHOST, else the one in the search path."""
    return os.environ.get("PAGEHOST") or shutil.which("pagehost")
