"""A desk whose parts share processes in any way, kept running as an init system would, and watched."""

import collections
import contextlib
import hashlib
import http.client
import json
import os
import pathlib
import random
import re
import selectors
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parents[1] / "bench" / "checker"), str(HERE.parent / "system")]

import moment_judge  # noqa: E402
from desk import BIN, CONFIG, PATIENCE, Process, wait_for  # noqa: E402
from every_moment import LooseUnit, Tap, Watch, free_port  # noqa: E402
from live_screen import LiveScreen  # noqa: E402

HOST = ("hx7",)
FAKETIME = next(pathlib.Path("/usr/lib").glob("*/faketime/libfaketimeMT.so.1"), None)
ALLOWED_AGE = 3.0   # of a number that stands as current, as in docs/truth.md
HEALTH_LIMIT = 1.0
HELD_BACK = re.compile(r"starting it again in (\d+) s")
OWN_PAUSE = 0.5     # from a frame on the bus to its text at a reader of the stream, at most
QUICK_END = 1.0     # a process that ended sooner after its start is started so long after it
MORE_MEMORY = (0.01, 4096)  # than before: a share, and at least so many KiB
NOTICED_WITHIN = 0.3        # of its start, an application that began anew
ORDER, REJOINED = 5, 2      # descriptors: the order of start decides who connects to whom
REQUEST_THREADS = 8         # those that serve a burst of requests stay for ten seconds


def age(process):
    """Seconds since its start."""
    with contextlib.suppress(OSError):
        start = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[19]
        return time.clock_gettime(time.CLOCK_BOOTTIME) - int(start) / os.sysconf("SC_CLK_TCK")
    return 0.0


class Slowness(threading.Thread):
    """How many times longer than on an idle machine a piece of work takes: limits are multiplied by it."""

    def __init__(self):
        super().__init__(daemon=True)
        self.work, self.samples = bytes(1 << 20), collections.deque(maxlen=2000)
        self.least = min(self._measure() for _ in range(20))
        self.start()

    def _measure(self):
        start = time.monotonic()
        hashlib.sha256(self.work).digest()
        return time.monotonic() - start

    def run(self):
        while True:
            self.samples.append((time.monotonic(), self._measure()))
            time.sleep(0.05)

    def since(self, start):
        taken = [seconds for when, seconds in list(self.samples) if when >= start] or [self.least]
        return PATIENCE * max(1.0, sum(taken) / len(taken) / self.least)


class Cable(threading.Thread):
    """The host's way to the bus. It can be cut, or hold back what it carries. It carries nothing that nobody watches."""

    def __init__(self, bus, is_watched):
        super().__init__(daemon=True)
        self.bus, self.is_watched, self.cut, self.held = bus, is_watched, threading.Event(), threading.Event()
        self.server = socket.create_server(("127.0.0.1", free_port()))
        self.start()

    def run(self):
        with contextlib.suppress(OSError):
            while True:
                station, _ = self.server.accept()
                with station, contextlib.suppress(OSError):
                    if not self.cut.is_set() and self.is_watched():
                        self._carry(station)

    def _carry(self, station):
        with socket.create_connection(self.bus.split(":"), 1) as bus, selectors.DefaultSelector() as waiting:
            waiting.register(station, selectors.EVENT_READ, bus)
            waiting.register(bus, selectors.EVENT_READ, station)
            while not self.cut.is_set():
                if self.held.is_set():
                    self.cut.wait(0.02)
                    continue
                for key, _ in waiting.select(0.1):
                    data = key.fileobj.recv(65536)
                    if not data:
                        return
                    key.data.sendall(data)


class ArrivalTap(Tap):
    """For a bus whose clock is not ours: a frame counts from when it was read."""

    def next_frame(self, seconds):
        return (*super().next_frame(seconds)[:2], time.monotonic())


class Moments(Watch):
    """The checker's bus and screen, judged fault by fault."""

    def __init__(self, bus, panel, tap):
        self.joined, self.tap = threading.Event(), tap
        super().__init__(lambda: bus, panel)

    def _try_to_join(self):
        self.joined.clear()
        with contextlib.suppress(OSError):
            tap = self.tap(self.bus_address())
            self.joined.set()
            return tap

    def begin(self):
        """Forgets what has been judged, but for what stands there."""
        now = time.monotonic()
        with self.lock, self.screen.lock:
            for histories, kept in ((self.model.expected, 60.0), (self.screen.shown, 0.0)):
                for history in histories.values():
                    while len(history) > 1 and history[1][0] < now - kept:
                        del history[0]
            for history in self.screen.shown.values():
                history[0] = (now, history[0][1])
            del self.screen.pages[:-2]

    def problem(self, slowness):
        """What is not right on the screen now; empty where all is."""
        oldest = time.monotonic() - OWN_PAUSE * slowness
        with self.lock, self.screen.lock:
            shown = {quantity: history[-1][1] for quantity, history in self.screen.shown.items()}
            if not isinstance(shown.get("load"), float):
                return f"load {shown.get('load')}"
            for quantity, history in self.model.expected.items():
                value = shown.get(quantity, LiveScreen.ABSENT)
                recent = [each for (_, each), (until, _) in zip(history, history[1:] + [(oldest, 0)]) if until >= oldest]
                if value != LiveScreen.ABSENT and not any(moment_judge.agrees(each, value) for each in recent):
                    return f"{quantity} {value!r} instead of {recent[-1]!r}"
        return ""

    def wrong(self, slowness):
        moment_judge.EARLY, moment_judge.NEW_PAGE = 0.5 * slowness, 0.25 * slowness
        with self.lock, self.screen.lock:
            return moment_judge.judge(self.model, self.screen, time.monotonic(), ALLOWED_AGE * slowness).wrong


class Health(threading.Thread):
    """Asks for /api/health ten times a second."""

    def __init__(self, address, slowness):
        super().__init__(daemon=True)
        self.address, self.slowness, self.excused, self.late, self.answer = address, slowness, False, [], {}
        self.stopping, self.writes, self.board_written = threading.Event(), 0, 0.0
        self.start()

    def run(self):
        while not self.stopping.wait(0.1):
            excused, start, problem = self.excused, time.monotonic(), ""
            try:
                with contextlib.closing(http.client.HTTPConnection(self.address, timeout=20)) as connection:
                    connection.request("GET", "/api/health")
                    self.answer = json.loads(connection.getresponse().read())
            except (OSError, ValueError, http.client.HTTPException) as error:
                self.answer, problem = {}, repr(error)
            seconds = time.monotonic() - start
            if not excused and not self.excused and (problem or seconds > HEALTH_LIMIT * self.slowness.since(start - 2)):
                self.late.append(f"/api/health: {problem or 'an answer'} after {seconds:.2f} s")
            # The application writes to the board a hundred times a second.
            writes = sum(each["counters"].get("outputWrites", 0) for each in self.answer.get("services", ()))
            if writes > self.writes > 0:
                self.board_written = start
            self.writes = writes


class Rig(LooseUnit):
    """`groups`: parts that share a process. The host has one of its own."""

    def __init__(self, groups, faked_clock, slowness):
        self.directory = tempfile.TemporaryDirectory(prefix="orvik-faults-")
        self.folder = pathlib.Path(self.directory.name)
        self.runtime, self.clock, self.slowness = self.folder / "run", self.folder / "clock", slowness
        self.panel, self.bus = f"127.0.0.1:{free_port()}", f"127.0.0.1:{free_port()}"
        self.groups, self.environment, self.options, self.x_server = [*groups, HOST], {}, [], None
        self.processes, self.started, self.held, self.ended, self.resident = {}, {}, set(), [], {}
        self.stopping, self.health, self.shared, self.heard = threading.Event(), None, None, {}
        if faked_clock:
            self.environment = {"LD_PRELOAD": str(FAKETIME), "FAKETIME_TIMESTAMP_FILE": str(self.clock),
                                "FAKETIME_CACHE_DURATION": "1", "FAKETIME_DONT_FAKE_MONOTONIC": "1"}
            self.clock.write_text("+0")
        if ("window",) in groups:
            self.environment |= {"DISPLAY": f":{random.SystemRandom().randrange(100, 30000)}", "SDL_AUDIODRIVER": "dummy",
                                 "SDL_RENDER_DRIVER": "software", "SDL_FRAMEBUFFER_ACCELERATION": "0"}
            self.start_x()

    def open(self):
        for group in self.groups[:-1]:
            self.start(group)
        wait_for(self._answers, "the panel", 20)
        self.watch = Moments(self.bus, self.panel, Tap if "LD_PRELOAD" not in self.environment else ArrivalTap)
        self.cable = Cable(self.bus, self.watch.joined.is_set)
        self.start(HOST)
        self.keeper = threading.Thread(target=self._keep, daemon=True)
        self.keeper.start()
        self.health = Health(self.panel, self.slowness)
        wait_for(lambda: self.health.answer.get("up") and not self.watch.problem(self.slowness.since(time.monotonic() - 5)),
                 "a right screen", 60)
        maps = "".join(pathlib.Path(f"/proc/{each.child.pid}/maps").read_text() for each in self.processes.values())
        self.shared = re.search(r"/dev/shm/(orvik-\w+-)DBSHM", maps)[1]
        self.first = self.census()
        for _ in range(20):  # the most of two seconds: connections come and go
            time.sleep(0.1)
            self.first |= self.census()

    def _answers(self):
        with contextlib.suppress(OSError):
            return socket.create_connection(self.panel.split(":"), 5).close() is None

    def start_x(self):
        name = self.environment["DISPLAY"]
        self.x_server = subprocess.Popen(["Xvfb", name, "-screen", "0", "1000x720x24", "-nolisten", "tcp"],
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_for(pathlib.Path(f"/tmp/.X11-unix/X{name[1:]}").exists, "the X server", 30)

    def group_of(self, part):
        return next(group for group in self.groups if part in group)

    def start(self, group):
        arguments = [BIN / "unit", "run", "--config", CONFIG, "--http", self.panel, "--socketcand", self.bus, "--only",
                     ",".join(group)]
        if group == HOST:
            arguments = [BIN / "hx7", "simulate", "--config", CONFIG, "--scenario", HERE / "moving.scenario", "--loop",
                         "--quiet", "--bus", "socketcand:127.0.0.1:%d" % self.cable.server.getsockname()[1]]
        elif "j1939" in group:
            arguments, self.options = arguments + self.options, []
        process = Process(arguments, self.runtime, **self.environment)
        self.started[group] = time.monotonic()
        self.processes.update(dict.fromkeys(group, process))

    def _keep(self):
        """Starts each process again that has ended, and notices an application that began anew."""
        known = self.application()
        while not self.stopping.wait(0.02):
            application = self.application()
            if application not in (known, None):
                known = application
                if age(application) < NOTICED_WITHIN:  # later, the host may have spoken to it already
                    self.watch.forget()
            for group in self.groups:
                process = self.processes[group[0]]
                if process.child.poll() is None or self.held.intersection(group):
                    continue
                if (process, group) not in self.ended:
                    self.ended.append((process, group))
                if time.monotonic() - self.started[group] > QUICK_END:
                    self.start(group)

    def hold_dead(self, part, number=signal.SIGKILL):
        """Ends the process of a part, and keeps it from being started until `release`."""
        self.held.update(self.group_of(part))
        self.health.excused |= "panel" in self.group_of(part)
        for each in (signal.SIGCONT, number):
            self.processes[part].child.send_signal(each)

    def release(self, part):
        self.processes[part].wait_exit(20 * self.slowness.since(time.monotonic() - 5))
        self.start(self.group_of(part))
        self.held.difference_update(self.group_of(part))

    def census(self):
        """What can leak, by name and process."""
        count = collections.Counter((re.sub(r"\d+", "#", path.name), 0) for path in self.runtime.iterdir())
        count["shared objects", 0] = len(list(pathlib.Path("/dev/shm").glob(self.shared + "*")))
        owners = {",".join(group): self.processes[group[0]].child.pid for group in self.groups if group != HOST}
        for name, process in (owners | {"application": self.application()}).items():
            with contextlib.suppress(OSError, TypeError):  # it may have ended
                folder = pathlib.Path(f"/proc/{process}")
                for what, path in (("descriptors", "fd"), ("threads", "task")):
                    count[f"{name}: {what}", process] = len(list((folder / path).iterdir()))
                memory = int(re.search(r"RssAnon:\s+(\d+)", (folder / "status").read_text())[1])
                least = self.resident.setdefault(process, memory)
                count[f"{name}: too much memory", process] = memory > least + max(least * MORE_MEMORY[0], MORE_MEMORY[1])
        return count

    def leaks(self, before):
        """What there is more of than before the fault, or, in a new process, than in the first one."""
        recording = "--record" in self.processes["j1939"].child.args
        first = {name: count for (name, _), count in self.first.items()}
        for (name, process), count in self.census().items():
            limit = first.get(name, 0) + ORDER * (process > 0)
            limit = min(limit, before.get((name, process), limit) + REJOINED * (process > 0))
            limit += REQUEST_THREADS * ("panel" in name and "threads" in name) + (recording and "j1939" in name)
            if count > limit and not name.startswith("blackbox"):
                yield f"{name}: {count}, before {limit}"

    def held_back(self):
        """Seconds for which a program that had died for the third time in ten seconds was held back since the last call."""
        seconds = 0
        for process in set(self.processes.values()):
            lines = process.err[self.heard.get(process, 0):]
            self.heard[process] = self.heard.get(process, 0) + len(lines)
            seconds += sum(int(found[1]) for line in lines if (found := HELD_BACK.search(line)))
        return seconds

    def last_lines(self):
        return [f"      {','.join(group)} (exit {self.processes[group[0]].child.poll()}) | {line}"
                for group in self.groups for line in self.processes[group[0]].err[-12:]]

    def close(self):
        """Ends everything; returns what did not end, or was left behind."""
        self.stopping.set()
        left = []
        if self.health:
            self.keeper.join(5)
            self.health.stopping.set()
            self.watch.stopping.set()
            self.watch.screen.close()
            self.cable.cut.set()
            self.cable.server.close()
        for process in dict.fromkeys(reversed(self.processes.values())):
            process.child.send_signal(signal.SIGCONT)
            if process.stop() == -signal.SIGKILL:
                left.append(f"{process.child.args} did not end by itself: {process.err[-1:]}")
        if self.x_server:
            self.x_server.kill()
            self.x_server.wait()
        if self.shared:
            left += map(str, (*pathlib.Path("/dev/shm").glob(self.shared + "*"), *self.runtime.glob("channel.*"),
                              *self.runtime.glob("name.*")))
        self.directory.cleanup()
        return left
