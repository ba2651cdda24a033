#!/usr/bin/python3
"""Measures the whole desk: unit, application and a station on the bus.

Usage: bench/desk_figures.py [--seconds 10] [--json FILE] [--quiet] [start] [idle] [load] [latency] [pictures]
(default: all; ORVIK_BIN names the programs' folder)

start    from the start of the application to its line "Orvik: System Up"
idle     share of a core, wake-ups a second by thread beside those that its periods name, and memory
load     the same with 2,000 frames a second on the bus
latency  from a frame on the bus to the changed widget on the panel's event stream
pictures what /screen.png takes after a change
"""

import argparse
import contextlib
import json
import os
import pathlib
import random
import signal
import socket
import statistics
import subprocess
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/system"))
from desk import BIN, CONFIG, Desk, HOST_ID, cmd2, cut, wait_for  # noqa: E402

CHANGES_PER_SECOND = 100  # of the seconds that each measurement takes
STARTS_PER_SECOND = 1
FIGURES = {}              # those of the run, by their names
FIXED_PAUSES_MS = 60  # after six of the workers that main starts, 10 ms each

# The wake-ups a second that a thread's periods name. A message to the notification manager is one more: the thread
# sleeps until the reply.
NAMED = {
    "Key Pad Scanner": ("1.4 ms", 714),
    "Dispatch": ("10 ms; heartbeat, process commands", 300),
    "Decapsulate": ("10 ms; heartbeat", 200),
    "Parse": ("10 ms; heartbeat", 200),
    "Timer": ("10 ms", 100),
    "DigitalIO": ("10 ms", 100),
    "Blinker": ("100 ms", 10),
    "Action Channel": ("the page's action, 1 s: pulse, fetch", 2),
    "HX7watchdog": ("1 s", 1),
    "notify": ("one for each message: the application's 400, the services' 55", 455),
    "board watch": ("10 ms; a report each second", 101),
    "screen": ("signs of life 100 ms, marks 250 ms, host 500 ms: pulse, fetch", 34),
    "screen pace": ("50 ms; mark 250 ms, change 500 ms, action 1 s", 27),
    "j1939 report": ("100 ms; manager 500 ms, host 500 ms, faults 1 s", 15),
    "unit": ("100 ms; manager 500 ms", 12),
    "panel": ("changes of the screen 2, board 1, health 11 a second: pulse, fetch", 28),
    "panel pace": ("100 ms", 10),
    "health": ("200 ms; a report for each of 9 services and workers each second", 14),
    "notify pace": ("200 ms", 5),
    "j1939 frames": ("200 ms", 5),
    "database look": ("250 ms", 4),
    "manager watch": ("500 ms, a request: two threads or three", 8),
}


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

    def close(self):
        self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()

    def wait(self, text, since):
        with self.changed:
            while True:
                for when, shown in self.seen.items():
                    if when >= since and text in shown:
                        self.seen.clear()
                        return when
                assert self.changed.wait(5), f"{text} did not arrive within 5 seconds"


def change_times(desk, bus, changes, after=lambda: None):
    """A pause of random length before each change: else each would begin where the last one ended in the periods."""
    bus.send_message([8, 1])  # the traffic before may have ended within a message; the next frame is then lost with it
    bus.send_message([8, 1])
    stream = Stream(desk.address("http"))
    times = []
    for i in range(changes):
        time.sleep(random.uniform(0.02, 0.04))
        load = 100 * (1000 + i)
        since = time.perf_counter()
        bus.send_message(cmd2(load=load))
        times.append(1000 * (stream.wait(f'"{load:7,d}"', since) - since))
        after()
    stream.close()
    return times


def report(what, key, times):
    times.sort()
    FIGURES[f"{key} median"], FIGURES[f"{key} 99th"] = statistics.median(times), times[int(0.99 * len(times)) - 1]
    print(f"{what}: median {statistics.median(times):.1f} ms, 99th percentile {times[int(0.99 * len(times)) - 1]:.1f} ms, "
          f"worst {times[-1]:.1f} ms")


def measure_latency(desk, bus, changes):
    report(f"frame to stream, {changes} load changes", "latency", change_times(desk, bus, changes))


def measure_pictures(desk, bus, changes):
    times = []

    def draw():
        since = time.perf_counter()
        assert desk.request("GET", "/screen.png")[0] == 200
        times.append(1000 * (time.perf_counter() - since))

    change_times(desk, bus, changes, draw)
    report(f"/screen.png after each of {changes} load changes", "picture", times)


def measure_starts(desk, starts):
    times = []
    for _ in range(starts):
        began = time.perf_counter()
        orvik = desk.start(BIN / "orvik", CONFIG / "generic.xml")
        wait_for(lambda: any("System Up" in line for line in list(orvik.out)), "the application's start", interval=0.0002)
        times.append(1000 * (time.perf_counter() - began))
        orvik.stop(signal.SIGKILL)
        time.sleep(1)  # the manager has noticed its end
    FIGURES["start"] = statistics.median(times) - FIXED_PAUSES_MS
    print(f"start to \"Orvik: System Up\", {starts} times: median {statistics.median(times):.1f} ms, of which "
          f"{FIXED_PAUSES_MS} ms are fixed pauses; best {min(times):.1f}, worst {max(times):.1f} ms")


def look_at_threads(process):
    """By thread: name, processor time in seconds, and how often it slept."""
    threads = {}
    for task in pathlib.Path(f"/proc/{process.child.pid}/task").iterdir():
        try:
            spent = int((task / "schedstat").read_text().split()[0]) / 1e9
            status = (task / "status").read_text()
            slept = int(status.split("\nvoluntary_ctxt_switches:")[1].split()[0])
            threads[task.name] = ((task / "comm").read_text().strip(), spent, slept)
        except FileNotFoundError:
            pass  # it has ended
    return threads


def print_threads(process, what, before, after, seconds, named):
    rows = {}
    for thread, (name, spent, slept) in after.items():
        _, spent_before, slept_before = before.get(thread, (name, 0, 0))
        row = rows.setdefault(name, [0, 0, 0])
        row[0] += 1
        row[1] += 100 * (spent - spent_before) / seconds
        row[2] += (slept - slept_before) / seconds
    for name, (count, share, wakes) in sorted(rows.items(), key=lambda row: -row[1][1]):
        if wakes >= 0.5:
            periods, expected = named.get(name, ("", ""))
            print(f"| {name} | {count} | {share:.2f} % | {wakes:.0f} | {expected} | {periods} |")
    FIGURES[f"{what} {process.name}"] = sum(row[1] for row in rows.values())
    FIGURES[f"{what} {process.name} wakes"] = sum(row[2] for row in rows.values())
    print(f"| all of `{process.name}` | {sum(row[0] for row in rows.values())} "
          f"| {sum(row[1] for row in rows.values()):.2f} % | {sum(row[2] for row in rows.values()):.0f} | | |")


def measure_usage(desk, what, seconds, work, named):
    processes = (desk.orvik, desk.unit)
    before = {process: look_at_threads(process) for process in processes}
    start = time.perf_counter()
    work(start + seconds)
    passed = time.perf_counter() - start
    for process in processes:
        after = look_at_threads(process)
        status = pathlib.Path(f"/proc/{process.child.pid}/status").read_text()
        resident = int(status.split("\nVmRSS:")[1].split()[0]) / 1024
        print(f"\n{what}: `{process.name}`, {resident:.1f} MiB resident\n")
        print("| thread | threads | share of a core | wake-ups a second | named | periods |\n|---|---|---|---|---|---|")
        FIGURES[f"{what} {process.name} memory"] = resident
        print_threads(process, what, before[process], after, passed, named)


def measure_bare_wakes(seconds):
    """What the wake-ups of an idle desk would cost if each did nothing."""
    done = subprocess.run([BIN / "bench_wake", str(seconds)], capture_output=True, text=True, check=True)
    share = float(done.stdout) / 1e9
    for name in ("orvik", "unit"):
        floor = FIGURES[f"idle {name} floor"] = 100 * share * FIGURES[f"idle {name} wakes"]
        print(f"the wake-ups of `{name}` by a thread that does nothing else: {floor:.2f} %")


def send_at(bus, rate, until, identifier=HOST_ID):
    """Sends `rate` frames per second, ten at a time, at absolute deadlines."""
    frames = cut(cmd2())
    due, i = time.perf_counter(), 0
    while due < until:
        for _ in range(10):
            bus.send(identifier, frames[i % len(frames)])
            i += 1
        due += 10 / rate
        time.sleep(max(0.0, due - time.perf_counter()))


def prefer_this_session():
    """Gives the session that `setsid` began more right to the processor than others have."""
    with contextlib.suppress(OSError):
        pathlib.Path("/proc/self/autogroup").write_text("-20")


def measure(wanted, seconds):
    changes = int(CHANGES_PER_SECOND * seconds)
    desk = Desk(orvik=False)
    try:
        if "start" in wanted:
            measure_starts(desk, max(1, int(STARTS_PER_SECOND * seconds)))
        desk.orvik = desk.start_orvik()
        bus = desk.go_to("Main")
        time.sleep(3)  # what the start has begun ends
        if "idle" in wanted:
            measure_usage(desk, "idle", seconds, lambda until: time.sleep(until - time.perf_counter()), NAMED)
            measure_bare_wakes(seconds)
        if "load" in wanted:
            measure_usage(desk, "2,000 frames a second", seconds, lambda until: send_at(bus, 2000, until), {})
        if "latency" in wanted:
            measure_latency(desk, bus, changes)
        if "pictures" in wanted:
            measure_pictures(desk, bus, changes)
    finally:
        desk.close()


def main():
    parts = ["start", "idle", "load", "latency", "pictures"]
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("wanted", nargs="*", metavar="PART", help=", ".join(parts))
    parser.add_argument("--seconds", type=float, default=10)
    parser.add_argument("--json", type=pathlib.Path, help="write the figures to this file too")
    parser.add_argument("--quiet", action="store_true")
    options = parser.parse_args()
    if unknown := set(options.wanted) - set(parts):
        parser.error(f"there is no part {unknown.pop()!r}; choose from {', '.join(parts)}")
    prefer_this_session()
    with contextlib.redirect_stdout(open(os.devnull, "w")) if options.quiet else contextlib.nullcontext():
        measure(options.wanted or parts, options.seconds)
    if options.json:
        options.json.write_text(json.dumps(FIGURES) + "\n")


if __name__ == "__main__":
    main()
