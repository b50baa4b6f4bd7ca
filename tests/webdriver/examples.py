#!/usr/bin/env python3
"""Runs the tests of docs/testing-your-chrome.md as they stand there: examples.py python|selenium|wdio.

Those in JavaScript need their client below $PAGEHOST_NODE_CLIENTS; without its client an example is skipped."""

import importlib.util
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from wire import Driver, program, skip

TEXT = (pathlib.Path(__file__).parents[2] / "docs/testing-your-chrome.md").read_text()
PACKAGES = {"selenium": "selenium-webdriver", "wdio": "webdriverio"}


def examples(kind):
    """The files named before the blocks of code, by their names."""
    found = dict(re.findall(r"`([\w.-]+\.(?:py|mjs))`[^`]*\n\n```(?:python|js)\n(.*?)```", TEXT, re.S))
    chosen = {name: code for name, code in found.items() if name.endswith(".py") == (kind == "python")
              and (kind == "python" or name.startswith(kind))}
    assert len(chosen) == 2, f"{kind}: {list(found)}"
    return chosen


def main(kind):
    clients = pathlib.Path(os.environ.get("PAGEHOST_NODE_CLIENTS", "/nonexistent")) / "node_modules"
    if kind in PACKAGES and not (clients / PACKAGES[kind]).is_dir():
        skip(f"PAGEHOST_NODE_CLIENTS names no folder into which npm has installed {PACKAGES[kind]}")
    if kind == "python" and not importlib.util.find_spec("selenium"):
        skip("python3-selenium is not installed")
    environment = {**os.environ, "PATH": f"{pathlib.Path(program()).parent}:{os.environ['PATH']}"}
    driver = None
    with tempfile.TemporaryDirectory() as folder:
        if kind in PACKAGES:
            (pathlib.Path(folder) / "node_modules").symlink_to(clients)
            driver = Driver(PATH=environment["PATH"])
            environment["WEBDRIVER_URL"] = f"http://127.0.0.1:{driver.port}"
        try:
            status = 0
            for name, code in examples(kind).items():
                (pathlib.Path(folder) / name).write_text(code)
                command = [sys.executable] if kind == "python" else ["node", "--test"]
                status |= subprocess.run([*command, name], cwd=folder, env=environment, timeout=100, check=False).returncode
            return status
        finally:
            if driver:
                driver.end()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
