#!/usr/bin/python3
"""Counts the allocations and the system calls of each thread of the application in its steady state: on Main without
a host, and with a host that sends operating values or texts.

Usage: bench/steady/steady_calls.py [--seconds 10]

Needs the build preset "release" and strace. ORVIK_BIN names the folder of the desk's programs.
"""

import argparse
import collections
import pathlib
import re
import struct
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests/system"), str(ROOT / "bench")]
from desk import BIN, Desk, cmd2, cmd5  # noqa: E402

COUNTER = BIN / "libcount_allocations.so"
ROW = struct.Struct("=QQ")  # as in count_allocations.cpp
CALL = re.compile(r"(\d+) +(?:[\d.]+ +)?(\w+)\(")
MESSAGES_PER_SECOND = 10


def thread_names(process):
    return {int(task.name): (task / "comm").read_text().strip()
            for task in pathlib.Path(f"/proc/{process}/task").iterdir()}


def read_allocations(path):
    return {thread: count for thread, count in ROW.iter_unpack(path.read_bytes()) if thread}


def work_for(seconds, bus, messages):
    until, number = time.perf_counter() + seconds, 0
    while time.perf_counter() < until:
        if messages:
            bus.send_message(messages[number % len(messages)])
            number += 1
        time.sleep(1 / MESSAGES_PER_SECOND)


def count_allocations(path, names, seconds, work):
    before = read_allocations(path)
    work(seconds)
    counts = collections.Counter()
    for thread, count in read_allocations(path).items():
        if thread in names:
            counts[names[thread]] += count - before.get(thread, 0)
    return counts


def count_calls(process, names, file, seconds, work):
    tracer = subprocess.Popen(["strace", "-f", "-qq", "-p", str(process), "-o", str(file)])
    try:
        time.sleep(0.5)
        start = file.read_text().count("\n")
        work(seconds)
        lines = file.read_text().splitlines()[start:]
    finally:
        tracer.terminate()
        tracer.wait()
    calls = collections.defaultdict(collections.Counter)
    for line in lines:
        call = CALL.match(line)
        if call and int(call[1]) in names:
            calls[names[int(call[1])]][call[2]] += 1
    return calls


def show(title, names, allocations, calls, seconds):
    print(f"{title}\n{'thread':18}{'allocations/s':>14}  system calls/s")
    for name in sorted(set(names.values())):
        texts = [f"{call} {count / seconds:.0f}" for call, count in calls[name].most_common() if count >= seconds / 2]
        print(f"{name:18}{allocations[name] / seconds:14.1f}  {', '.join(texts)}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=10, help="of each measurement (10)")
    options = parser.parse_args()
    if not COUNTER.exists():
        sys.exit(f"steady_calls: {COUNTER} is missing; make it with: "
                 "cmake --build --preset release --target count_allocations")
    desk = Desk(orvik=False)
    try:
        table = pathlib.Path(desk.directory.name) / "allocations"
        desk.environment = {"LD_PRELOAD": str(COUNTER), "ORVIK_ALLOCATIONS": str(table)}
        desk.orvik = desk.start_orvik()
        bus = desk.go_to("Main")
        process = desk.orvik.child.pid
        names = thread_names(process)
        loads = {"without a host": [],
                 "operating values": [cmd2(load=100 * (100 + i), radius=30 + i / 10) for i in range(20)],
                 "texts": [cmd5((1, f"OUTRIGGERS {i}"), (17, "MAIN BOOM"), (20, f"PARTS {i}")) for i in range(2)]}
        for title, messages in loads.items():
            def work(seconds, messages=messages):
                work_for(seconds, bus, messages)
            work(3)
            allocations = count_allocations(table, names, options.seconds, work)
            calls = count_calls(process, names, pathlib.Path(desk.directory.name) / "calls", options.seconds, work)
            show(title, names, allocations, calls, options.seconds)
    finally:
        desk.close()


if __name__ == "__main__":
    main()
