#!/usr/bin/python3
"""Measures how load and latency of the desk grow with the frames on the bus, with the panel's viewers and with the
subscribers of the screen's messages.

Usage: bench/growth.py [bus] [viewers] [subscribers]   (default: all; ORVIK_BIN names the programs' folder)
"""

import multiprocessing
import os
import pathlib
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from desk_figures import Desk, Stream, change_times, look_at_threads, prefer_this_session, send_at  # noqa: E402
from desk import BIN, Bus  # noqa: E402

CHANGES = 100
OTHER_ID = 0x18FF0CD6
RATES = (0, 500, 1000, 2000, 4000, 7500)  # 7,500 frames of eight bytes a second fill a bus of 1 Mbit/s
VIEWERS = (1, 2, 4, 8)
SUBSCRIBERS = (0, 4, 16, 32)


def share(process, work):
    """The process's share of a core while `work` runs."""
    before, start = look_at_threads(process), time.perf_counter()
    work()
    passed, after = time.perf_counter() - start, look_at_threads(process)
    return 100 * sum(spent - before.get(thread, (0, 0, 0))[1] for thread, (_, spent, _) in after.items()) / passed


def measure(desk, bus, what):
    """One row: the shares at the present load while loads change, and the latency of these changes."""
    times = []
    time.sleep(2)  # the panel has noticed that the stream of the last row has ended

    def change():
        times.extend(change_times(desk, bus, CHANGES))

    unit = [0.0]
    orvik = share(desk.orvik, lambda: unit.__setitem__(0, share(desk.unit, change)))
    times.sort()
    print(f"| {what} | {orvik:.1f} % | {unit[0]:.1f} % | {statistics.median(times):.1f} "
          f"| {times[int(0.99 * len(times)) - 1]:.1f} |", flush=True)


def send_for_ever(address, rate):
    station = Bus(address)
    station.be_deaf()
    # Frames that the application receives and ignores, so that they break up no message of the host.
    send_at(station, rate, float("inf"), OTHER_ID)


def grow_bus(desk, bus):
    for rate in RATES:
        sender = multiprocessing.Process(target=send_for_ever, args=(desk.address("socketcand"), rate), daemon=True)
        if rate > 0:
            sender.start()
            time.sleep(1)  # it has begun
        measure(desk, bus, f"{rate} frames/s")
        if rate > 0:
            sender.terminate()
            sender.join()


def grow_viewers(desk, bus):
    streams = []
    for count in VIEWERS:
        while len(streams) < count - 1:  # the measurement has one of its own
            streams.append(Stream(desk.address("http")))
        measure(desk, bus, f"{count} viewers")
    for stream in streams:
        stream.close()


def grow_subscribers(desk, bus):
    watchers = []
    for count in SUBSCRIBERS:
        while len(watchers) < count:
            watchers.append(desk.start(BIN / "unit", "events", "--config", "config", "watch"))
            watchers[-1].wait_line("watching", watchers[-1].err)
        measure(desk, bus, f"{count} subscribers of the events")
    for watcher in watchers:
        watcher.stop()


def main():
    os.chdir(pathlib.Path(__file__).resolve().parents[1])
    prefer_this_session()
    desk = Desk()
    try:
        bus = desk.go_to("Main")
        bus.be_deaf()
        time.sleep(3)  # what the start has begun ends
        print("| | orvik | unit | median, ms | 99th percentile, ms |\n|---|---|---|---|---|")
        for name, grow in (("bus", grow_bus), ("viewers", grow_viewers), ("subscribers", grow_subscribers)):
            if name in (sys.argv[1:] or [name]):
                grow(desk, bus)
    finally:
        desk.close()


if __name__ == "__main__":
    main()
