#!/usr/bin/env python3
"""Many WebDriver sessions in a row leave no process and no file: sessions.py [COUNT]. It needs a display."""

import ctypes
import os
import pathlib
import sys
import tempfile

from wire import PAGES, Driver, descendants, equal, program, served, until

SUBREAPER = 36  # PR_SET_CHILD_SUBREAPER of prctl


def processes(driver):
    """What runs below this script, but the driver."""
    return {pid: name for pid, name in descendants(os.getpid()).items() if pid != driver.process.pid}


def files(folder):
    return sorted(str(path.relative_to(folder)) for path in pathlib.Path(folder).rglob("*"))


def main(count):
    # What loses its parent stays below this script.
    ctypes.CDLL(None).prctl(SUBREAPER, 1, 0, 0, 0)
    with tempfile.TemporaryDirectory() as folder, served(PAGES) as address:
        places = {name: f"{folder}/{name}" for name in ("HOME", "XDG_RUNTIME_DIR", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME")}
        for place in places.values():
            pathlib.Path(place).mkdir(mode=0o700)
        profile = pathlib.Path(places["XDG_DATA_HOME"]) / "pagehost/chrome"
        profile.mkdir(parents=True)
        (profile / "kept").write_text("of the user")
        before = None
        driver = Driver(**places)
        try:
            # What the first one makes are the folders themselves, empty, and those of the system's libraries.
            for number in range(-1, count):
                mode = ("--automation", "--automation=chrome")[number % 2]
                with driver.session(program(), mode) as session:
                    if mode == "--automation":
                        session.post("url", url=address + "/one")
                        equal(session.get("cookie"), [])
                        session.post("cookie", cookie={"name": "n", "value": "v"})
                        session.run("localStorage.x = 1")
                    else:
                        assert int(session.run("return orv.callNative('webview.list')").strip("[]").split(",")[0]) > 1
                try:
                    until(lambda: not processes(driver), seconds=20)
                except AssertionError:
                    sys.exit(f"after session {number}, {mode}: left processes: {processes(driver)}")
                before = before or files(folder)
        finally:
            driver.end()
        left = [each for each in files(folder) if each not in before]
        print(f"{count} sessions; left files: {left}")
        sys.exit(bool(left))


if __name__ == "__main__":
    main(int(sys.argv[1]) if len(sys.argv) > 1 else 100)
