#!/usr/bin/env python3
"""Prints which room of the tree includes which, and fails on an include that goes up.

The rooms, lowest first, are the lines of layers.txt. Given on the command line: the files to look at.
"""
import collections
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include "([^"]+)"', re.MULTILINE)


def main() -> int:
    listed = (pathlib.Path(__file__).parent / "layers.txt").read_text().splitlines()
    rooms = [line for line in listed if line and not line.startswith("#")]
    rank = {room: place for place, room in enumerate(rooms)}

    def room_of(path):
        return next((str(p) for p in pathlib.PurePosixPath(path).parents if str(p) in rank), None)

    graph = collections.defaultdict(collections.Counter)
    problems = []
    for path in sys.argv[1:]:
        room = room_of(path)
        if room is None:
            problems.append(f"{path}: no room in tools/layers.txt")
            continue
        for name in INCLUDE.findall(pathlib.Path(path).read_text()):
            target = room_of(name)
            # What the build generates has no room.
            if target is None or target == room:
                continue
            graph[room][target] += 1
            if rank[target] > rank[room]:
                problems.append(f"{path}: includes {name}, which is above it")
    for room in rooms:
        targets = sorted(graph[room], key=rank.get)
        print(room, "->", ", ".join(f"{target} ({graph[room][target]})" for target in targets))
    if problems:
        print(*problems, sep="\n")
    return 1 if problems or not graph else 0


if __name__ == "__main__":
    sys.exit(main())
