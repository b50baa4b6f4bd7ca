#!/usr/bin/env python3
"""Where the windows of WebDriver clients come from, whatever the chrome is like, and who may listen."""

import concurrent.futures
import os
import pathlib
import socket
import subprocess
import tempfile
import time
import unittest

from wire import Driver, Refused, Session, content, free_port, program, until

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
    @classmethod
    def setUpClass(cls):
        folder = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.file = pathlib.Path(folder) / "chrome.html"
        cls.file.write_text(CHROME)
        # Ten seconds pass until the program goes on without an answer: while the other tests run.
        driver = Driver()
        cls.addClassCleanup(driver.end)
        cls.unanswered = cls.enterClassContext(concurrent.futures.ThreadPoolExecutor(1)).submit(cls.begin_unanswered, driver)

    @classmethod
    def options(cls, answer):
        return "--automation", f"--chrome=file://{cls.file}#{answer.replace(' ', '%20')}"

    @classmethod
    def begin_unanswered(cls, driver):
        """A session, and how long it took to begin."""
        start = time.monotonic()
        return Session(driver, program(), cls.options(SILENT)), time.monotonic() - start

    def driver(self, *arguments):
        driver = Driver(*arguments)
        self.addCleanup(driver.end)
        return driver

    def session(self, driver, answer):
        return driver.session(program(), *self.options(answer))

    def clicks(self, session):
        session.post("url", url="data:text/html,<body style='margin:90px 0 0 180px'><button onclick='this.textContent++'>0</button>")
        session.click("button")
        return session.text("button"), session.run("return innerWidth")

    def test_a_view_is_driven_wherever_the_chrome_has_placed_it(self):
        with self.session(self.driver(), PLACED) as session:
            self.assertEqual(self.clicks(session), ("1", 300))

    def test_without_an_answer_the_view_fills_the_window(self):
        with self.session(self.driver(), "") as session:
            self.assertEqual(self.clicks(session), ("1", session.get("window/rect")["width"]))
            new = session.post("window/new")["handle"]
            first = session.get("window")
            session.post("window", handle=new)
            self.assertEqual(self.clicks(session)[0], "1")
            self.assertEqual(session.delete("window"), [first])
        session, seconds = self.unanswered.result()
        self.addCleanup(session.end)
        self.assertGreater(seconds, 9)
        self.assertEqual(self.clicks(session), ("1", session.get("window/rect")["width"]))

    def test_a_chrome_may_refuse(self):
        driver = self.driver()
        with self.assertRaises(Refused):
            self.session(driver, REFUSED).__enter__()
        self.assertIn("The chrome refuses the window", driver.said())

    def running(self, *arguments, **environment):
        """Starts the program; the file of what it says."""
        said = self.enterContext(tempfile.TemporaryFile())
        process = subprocess.Popen([program(), *arguments], env={**os.environ, **environment}, stderr=said)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return said

    def test_without_the_option_nobody_listens(self):
        port = free_port()
        said = self.running(f"--chrome=file://{self.file}", WEBKIT_INSPECTOR_SERVER=f"127.0.0.1:{port}")
        until(lambda: "the chrome is here" in content(said))
        with self.assertRaises(ConnectionRefusedError):
            socket.create_connection(("127.0.0.1", port))


if __name__ == "__main__":
    unittest.main(verbosity=2)
