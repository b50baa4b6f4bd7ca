"""WebDriver on the wire: WebKitWebDriver as a process, its sessions, and a server with pages for them.

A script that imports this ends as skipped if there is no WebKitWebDriver."""

import contextlib
import http.server
import json
import os
import pathlib
import re
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
SHADOW = "shadow-6066-11e4-a52e-4f735466cecf"
# Longer than any wait in the program or the driver.
PATIENCE = 60

PAGES = {
    "/one": "<title>One</title><p>word and word and word<p><a id=beside target=_blank href=/two>two</a> <a id=on href=/two>on</a>"
            "<a id=file href=/file.bin>file</a><input id=field>",
    "/two": "<title>Two</title><p>the second",
    "/three": "<title>Three</title><p>the third",
    "/asks": "<title>Asks</title><script>setTimeout(() => document.title = `said ${prompt('name?', 'x')}`)</script>",
    "/where": "<title>Where</title><script>navigator.geolocation.getCurrentPosition(() => 0, (e) => document.title = `code ${e.code}`)</script>",
    "/file.bin": b"x" * 1000,
}


def skip(why):
    """Ends the script, as a test that is skipped."""
    print(f"SKIPPED: {why}")
    sys.exit(77)


if not shutil.which("WebKitWebDriver"):
    skip("WebKitWebDriver is not installed (webkit2gtk-driver)")


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
        self.log = tempfile.TemporaryFile()
        # Another program may take the port before the driver does.
        if not self.start(arguments, environment) and not self.start(arguments, environment):
            raise RuntimeError(f"WebKitWebDriver ends with status {self.process.returncode}: {self.said()}")

    def start(self, arguments, environment):
        """False if it has ended at once."""
        self.port = free_port()
        self.process = subprocess.Popen(
            ["WebKitWebDriver", f"--port={self.port}", *arguments], stdin=subprocess.DEVNULL, stdout=self.log,
            stderr=self.log, env={**os.environ, **NO_BUS, **environment})
        try:
            until(lambda: self.process.poll() is not None or self.ask("GET", "/status"),
                  refused=(OSError, ValueError, Refused))
        except AssertionError:
            self.process.kill()
            raise
        return self.process.poll() is None

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
        return content(self.log)

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


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def content(file):
    """What is in a file that a process still writes, whose place in it is left alone."""
    return os.pread(file.fileno(), os.fstat(file.fileno()).st_size, 0).decode(errors="replace")


def descendants(pid):
    """The processes below that one: the kernel's names by the ids. Those that have ended are not among them."""
    found = {}
    for children in pathlib.Path(f"/proc/{pid}/task").glob("*/children"):
        with contextlib.suppress(OSError):
            for child in map(int, children.read_text().split()):
                with contextlib.suppress(OSError):
                    name, state = re.fullmatch(r"\d+ \((.*)\) (\w) .*", pathlib.Path(f"/proc/{child}/stat").read_text(), re.S).groups()
                    if state not in "ZX":
                        found[child] = name
                found.update(descendants(child))
    return found


@contextlib.contextmanager
def served(pages, tls=None):
    """Serves texts by their paths at an address, which it gives; bytes are downloads. TLS by a server's context."""

    class Handler(http.server.BaseHTTPRequestHandler):
        def handle(self):
            # A client that does not trust the server ends the handshake.
            with contextlib.suppress(ssl.SSLError, ConnectionError):
                super().handle()

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
    if tls:
        # The handshake is made in the thread of the connection, by its first read.
        server.socket = tls.wrap_socket(server.socket, server_side=True, do_handshake_on_connect=False)
    thread = threading.Thread(target=server.serve_forever)
    thread.start()
    try:
        yield f"{'https' if tls else 'http'}://127.0.0.1:{server.server_port}"
    finally:
        server.shutdown()
        thread.join()
        server.server_close()


def program():
    """The program under test: PAGEHOST, else the one in the search path."""
    return os.environ.get("PAGEHOST") or shutil.which("pagehost")
