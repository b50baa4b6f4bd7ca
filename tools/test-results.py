#!/usr/bin/env python3
"""Reads ctest's JUnit file and prints a line for each result that counts:

    passed NUMBER
    failed NAME
    skipped NAME: REASON
"""

import re
import sys
import xml.etree.ElementTree


def skipped_itself(case):
    """Whether the test says so. ctest calls tests skipped, too, that it could not start."""
    skipped = case.find("skipped")
    return skipped is not None and skipped.get("message", "").startswith("SKIP_")


def reason(case):
    """What the test itself says: GoogleTest's on the line after, scripts' on the same."""
    output = case.findtext("system-out") or ""
    told = re.search(r"^(?:\S+:\d+: Skipped\n|SKIPPED: )(.+)$", output, re.MULTILINE)
    return told.group(1) if told else "no reason is given"


def main(path):
    passed = 0
    for case in xml.etree.ElementTree.parse(path).getroot().iter("testcase"):
        name = case.get("name")
        if skipped_itself(case):
            print(f"skipped {name}: {reason(case)}")
        elif case.get("status") == "run" and case.find("failure") is None:
            passed += 1
        else:
            print(f"failed {name}")
    print(f"passed {passed}")


main(sys.argv[1])
