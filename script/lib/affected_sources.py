#!/usr/bin/python3
"""Prints those of the files read from standard input that are among the changed ones, or include one of them.

    script/lib/affected_sources.py CHANGED... < FILES

Includes are followed through other headers of the project, which are named by their path from its root.
"""
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def includes(name, known):
    """The files that a file names in its includes; none for one that does not exist, as a header of a library."""
    if name not in known:
        try:
            with open(name, encoding="utf-8") as file:
                known[name] = INCLUDE.findall(file.read())
        except OSError:
            known[name] = []
    return known[name]


def reached(name, known):
    """A file, and every one that it includes, itself or through others."""
    seen, waiting = {name}, [name]
    while waiting:
        for one in includes(waiting.pop(), known):
            if one not in seen:
                seen.add(one)
                waiting.append(one)
    return seen


def main(changed):
    known = {}
    for name in sys.stdin.read().split():
        if not changed.isdisjoint(reached(name, known)):
            print(name)


main(set(sys.argv[1:]))
