#!/usr/bin/env python3
"""walk-sum.py FOLDER PROCESS: what all walks through real pages have seen together.

The folder has a file SUITE_PROCESS of each walk, the lines that pages/suite.js prints at its end.
Prints what docs/events.md says about the numbers, and fails when they are less than usual.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SUITES = ["engine", "resources", "input", "pageapis", "forms"]

folder, process = Path(sys.argv[1]), sys.argv[2]
seen = {"called": set(), "raised": set()}
for suite in SUITES:
    for line in (folder / f"{suite}_{process}").read_text().splitlines():
        _, kind, *names = line.split()
        seen[kind].update(names)


def sum_up(what, table, row, seen, least, never=""):
    """Whether enough of the table's rows were seen, but for those that the engine has nothing for."""
    names = set(re.findall(row, (ROOT / table).read_text(), re.MULTILINE)) - set(never.split())
    missing = sorted(names - seen)
    print(f"{what}: {len(names) - len(missing)} of {len(names)}; not seen:", *missing)
    return len(names) - len(missing) >= least


# A few depend on where the pointer and the keyboard are.
enough = [
    sum_up("commands", "registry/Commands.def", r"^COMMAND(?:_AS)?\(\d+, (\w+).*\nDOC\(Real,",
           {name.removeprefix("webview.") for name in seen["called"]}, 190),
    sum_up("events", "engine/EventTypes.def", r"^EVENT_TYPE\((\w+),", seen["raised"], 68,
           "UpdateWebGLFilter RequestUpdateViewport JavaScriptFunctionResultEvent TypeMax"),
    sum_up("properties", "engine/Properties.def", r"^PROPERTY\((\w+)\)",
           {name.removeprefix("Property").removesuffix("Event") for name in seen["raised"]}, 74,
           "PluginFullScreen CertificateInfo ZoomFactor PropertyMax"),
]
sys.exit(0 if all(enough) else 1)
