#!/usr/bin/env python3
"""Serves a walk to snmpd, with counters that move.

    pass_persist .1.3.6.1 script/lib/serve_walk.py FILE.snmprec

Speaks the protocol of snmpd.conf(5), pass_persist, on standard input and output. Counters grow at the mean speed that
they had since the device of the walk started, in waves of ten minutes, and wrap where they have 32 bits; uptimes go on.
All else stays as it was recorded.
"""

import bisect
import math
import sys
import time

TICKS_PER_SECOND = 100
WAVE_SECONDS = 600
WORDS = {"2": "integer", "4": "string", "4x": "octet", "6": "objectid", "64": "ipaddress", "64x": "ipaddress",
         "65": "counter", "66": "gauge", "67": "timeticks", "70": "counter64"}
SYS_UPTIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)
UPTIMES = (SYS_UPTIME, (1, 3, 6, 1, 2, 1, 25, 1, 1, 0), (1, 3, 6, 1, 6, 3, 10, 2, 1, 3, 0))


def read_walk(path):
    """Object -> type and value, in the order in which agents answer."""
    walk = {}
    with open(path, encoding="latin-1") as file:
        for line in file:
            parts = line.rstrip("\n").split("|", 2)
            if len(parts) == 3 and not line.startswith("#") and parts[1] in WORDS:
                walk[tuple(int(number) for number in parts[0].split("."))] = (parts[1], parts[2])
    return dict(sorted(walk.items()))


class MovingWalk:
    def __init__(self, walk):
        self.walk = walk
        self.oids = list(walk)
        self.started = time.monotonic()
        ticks = int(walk[SYS_UPTIME][1]) if SYS_UPTIME in walk else 0
        self.recorded_seconds = ticks / TICKS_PER_SECOND or 86_400

    def moved(self, oid, kind, value):
        seconds = time.monotonic() - self.started
        if oid in UPTIMES:
            return value + int(seconds if kind == "2" else seconds * TICKS_PER_SECOND)
        # The integral of 1 + 0.8 sin: it never falls. Each object is at another place of the wave.
        turn = 2 * math.pi / WAVE_SECONDS
        phase = sum(oid) % WAVE_SECONDS * turn
        wave = 0.8 * (math.cos(phase) - math.cos(phase + seconds * turn)) / turn
        return (value + int(value / self.recorded_seconds * (seconds + wave))) % 2 ** (32 if kind == "65" else 64)

    def answer(self, oid):
        """The three lines for an object, or None."""
        if oid not in self.walk:
            return None
        kind, value = self.walk[oid]
        if kind in ("65", "70") or oid in UPTIMES:
            value = str(self.moved(oid, kind, int(value)))
        elif kind == "4x":
            value = " ".join(value[i:i + 2] for i in range(0, len(value), 2))
        elif kind == "64x":
            value = ".".join(str(octet) for octet in bytes.fromhex(value))
        return ["." + ".".join(map(str, oid)), WORDS[kind], value]

    def next_after(self, oid):
        place = bisect.bisect_right(self.oids, oid)
        return self.answer(self.oids[place]) if place < len(self.oids) else None


def main():
    walk = MovingWalk(read_walk(sys.argv[1]))
    lines = iter(sys.stdin.readline, "")
    for line in lines:
        command = line.strip().lower()
        if command == "ping":
            print("PONG", flush=True)
        elif command in ("get", "getnext"):
            oid = tuple(int(number) for number in next(lines).strip().strip(".").split("."))
            answer = walk.answer(oid) if command == "get" else walk.next_after(oid)
            print("\n".join(answer or ["NONE"]), flush=True)
        elif command == "set":
            next(lines)
            next(lines)
            print("not-writable", flush=True)


if __name__ == "__main__":
    main()
