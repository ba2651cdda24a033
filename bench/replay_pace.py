#!/usr/bin/python3
"""Measures how closely `hx7 play` keeps a log's times: a station on the bus notes when each frame arrives.

    bench/replay_pace.py [--bin DIR] [--minutes 10] [--speed 1]

Plays the demonstration log, repeated to fill that many minutes, and prints the total duration against the log's and
the deviation of single frames.
"""

import argparse
import os
import pathlib
import sys
import tempfile
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(REPOSITORY / "tests/system"))

ROUND = 142.0  # seconds after which the demonstration log may begin again


def make_log(demo, path, seconds):
    """Repeats the demonstration log up to that length; returns its time stamps in seconds from 0."""
    lines = [line.split(" ", 1) for line in open(demo)]
    begin = float(lines[0][0].strip("()"))
    stamps = []
    with open(path, "w") as log:
        for turn in range(1 + int(seconds / ROUND)):
            for stamp, rest in lines:
                at = float(stamp.strip("()")) - begin + turn * ROUND
                if at <= seconds:
                    log.write(f"({begin + at:.6f}) {rest}")
                    stamps.append(at)
    return stamps


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bin", default=os.environ.get("ORVIK_BIN", str(REPOSITORY / "build/release/bin")))
    parser.add_argument("--minutes", type=float, default=10)
    parser.add_argument("--speed", type=float, default=1)
    options = parser.parse_args()
    os.environ["ORVIK_BIN"] = options.bin
    import desk

    unit = desk.Desk(orvik=False)
    try:
        with tempfile.NamedTemporaryFile(suffix=".log") as log:
            stamps = make_log(desk.DEMO_LOG, log.name, options.minutes * 60)
            bus = unit.bus()
            player = unit.start(desk.BIN / "hx7", "play", "--speed", str(options.speed), log.name)
            heard = []
            for _ in stamps:
                bus.receive_any(60)
                heard.append(time.monotonic())
            assert player.wait_exit() == 0, player.err
    finally:
        unit.close()
    wanted = (stamps[-1] - stamps[0]) / options.speed
    took = heard[-1] - heard[0]
    late = sorted(at - heard[0] - stamp / options.speed for at, stamp in zip(heard, stamps))
    print(f"{len(stamps)} frames, {wanted:.3f} s of the log: took {took:.3f} s, {100 * (took / wanted - 1):+.4f} %")
    print(f"against the first frame: median {1e3 * late[len(late) // 2]:+.2f} ms, 99 % within "
          f"{1e3 * late[len(late) * 99 // 100]:+.2f} ms, latest {1e3 * late[-1]:+.2f} ms")


if __name__ == "__main__":
    main()
