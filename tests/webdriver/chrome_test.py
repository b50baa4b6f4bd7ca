#!/usr/bin/env python3
"""What the bundled chrome promises, in its own window, by a WebDriver client that drives it and its pages."""

import os
import pathlib
import signal
import ssl
import subprocess
import sys
import tempfile
import unittest

from wire import PAGES, descendants, program, served, skip, until

try:
    from selenium import webdriver
    from selenium.common.exceptions import WebDriverException
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ModuleNotFoundError:
    skip("python3-selenium is not installed")


def children():
    """The program's processes of web views."""
    # The kernel keeps 15 characters of a name.
    return [pid for pid, name in descendants(os.getpid()).items() if name == "pagehost-webview"[:15]]


class ChromeTest(unittest.TestCase):
    """One program for all: each test begins with one tab that shows the page One."""

    @classmethod
    def setUpClass(cls):
        cls.home = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.address = cls.enterClassContext(served(PAGES))
        os.environ["HOME"] = cls.home
        options = webdriver.WebKitGTKOptions()
        options.binary_location = program()
        options.add_argument("--automation=chrome")
        options.set_capability("browserName", "pagehost")
        cls.driver = webdriver.WebKitGTK(options=options, keep_alive=True)
        cls.addClassCleanup(cls.driver.quit)
        cls.chrome = cls.driver.current_window_handle

    def setUp(self):
        self.root()
        if self.shown("#infobar"):
            self.click("#infobar-deny")
        for _ in self.tabs()[1:]:
            self.click(".tab.selected .close")
        self.go("/one", "One")

    # How it is used.

    def root(self):
        self.driver.switch_to.window(self.chrome)
        return self.driver

    def page(self):
        """The page of the only tab; the driver would show a hidden one that it switches to."""
        (page,) = (handle for handle in self.driver.window_handles if handle != self.chrome)
        self.driver.switch_to.window(page)
        return self.driver

    def pages_shown(self):
        return self.driver.execute_script("""const ask = (name, view) => orv.callNative(`webview.${name}`, view);
            return JSON.parse(orv.callNative('webview.list')).filter((view) => ask('isVisible', view) === '1').map((view) => ask('title', view))""")

    def get(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        self.get(selector).click()

    def click_button(self, panel, text):
        self.driver.find_element(By.XPATH, f"//*[@id='{panel}']//button[contains(., '{text}')]").click()

    def keys(self, *keys):
        """The last of them while the others are held, for whatever has the keyboard."""
        chain = ActionChains(self.driver)
        for key in keys[:-1]:
            chain.key_down(key)
        chain.send_keys(keys[-1])
        for key in keys[:-1]:
            chain.key_up(key)
        chain.perform()

    def shown(self, selector):
        return any(each.is_displayed() for each in self.driver.find_elements(By.CSS_SELECTOR, selector))

    def focused(self):
        return self.driver.switch_to.active_element.get_attribute("id")

    def tabs(self):
        return self.driver.execute_script("return [...document.querySelectorAll('[role=tab]')].map((tab) => tab.getAttribute('aria-label'))")

    def selected(self):
        return self.get("[role=tab][aria-selected=true]").get_dom_attribute("aria-label")

    def until(self, holds, wanted=True):
        """Elements may be drawn anew meanwhile."""
        last = []
        try:
            until(lambda: last.append(holds()) or last.pop() == wanted, (WebDriverException,), 15)
        except AssertionError:
            self.assertEqual(holds(), wanted)

    def go(self, path, title=None):
        field = self.get("#address")
        field.clear()
        field.send_keys(path if ":" in path else self.address + path, Keys.ENTER)
        if title:
            self.until(self.selected, title)
            self.until(lambda: self.get("#reload").get_dom_attribute("aria-label"), "Reload")

    # What it promises.

    def test_tabs_open_change_and_close(self):
        self.click("#new-tab")
        self.until(lambda: (len(self.tabs()), self.focused()), (2, "address"))
        self.go("/two", "Two")
        self.assertEqual((self.tabs(), self.pages_shown()), (["One", "Two"], ["Two"]))
        self.click("[role=tab]")
        self.until(lambda: (self.selected(), self.pages_shown()), ("One", ["One"]))
        self.click("[aria-label='Close One']")
        self.until(self.tabs, ["Two"])

    def test_windows_of_pages_are_tabs_beside_them(self):
        opener = self.page().current_window_handle
        self.root().find_element(By.ID, "new-tab").click()
        self.go("/three", "Three")
        self.driver.switch_to.window(opener)
        self.click("#beside")
        self.root()
        self.until(lambda: (self.tabs(), self.selected()), (["One", "Two", "Three"], "Two"))

    def test_the_address_field_goes_to_addresses_and_says_what_is_none(self):
        self.assertEqual(self.get("#address").get_attribute("value"), self.address + "/one")
        self.go("127.0.0.1:22", None)
        self.until(lambda: bool(self.get("#hint").text))
        self.get("#address").send_keys(Keys.ESCAPE)
        self.assertEqual(self.get("#address").get_attribute("value"), self.address + "/one")
        self.go("/two", "Two")
        self.click("#back")
        self.until(self.selected, "One")
        self.click("#forward")
        self.until(self.selected, "Two")
        self.page().execute_script("document.title = 'Other'")
        self.root()
        self.until(self.selected, "Other")
        self.click("#reload")
        self.until(self.selected, "Two")

    def test_a_word_is_found_in_the_page(self):
        self.click("#find")
        self.get("#find-text").send_keys("word")
        self.until(lambda: self.get("#find-count").text, "1 of 3")
        self.click("#find-next")
        self.until(lambda: self.get("#find-count").text, "2 of 3")
        self.get("#find-text").send_keys("s")
        self.until(lambda: self.get("#find-count").text, "No matches")
        self.get("#find-text").send_keys(Keys.ESCAPE)
        self.assertFalse(self.shown("#find-bar"))

    def test_downloads_are_listed(self):
        self.page().find_element(By.ID, "file").click()
        self.root().find_element(By.ID, "downloads").click()
        self.until(lambda: self.get("#downloads-panel li").get_attribute("class"), "finished")
        self.assertEqual(self.get("#downloads-panel .dl-name").text, "file.bin")
        self.assertEqual(self.get("#downloads").get_attribute("aria-expanded"), "true")
        self.assertEqual(len((pathlib.Path(self.home) / "Downloads/file.bin").read_bytes()), 1000)
        self.get("#downloads-panel [aria-label=Close]").click()

    def test_pages_ask_in_a_sheet_above_them(self):
        self.go("/asks")
        self.until(lambda: self.shown("#dialog"))
        self.assertIn("127.0.0.1", self.get("#dialog-title").text)
        self.assertEqual(self.get("#dialog-message").text, "name?")
        self.get("#dialog input").clear()
        self.get("#dialog input").send_keys("Ada", Keys.ENTER)
        self.until(self.selected, "said Ada")
        self.assertFalse(self.shown("#dialog"))

    def test_a_permission_is_asked_for_once_and_can_be_taken_back(self):
        self.go("/where", "Where – waits for an answer")
        self.until(lambda: "where you are" in self.get("#infobar-text").text)
        self.click("#infobar-deny")
        self.until(self.selected, "code 1")
        self.go("/one", "One")
        self.go("/where", "code 1")
        self.click("#menu")
        self.click_button("menu-panel", "Site permissions")
        self.assertIn("127.0.0.1", self.get("#permissions-panel li").text)
        self.click_button("permissions-panel", "Forget all")
        self.until(lambda: len(self.driver.find_elements(By.CSS_SELECTOR, "#permissions-panel li")), 0)

    def test_a_server_that_does_not_prove_who_it_is_waits_for_a_decision(self):
        pair = str(pathlib.Path(self.home) / "pair.pem")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", pair, "-out", pair + ".crt",
                        "-subj", "/CN=elsewhere"], check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(pair + ".crt", pair)

        address = self.enterContext(served({"/": "<title>Unproved</title>"}, context)) + "/"
        self.go(address)
        self.until(lambda: self.shown("#certificate"))
        self.assertTrue(self.get("#certificate-problems").text)
        self.click("#certificate-back")
        self.until(self.selected, "One")
        self.go(address)
        self.until(lambda: self.shown("#certificate"))
        self.click("#certificate-accept")
        self.until(self.selected, "Unproved")
        self.until(lambda: self.get("#security").get_attribute("textContent"), "Not secure")

    def test_one_panel_is_open_at_a_time(self):
        for name in ("Bookmarks", "History", "Downloads", "Page information", "Saved log-ins", "Site permissions",
                     "Blocked resources", "Clear data", "Settings", "Web inspector"):
            self.click("#menu")
            self.click_button("menu-panel", name)
            (panel,) = [each for each in self.driver.find_elements(By.CSS_SELECTOR, ".panel") if each.is_displayed()]
            self.assertTrue(panel.get_dom_attribute("aria-label"), name)
        self.keys(Keys.ESCAPE)
        self.assertFalse(panel.is_displayed())

    def test_the_keyboard_alone_is_enough(self):
        self.keys(Keys.CONTROL, "t")
        self.until(lambda: (len(self.tabs()), self.focused()), (2, "address"))
        self.keys(self.address + "/two" + Keys.ENTER)
        self.until(self.selected, "Two")
        for wanted in ("One", "Two"):
            self.keys(Keys.CONTROL, Keys.TAB)
            self.until(lambda: (self.selected(), self.pages_shown()), (wanted, [wanted]))
        self.keys(Keys.CONTROL, "l")
        self.assertEqual(self.focused(), "address")
        self.keys(self.address + "/three" + Keys.ENTER)
        self.until(self.selected, "Three")
        self.keys(Keys.ALT, Keys.LEFT)
        self.until(self.selected, "Two")
        self.keys(Keys.CONTROL, "w")
        self.until(self.tabs, ["One"])
        self.keys(Keys.CONTROL, "f")
        self.assertEqual(self.focused(), "find-text")
        self.keys(Keys.ESCAPE)
        self.keys(Keys.ALT, "m")
        self.until(lambda: self.shown("#menu-panel"))
        self.keys(Keys.ARROW_DOWN)
        self.assertIn("New private tab", self.driver.switch_to.active_element.get_attribute("textContent"))
        self.keys(Keys.ESCAPE)
        self.until(lambda: self.shown("#menu-panel"), False)

    def test_a_tab_whose_process_ends_says_so_and_comes_back(self):
        self.click("#new-tab-in")
        self.click_button("new-tab-panel", "its own process")
        self.until(lambda: len(self.tabs()), 2)
        processes = children()
        self.assertEqual(len(processes), 1)
        self.until(self.selected, "Welcome – in process 1")
        os.kill(processes[0], signal.SIGKILL)
        self.until(lambda: self.shown("#ended"))
        self.assertIn("ended", self.selected())
        self.click("#ended button")
        self.until(lambda: self.selected().startswith("Welcome – in process"))
        self.assertFalse(self.shown("#ended"))
        self.assertNotEqual(children(), processes)


if __name__ == "__main__":
    unittest.main(verbosity=2, argv=sys.argv)
