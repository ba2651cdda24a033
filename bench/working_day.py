#!/usr/bin/python3
"""A working day of the crane through the real processes, as fast as they go, and once more.

    working_day.py [--seconds 36000] [--speed max] [--seed 1]     (ORVIK_BIN names the programs' folder)

Each day has a desk of its own: a unit, the application, and the simulator with a lift that repeats. Prints how memory,
descriptors and threads of unit and application went, how many host messages the application counted of those that the
unit's record of the bus has, and what the two days differ in at their end. The exit status is 1 when memory of the second
half grew by more than one hundredth, a descriptor or a thread was left, a message was lost, or the two ends differ. The
record takes some 200 MB of the folder for temporary files while it runs.
"""

import argparse
import os
import pathlib
import re
import statistics
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests/system"))
from desk import BIN, HOST_ID, Desk, wait_steady  # noqa: E402

GROWTH = 0.01
COUNT = "OrvikTotalHX7Commands"
PAGE_KIB = os.sysconf("SC_PAGE_SIZE") // 1024
AT_ONCE = "06|07(?:03|04|05|07|09)"  # command and sub-command of the requests that are no commands in the count


def look_at(process):
    """Resident memory in KiB, descriptors and threads of a process."""
    folder = pathlib.Path(f"/proc/{process.child.pid}")
    return (int((folder / "statm").read_text().split()[1]) * PAGE_KIB, len(list((folder / "fd").iterdir())),
            len(list((folder / "task").iterdir())))


def received(desk):
    return desk.value(COUNT) or 0


def recorded(path):
    """The host's commands in a record: first frames of a message, without the requests that are answered at once."""
    first = re.compile(f" {HOST_ID:08X}#00..(?!{AT_ONCE})")
    with open(path) as lines:
        return sum(first.search(line) is not None for line in lines)


def end_of(desk):
    """What stands on the screen and in the database."""
    wait_steady(lambda: desk.screen.document()["widgets"], "the screen", 2, 30)
    state = {f"widget {name}": text for name, text in desk.screen.document()["widgets"].items()}
    for parameter in desk.get("/api/database")["parameters"]:
        state[parameter["name"]] = parameter["value"] if parameter["valid"] else None
    del state[COUNT]  # how often this script asked for the first page goes into it
    return state


def show_progress(begun, samples, desk):
    sizes = ", ".join(f"{name} {kib} KiB" for name, (kib, _, _) in samples.items())
    print(f"\r{time.monotonic() - begun:6.0f} s  {received(desk):9} messages  {sizes}   ", end="", file=sys.stderr, flush=True)


def follow(desk, simulator):
    """Samples both processes until the simulator ends: name -> list of (KiB, descriptors, threads)."""
    history = {"orvik": [], "unit": []}
    begun = time.monotonic()
    while simulator.child.poll() is None:
        now = {"orvik": look_at(desk.orvik), "unit": look_at(desk.unit)}
        for name, sample in now.items():
            history[name].append(sample)
        show_progress(begun, now, desk)
        time.sleep(1)
    print(file=sys.stderr)
    return history


def run_day(options):
    record = tempfile.NamedTemporaryFile(prefix="orvik-day-", suffix=".log")
    desk = Desk("--record", record.name)
    try:
        desk.go_to("Main").close()
        simulator = desk.start(BIN / "hx7", "simulate", "--scenario", "normal-lift", "--loop", "--quiet",
                               "--ignore-expectations", "--seconds-of-crane", options.seconds, "--speed", options.speed, "--seed", options.seed)
        begun = time.monotonic()
        history = follow(desk, simulator)
        if simulator.wait_exit() != 0:
            raise SystemExit("\n".join(simulator.err))
        seconds = time.monotonic() - begun
        day = {"seconds": seconds, "history": history,
               "messages": int(wait_steady(lambda: received(desk), "the application's count", 2, 60)),
               "end": end_of(desk), "bus": desk.counters("j1939")}
    finally:
        desk.close()
    return day | {"sent": recorded(record.name)}


def report_growth(history):
    """Prints how the second half of the day went beside the middle; the result says whether all stood still."""
    still = True
    for name, samples in history.items():
        tenth = max(1, len(samples) // 10)
        middle, last = samples[len(samples) // 2:][:tenth], samples[-tenth:]
        kib = [statistics.median(each[0] for each in part) for part in (middle, last)]
        counts = [[max(each[i] for each in part) for part in (middle, last)] for i in (1, 2)]
        print(f"  {name}: {kib[0]:.0f} -> {kib[1]:.0f} KiB, descriptors {counts[0][0]} -> {counts[0][1]}, "
              f"threads {counts[1][0]} -> {counts[1][1]}")
        still &= kib[1] <= kib[0] * (1 + GROWTH) and all(after <= before for before, after in counts)
    return still


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=36000, help="of the crane's time")
    parser.add_argument("--speed", default="max")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    days = []
    good = True
    for number in (1, 2):
        day = run_day(options)
        days.append(day)
        print(f"day {number}: {options.seconds:.0f} s of crane in {day['seconds']:.0f} s, "
              f"{day['messages']} of {day['sent']} commands counted, bus: {day['bus']}")
        good &= report_growth(day["history"]) and day["messages"] == day["sent"]
    first, second = (day["end"] for day in days)
    different = {name: (first.get(name), second.get(name)) for name in first | second if first.get(name) != second.get(name)}
    print(f"different at the end: {different or 'nothing'}")
    return 0 if good and not different else 1


if __name__ == "__main__":
    sys.exit(main())
