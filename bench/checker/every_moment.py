#!/usr/bin/env python3
"""Watches bus and screen of a running unit and judges every moment of what stands on the screen.

    every_moment.py scenarios [--speed 4] [--only overload]   each scenario of config/scenarios
    every_moment.py random [--seconds 3600] [--seed 1]        a host of chance, with injected faults
    every_moment.py kills [--seconds 600] [--seed 1]          every process killed and stopped in turn
    every_moment.py short                                     a minute of all three

Prints "wrong: N" and how late the numbers came; the exit status is 1 when N is not 0. docs/truth.md explains.
"""

import argparse
import contextlib
import os
import pathlib
import random
import signal
import socket
import sys
import tempfile
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parents[1] / "tests" / "system")]

from bad_host import BadHost, FRONT_KEYS  # noqa: E402
from desk import BIN, CONFIG, Bus, Desk, Process, wait_for  # noqa: E402
from host_model import HostModel  # noqa: E402
from live_screen import LiveScreen  # noqa: E402
from moment_judge import Report, distribution, episodes, judge, judge_silences  # noqa: E402

MOST_PRINTED = 30
# Scenarios whose silences are as long as they must be at their own pace alone, and how many seconds they take.
REAL_TIME = {"lost-link": 165, "host-restart": 115}
SETTLE = 1.5


class Tap(Bus):
    """Hears every frame with the time at which the bus had it, which a busy machine may let us read much later."""

    def next_frame(self, seconds):
        """Identifier, data and monotonic time of the next frame; raises TimeoutError when there is none."""
        frame = self.can.recv(seconds)
        if not frame:
            raise TimeoutError
        return frame.arbitration_id, bytes(frame.data), time.monotonic() - (time.time() - frame.timestamp)


class Watch:
    """Bus, model and screen of one run, each followed by a thread of its own."""

    def __init__(self, bus_address, panel_address):
        self.model = HostModel()
        self.lock = threading.Lock()
        self.stopping = threading.Event()
        self.frames = 0
        self.bus_address = bus_address
        self.screen = LiveScreen(panel_address)
        wait_for(lambda: self.screen.connected, "the screen's stream")
        self.bus = self._join()
        self.thread = threading.Thread(target=self._follow, daemon=True)
        self.thread.start()

    def _join(self):
        return wait_for(lambda: self._try_to_join(), "the bus", 30)

    def _try_to_join(self):
        with contextlib.suppress(OSError):
            return Tap(self.bus_address())
        return None

    def _follow(self):
        while not self.stopping.is_set():
            try:
                identifier, data, when = self.bus.next_frame(0.1)
            except TimeoutError:
                with self.lock:
                    self.model.tick(time.monotonic())
                continue
            except OSError:
                if not self.stopping.wait(0.02):
                    self.bus = self._try_to_join() or self.bus
                continue
            with self.lock:
                self.frames += 1
                self.model.take_frame(identifier, data, when)

    def forget(self):
        with self.lock:
            self.model.forget(time.monotonic())

    def finish(self):
        """Judges all that was seen."""
        time.sleep(SETTLE)
        self.stopping.set()
        self.thread.join(5)
        end = time.monotonic()
        self.model.tick(end)
        if self.model.silent:
            self.model.silences.append((self.model.last_frame, end))
        self.screen.close()
        with self.screen.lock:
            report = judge(self.model, self.screen, end)
            judge_silences(self.model.silences, self.screen, end, report)
        with contextlib.suppress(OSError):
            self.bus.close()
        return report


def print_report(title, report, watch, started):
    total = sum(report.judged.values()) or 1
    parts = ", ".join(f"{name} {100 * seconds / total:.2f} %" for name, seconds in report.judged.most_common())
    print(f"\n{title}: {time.monotonic() - started:.0f} s, {watch.frames} frames, {watch.model.messages} messages, "
          f"{watch.screen.events} events of the stream")
    print(f"  moments: {parts}")
    print(f"  changes awaited: {report.changes}, overtaken by the next message: {report.superseded}")
    print(f"  last frame to number: {distribution(report.late)}")
    if report.silence:
        print(f"  silence to dashes: {distribution(report.silence)}")
    if report.back:
        print(f"  next frame to number: {distribution(report.back)}")
    if report.old_pages:
        print(f"  old numbers as a page begins: {distribution(report.old_pages)}")
    found = episodes(report.wrong)
    print(f"  wrong: {len(report.wrong)}, at {len(found)} times", flush=True)
    for episode in found[:MOST_PRINTED]:
        until = max(each.since + each.seconds for each in episode)
        first = episode[0]
        print(f"    at {first.since - started:.3f} s for {until - first.since:.3f} s: "
              f"{', '.join(sorted({each.quantity for each in episode}))}; {first.quantity} shown {first.shown!r}, "
              f"must be {first.expected!r}")


def scenarios(options):
    names = sorted(path.stem for path in (CONFIG / "scenarios").glob("*.scenario"))
    total = Report()
    for name in names:
        if options.only and name != options.only:
            continue
        desk = Desk()
        watch = Watch(lambda: desk.address("socketcand"), desk.address("http"))
        started = time.monotonic()
        speed = 1 if name in REAL_TIME else options.speed
        length = REAL_TIME.get(name, (options.seconds or 60) * speed)
        host = desk.start(BIN / "hx7", "simulate", "--config", CONFIG, "--scenario", name, "--speed", speed,
                          "--ignore-expectations", "--seconds-of-crane", length, "--quiet")
        host.wait_exit(length / speed + 60)
        report = watch.finish()
        print_report(f"scenario {name}, {speed:g} times as fast", report, watch, started)
        total.add(report)
        desk.close()
    return total


def press_keys(desk, chance, stopping):
    """An operator who looks at all pages."""
    while not stopping.wait(chance.uniform(2, 8)):
        desk.request("POST", f"/api/keys/{chance.choice(FRONT_KEYS)}/press")


def random_traffic(options):
    desk = Desk()
    watch = Watch(lambda: desk.address("socketcand"), desk.address("http"))
    started = time.monotonic()
    desk.go_to("Main").close()
    bus = desk.bus()
    stopping = threading.Event()
    threading.Thread(target=press_keys, args=(desk, random.Random(options.seed), stopping), daemon=True).start()
    reader = threading.Thread(target=lambda: drain(bus, stopping), daemon=True)
    reader.start()
    host = BadHost(bus, options.seed)
    try:
        host.run(options.seconds or 3600)
    except OSError as error:  # what was seen until then is judged all the same
        print(f"the host was taken off the bus after {time.monotonic() - started:.0f} s: {error}")
    stopping.set()
    report = watch.finish()
    print_report(f"random traffic, seed {options.seed}, {host.sent} messages of which {host.injected} spoiled", report,
                 watch, started)
    reader.join(1)
    desk.close()
    return report


def drain(bus, stopping):
    """A station that does not read is taken off the bus."""
    with contextlib.suppress(OSError):
        while not stopping.is_set():
            bus.can.recv(1)


PARTS = ("notify", "database", "board", "j1939", "screen", "panel", "orvik", "hx7")


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class LooseUnit:
    """A unit whose parts are processes of their own, so that each can be killed and stopped."""

    def __init__(self):
        self.desk = Desk.__new__(Desk)  # its directory and requests alone
        self.desk.directory = tempfile.TemporaryDirectory(prefix="orvik-truth-")
        self.desk.runtime = pathlib.Path(self.desk.directory.name) / "run"
        self.panel, self.bus = f"127.0.0.1:{free_port()}", f"127.0.0.1:{free_port()}"
        self.processes = {}
        self.restarts = 0
        for part in PARTS:
            self.start(part)
            time.sleep(0.3)

    def start(self, part):
        arguments = [BIN / "unit", "run", "--config", CONFIG, "--http", self.panel, "--socketcand", self.bus,
                     "--only", part]
        if part == "hx7":
            arguments = [BIN / "hx7", "simulate", "--config", CONFIG, "--scenario", "normal-lift", "--ignore-expectations", "--loop", "--quiet"]
        self.processes[part] = Process(arguments, self.desk.runtime)

    def application(self):
        """The process of the application, which its supervisor starts again when it ends; None while there is none."""
        supervisor = self.processes["orvik"].child.pid
        with contextlib.suppress(OSError, ValueError, IndexError):
            return int(pathlib.Path(f"/proc/{supervisor}/task/{supervisor}/children").read_text().split()[0])
        return None

    def send(self, part, number):
        """A signal to the part; to the application itself, not to its supervisor."""
        target = self.application() if part == "orvik" else self.processes[part].child.pid
        with contextlib.suppress(ProcessLookupError, TypeError):
            os.kill(target, number)

    def restart(self, part):
        self.processes[part].wait_exit(10)
        self.restarts += 1
        self.start(part)

    def alive(self, part):
        return self.processes[part].child.poll() is None

    def close(self):
        for part in reversed(PARTS):
            self.send(part, signal.SIGCONT)
            self.processes[part].stop()
        self.desk.directory.cleanup()


def keep_running(unit, watch, stopping):
    """Starts a part again that was killed, and notices an application that began anew."""
    known = unit.application()
    while not stopping.wait(0.02):
        for part in PARTS:
            if not unit.alive(part) and part not in unit.held:
                unit.restart(part)
        application = unit.application()
        if application not in (known, None):
            known = application
            unit.restarts += 1
            watch.forget()


def kills(options, parts=PARTS):
    unit = LooseUnit()
    unit.held = set()
    watch = Watch(lambda: unit.bus, unit.panel)
    started = time.monotonic()
    chance, stopping = random.Random(options.seed), threading.Event()
    keeper = threading.Thread(target=keep_running, args=(unit, watch, stopping), daemon=True)
    keeper.start()
    end = started + (options.seconds or 600)
    done = []
    time.sleep(8)
    while time.monotonic() < end:
        part = parts[len(done) % len(parts)] if len(done) < 2 * len(parts) else chance.choice(parts)
        kill = len(done) < len(parts) or (len(done) >= 2 * len(parts) and chance.random() < 0.5)
        pause = chance.uniform(0.2, 14)
        print(f"{time.monotonic() - started:7.1f} s  {'kill' if kill else 'stop'} {part} for {pause:.1f} s", flush=True)
        unit.held.add(part)
        unit.send(part, signal.SIGKILL if kill else signal.SIGSTOP)
        time.sleep(pause)
        if not kill:
            unit.send(part, signal.SIGCONT)
        unit.held.discard(part)
        done.append((part, kill))
        time.sleep(chance.uniform(6, 10))
    stopping.set()
    keeper.join(15)
    report = watch.finish()
    print_report(f"{len(done)} kills and stops, {unit.restarts} processes started again", report, watch, started)
    unit.close()
    return report


def short(options):
    """One scenario, some random traffic, and the application killed."""
    options.only, options.speed, options.seconds = "overload", 5, 15
    report = scenarios(options)
    report.add(random_traffic(options))
    report.add(kills(options, ("orvik",)))
    return report


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("what", choices=("scenarios", "random", "kills", "short"))
    parser.add_argument("--seconds", type=float, help="of each run")
    parser.add_argument("--speed", type=float, default=4, help="of the scenarios' crane")
    parser.add_argument("--only", help="one scenario")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    report = {"scenarios": scenarios, "random": random_traffic, "kills": kills, "short": short}[options.what](options)
    print(f"\nwrong: {len(report.wrong)}")
    return 1 if report.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
