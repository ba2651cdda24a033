#!/usr/bin/python3
"""Measures how load and latency of the desk grow with the frames on the bus, the panel's viewers, the subscribers of the
screen's messages, the parameters of the database, and the elements of a page that change with each load.

Usage: bench/growth.py [bus] [viewers] [subscribers] [parameters] [widgets]
(default: all; ORVIK_BIN names the programs' folder)
"""

import multiprocessing
import os
import pathlib
import shutil
import statistics
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from desk_figures import Desk, Stream, change_times, look_at_threads, prefer_this_session, send_at  # noqa: E402
from desk import BIN, Bus  # noqa: E402

CHANGES = 100
OTHER_ID = 0x18FF0CD6
RATES = (0, 500, 1000, 2000, 4000, 7500)  # 7,500 frames of eight bytes a second fill a bus of 1 Mbit/s
VIEWERS = (1, 2, 4, 8)
SUBSCRIBERS = (1, 4, 16, 64, 128, 232)  # the manager has 256 clients, of which the desk itself takes some
PARAMETERS = (0, 1000, 3000, 9000)      # more than the configuration has; handles end at 9,999
WIDGETS = (0, 100, 300, 1000)           # more than the page has


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


def add_lines(file, lines, before):
    text = file.read_text()
    file.write_text(text.replace(before, "\n".join([*lines, before])))


def add_parameters(config, count):
    add_lines(config / "parameters.xml",
              (f'<Parameter name="Growth{i}" handle="{1000 + i}" first="{i}"/>' for i in range(count)),
              "</orvik-parameters>")


def add_widgets(config, count):
    add_lines(config / "screen/main.svg",
              (f'<text x="{90 + i % 20 * 23}" y="{270 + i // 20 * 1.7:.1f}" data-var="OrvikLoad" data-format="{{0}}">0</text>'
               for i in range(count)), "</svg>")


def grow_config(counts, add, what):
    """A desk of its own for each count, with a configuration that `add` has changed."""
    for count in counts:
        with tempfile.TemporaryDirectory(prefix="orvik-growth-") as folder:
            config = pathlib.Path(shutil.copytree("config", f"{folder}/config"))
            add(config, count)
            with_desk(lambda desk, bus, count=count: measure(desk, bus, f"{count} more {what}"), "--config", config)


def grow_parameters():
    grow_config(PARAMETERS, add_parameters, "parameters")


def grow_widgets():
    grow_config(WIDGETS, add_widgets, "changing elements on the page")


def with_desk(work, *options):
    desk = Desk(*options)
    try:
        bus = desk.go_to("Main")
        bus.be_deaf()
        time.sleep(3)  # what the start has begun ends
        work(desk, bus)
    finally:
        desk.close()


def main():
    os.chdir(pathlib.Path(__file__).resolve().parents[1])
    prefer_this_session()
    wanted = sys.argv[1:] or ["bus", "viewers", "subscribers", "parameters", "widgets"]
    print("| | orvik | unit | median, ms | 99th percentile, ms |\n|---|---|---|---|---|")
    for name, grow in (("bus", grow_bus), ("viewers", grow_viewers), ("subscribers", grow_subscribers)):
        if name in wanted:
            with_desk(grow)
    for name, grow in (("parameters", grow_parameters), ("widgets", grow_widgets)):
        if name in wanted:
            grow()


if __name__ == "__main__":
    main()
