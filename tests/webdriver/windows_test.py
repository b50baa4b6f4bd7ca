#!/usr/bin/env python3
"""Where the windows of WebDriver clients come from, whatever the chrome is like, and who may listen."""

import os
import pathlib
import socket
import subprocess
import tempfile
import time
import unittest

from wire import Driver, Refused, program, until

# A chrome that answers OpenWindow with what stands in its address.
CHROME = """<!doctype html><title>chrome</title><script>
const views = []; const answer = decodeURIComponent(location.hash.slice(1));
window.chrome = { native: { error() {} }, internal: { webEvent(view, name, text) {
  if (view === 1 && name === 'OpenWindow') {
    const own = Number(orv.callNative('webview.create', orv.callNative('webview.applicationWindowGroup', 1)));
    views[own] = JSON.parse(text).waitHandle;
    return answer;
  }
  if (name === 'Created' && views[view] && answer.includes('"setWait":true}')) {
    orv.callNative('webview.setGeometry', view, 200, 100, 300, 200);
    orv.callNative('webview.openWindowResponse', 1, views[view], view);
  }
  if (name === 'CloseWindow') orv.callNative('webview.delete', view);
} } };
if (answer) orv.callNative('webview.setWebEventEnabled', 1, 'OpenWindow', true);
orv.callNative('webview.printToStderr', 1, 'the chrome is here\\n');
</script>"""
PLACED, SILENT, REFUSED = '{"setWait":true}', '{"setWait":true }', '{"setAction":"DISCARD"}'


class WindowsTest(unittest.TestCase):
    def setUp(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.file = pathlib.Path(folder) / "chrome.html"
        self.file.write_text(CHROME)

    def driver(self, *arguments):
        driver = Driver(*arguments)
        self.addCleanup(driver.end)
        return driver

    def session(self, driver, answer):
        return driver.session(program(), "--automation", f"--chrome=file://{self.file}#{answer.replace(' ', '%20')}")

    def clicks(self, session):
        session.post("url", url="data:text/html,<body style='margin:90px 0 0 180px'><button onclick='this.textContent++'>0</button>")
        session.click("button")
        return session.text("button"), session.run("return innerWidth")

    def test_a_view_is_driven_wherever_the_chrome_has_placed_it(self):
        with self.session(self.driver(), PLACED) as session:
            self.assertEqual(self.clicks(session), ("1", 300))

    def test_without_an_answer_the_view_fills_the_window(self):
        for answer, least in (("", 0), (SILENT, 9)):
            start = time.monotonic()
            with self.session(self.driver(), answer) as session:
                self.assertGreater(time.monotonic() - start, least)
                self.assertEqual(self.clicks(session), ("1", session.get("window/rect")["width"]))
                new = session.post("window/new")["handle"] if not answer else None
                if new:
                    first = session.get("window")
                    session.post("window", handle=new)
                    self.assertEqual(self.clicks(session)[0], "1")
                    self.assertEqual(session.delete("window"), [first])

    def test_a_chrome_may_refuse(self):
        driver = self.driver()
        with self.assertRaises(Refused):
            self.session(driver, REFUSED).__enter__()
        self.assertIn("The chrome refuses the window", driver.said())

    def running(self, *arguments, **environment):
        process = subprocess.Popen([program(), *arguments], env={**os.environ, **environment}, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def test_without_the_option_nobody_listens(self):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        process = self.running(f"--chrome=file://{self.file}", WEBKIT_INSPECTOR_SERVER=f"127.0.0.1:{port}")
        until(lambda: "the chrome is here" in process.stderr.readline())
        with self.assertRaises(ConnectionRefusedError):
            socket.create_connection(("127.0.0.1", port))


if __name__ == "__main__":
    unittest.main(verbosity=2)
