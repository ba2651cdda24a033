#!/usr/bin/python3
"""Counts the instructions of the application's 32-bit ARM build, by thread, on a desk whose other parts are this
machine's own, and reckons from them the load of a 400 MHz core.

Usage: bench/arm/arm_load.py [--seconds 20] [--json FILE]

Needs the build presets "release" and "arm" (cmake --build --preset arm --target orvik) and QEMU's user-mode emulation
(tools/install-packages dev). ORVIK_BIN names the folder of the desk's programs. Instructions do not depend on what
else the machine does, as long as no thread misses its period.
"""

import argparse
import json
import pathlib
import struct
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests/system"), str(ROOT / "bench")]
from desk import BIN, CONFIG, Desk  # noqa: E402
from desk_figures import send_at  # noqa: E402

ARM_ORVIK = ROOT / "build/arm/bin/orvik"
PLUGIN = BIN / "libcount_instructions.so"
CLOCK, CYCLES_PER_INSTRUCTION = 400e6, 1.5
ROW = struct.Struct("=QQ")  # as in count_instructions.cpp
FRAMES_PER_SECOND = 200
WAY_OF_A_FRAME = ("Receive CAN", "Decapsulate", "Parse")


def read_counts(path, process):
    """The instructions so far by the thread's name; threads of one name together."""
    counts = {}
    for thread, instructions in ROW.iter_unpack(path.read_bytes()):
        comm = pathlib.Path(f"/proc/{process}/task/{thread}/comm")
        if thread and comm.exists():
            name = comm.read_text().strip()
            counts[name] = counts.get(name, 0) + instructions
    return counts


def read_switches(process):
    """How often each thread went to sleep so far, by its name."""
    switches = {}
    for task in pathlib.Path(f"/proc/{process}/task").iterdir():
        words = (task / "status").read_text().split()
        name = (task / "comm").read_text().strip()
        switches[name] = switches.get(name, 0) + int(words[words.index("voluntary_ctxt_switches:") + 1])
    return switches


def measure(path, process, seconds, work):
    """Instructions and sleeps a second by thread, while the work is done until its time has come."""
    counts, switches, start = read_counts(path, process), read_switches(process), time.perf_counter()
    work(start + seconds)
    passed = time.perf_counter() - start
    after, sleeps = read_counts(path, process), read_switches(process)
    return {name: ((after[name] - counts.get(name, 0)) / passed, (sleeps[name] - switches.get(name, 0)) / passed)
            for name in after}


def load(instructions):
    return 100 * instructions * CYCLES_PER_INSTRUCTION / CLOCK


def total(figures):
    return sum(instructions for instructions, _ in figures.values()), sum(sleeps for _, sleeps in figures.values())


def reckon(idle, busy):
    frame = sum(busy[name][0] - idle.get(name, (0, 0))[0] for name in WAY_OF_A_FRAME) / FRAMES_PER_SECOND
    return {"idle": load(total(idle)[0]), "busy": load(total(busy)[0]), "frame": frame}


def show(idle, busy, figures):
    print(f"{'thread':18}{'idle: instr./s':>15}{'sleeps/s':>10}{'load':>8}"
          f"{f'{FRAMES_PER_SECOND} frames/s':>18}{'load':>8}")
    order = sorted(busy, key=lambda name: -busy[name][0])
    rows = [(name, idle.get(name, (0, 0)), busy[name]) for name in order]
    rows.append(("all", total(idle), total(busy)))
    for name, (quiet, sleeps), (loaded, _) in rows:
        print(f"{name:18}{quiet:15,.0f}{sleeps:10,.0f}{load(quiet):7.2f}%{loaded:18,.0f}{load(loaded):7.2f}%")
    print(f"a frame's way through {', '.join(WAY_OF_A_FRAME)}: {figures['frame']:,.0f} instructions")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seconds", type=float, default=20, help="of each of the two measurements (20)")
    parser.add_argument("--quiet", action="store_true", help="print no table")
    parser.add_argument("--json", type=pathlib.Path, help="write the figures to this file too")
    options = parser.parse_args()
    for file, make in ((ARM_ORVIK, "cmake --build --preset arm --target orvik"),
                       (PLUGIN, "cmake --build --preset release --target count_instructions")):
        if not file.exists():
            sys.exit(f"arm_load: {file} is missing; make it with: {make}")
    desk = Desk(orvik=False)
    try:
        table = pathlib.Path(desk.directory.name) / "instructions"
        desk.orvik = desk.start("qemu-arm", "-L", "/usr/arm-linux-gnueabihf", "-plugin", f"{PLUGIN},out={table}",
                                ARM_ORVIK, CONFIG / "generic.xml")
        desk.orvik.wait_line("Orvik: System Up", seconds=60)
        bus = desk.go_to("Main")
        process = desk.orvik.child.pid
        measure(table, process, 3, lambda until: send_at(bus, FRAMES_PER_SECOND, until))  # all code is translated now
        idle = measure(table, process, options.seconds, lambda until: time.sleep(until - time.perf_counter()))
        busy = measure(table, process, options.seconds, lambda until: send_at(bus, FRAMES_PER_SECOND, until))
        figures = reckon(idle, busy)
        if not options.quiet:
            show(idle, busy, figures)
        if options.json:
            options.json.write_text(json.dumps(figures, indent=1) + "\n")
    finally:
        desk.close()


if __name__ == "__main__":
    main()
