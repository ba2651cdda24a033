#!/usr/bin/python3
"""Measures the whole desk: the time from a frame on the bus to the changed widget on the event stream, the time that
/screen.png takes after a change, and the load of the processor when idle and at 2,000 frames per second.

Usage: bench/desk_figures.py [CHANGES]   (default 1000; ORVIK_BIN names the programs' folder)
"""

import json
import os
import pathlib
import socket
import statistics
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/system"))
from desk import Desk, HOST_ID, cmd2, cut  # noqa: E402

TICKS = os.sysconf("SC_CLK_TCK")


class Stream:
    """The panel's event stream; keeps when each event arrived."""

    def __init__(self, address):
        host, port = address.rsplit(":", 1)
        self.socket = socket.create_connection((host, int(port)))
        self.socket.sendall(b"GET /api/stream HTTP/1.1\r\nHost: %s\r\n\r\n" % address.encode())
        self.seen = {}
        self.changed = threading.Condition()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.socket.makefile("rb"):
            if not line.startswith(b"data:"):
                continue
            now = time.perf_counter()
            text = json.dumps(json.loads(line[5:]))
            with self.changed:
                self.seen[now] = text
                self.changed.notify_all()

    def wait(self, text, since):
        with self.changed:
            while True:
                for when, shown in self.seen.items():
                    if when >= since and text in shown:
                        self.seen.clear()
                        return when
                assert self.changed.wait(5), f"{text} did not arrive within 5 seconds"


def measure_latency(desk, bus, changes):
    bus.send_message([8, 1])  # the traffic before may have ended within a message; the next frame is then lost with it
    bus.send_message([8, 1])
    stream = Stream(desk.address("http"))
    times, pictures = [], []
    for i in range(changes):
        load = 100 * (1000 + i)
        since = time.perf_counter()
        bus.send_message(cmd2(load=load))
        times.append(1000 * (stream.wait(f'"{load:7,d}"', since) - since))
        since = time.perf_counter()
        assert desk.request("GET", "/screen.png")[0] == 200
        pictures.append(1000 * (time.perf_counter() - since))
    report(f"frame to stream, {changes} load changes", times)
    report("/screen.png after each of them", pictures)


def report(what, times):
    times.sort()
    print(f"{what}: median {statistics.median(times):.1f} ms, 99th percentile {times[int(0.99 * len(times)) - 1]:.1f} ms, "
          f"worst {times[-1]:.1f} ms")


def usage(process):
    with open(f"/proc/{process.child.pid}/stat") as stat:
        words = stat.read().rsplit(")", 1)[1].split()
    return (int(words[11]) + int(words[12])) / TICKS, int(words[21]) * os.sysconf("SC_PAGE_SIZE") / 1e6


def measure_usage(desk, what, seconds, work):
    before = {p: usage(p)[0] for p in (desk.orvik, desk.unit)}
    start = time.perf_counter()
    work(start + seconds)
    passed = time.perf_counter() - start
    for process in (desk.orvik, desk.unit):
        cpu, memory = usage(process)
        print(f"{what}: {process.name} {100 * (cpu - before[process]) / passed:.1f} % of a core, {memory:.1f} MB resident")


def send_at(bus, rate, until):
    """Sends `rate` frames per second, ten at a time, at absolute deadlines."""
    frames = cut(cmd2())
    due, i = time.perf_counter(), 0
    while due < until:
        for _ in range(10):
            bus.send(HOST_ID, frames[i % len(frames)])
            i += 1
        due += 10 / rate
        time.sleep(max(0.0, due - time.perf_counter()))


def main():
    changes = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
    desk = Desk()
    try:
        bus = desk.go_to("Main")
        measure_usage(desk, "idle", 10, lambda until: time.sleep(until - time.perf_counter()))
        measure_usage(desk, "2,000 frames a second", 10, lambda until: send_at(bus, 2000, until))
        measure_latency(desk, bus, changes)
    finally:
        desk.close()


if __name__ == "__main__":
    main()
