#!/usr/bin/env python3
"""Serves a walk to snmpd as its pass_persist program: serve_walk.py FILE.snmprec

A line of the walk is OID|TYPE|VALUE, where TYPE is 2 INTEGER, 4 OCTET STRING (4x in hexadecimal), 6 OBJECT IDENTIFIER,
64 IpAddress (64x), 65 Counter32, 66 Gauge32, 67 TimeTicks, 70 Counter64. The file is read again when it has changed.
"""

import bisect
import os
import sys

WORDS = {"2": "integer", "6": "objectid", "64": "ipaddress", "65": "counter", "66": "gauge", "67": "timeticks",
         "70": "counter64"}


def numbers(text):
    return tuple(int(number) for number in text.strip(".").split("."))


def typed(kind, value):
    if kind == "4":
        return "octet", " ".join(f"{octet:02x}" for octet in value.encode("latin-1"))
    if kind == "4x":
        return "octet", " ".join(value[i:i + 2] for i in range(0, len(value), 2))
    if kind == "64x":
        return "ipaddress", ".".join(str(int(value[i:i + 2], 16)) for i in range(0, 8, 2))
    return WORDS[kind], value


class Walk:
    def __init__(self, path):
        self.path = path
        self.stamp = None
        self.refresh()

    def refresh(self):
        stamp = os.stat(self.path).st_mtime_ns
        if stamp == self.stamp:
            return
        self.stamp = stamp
        self.values = {}
        with open(self.path, encoding="latin-1") as lines:
            for line in lines:
                parts = line.rstrip("\n").split("|", 2)
                if len(parts) == 3:
                    self.values[numbers(parts[0])] = typed(parts[1], parts[2])
        self.order = sorted(self.values)

    def answer(self, oid):
        kind, value = self.values[oid]
        return "." + ".".join(map(str, oid)) + "\n" + kind + "\n" + value

    def get(self, oid):
        return self.answer(oid) if oid in self.values else "NONE"

    def get_next(self, oid):
        at = bisect.bisect_right(self.order, oid)
        return self.answer(self.order[at]) if at < len(self.order) else "NONE"


def main():
    walk = Walk(sys.argv[1])
    while True:
        command = sys.stdin.readline().strip()
        if not command:
            return
        if command == "PING":
            print("PONG", flush=True)
            continue
        walk.refresh()
        oid = numbers(sys.stdin.readline())
        print(walk.get(oid) if command == "get" else walk.get_next(oid), flush=True)


main()
