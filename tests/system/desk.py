"""The desk of the tests: that of the package `orvik`, with its parts apart, frozen threads and words of the protocol."""

import contextlib
import ctypes
import os
import pathlib
import re
import struct
import sys
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(REPOSITORY / "python"))

import orvik  # noqa: E402
from orvik import Process, wait_for  # noqa: E402, F401
from orvik.desk import ADDRESSES  # noqa: E402
from orvik.frames import DISPLAY_ID, HOST_ID, cut  # noqa: E402, F401
from orvik.waiting import PATIENCE  # noqa: E402

BIN = pathlib.Path(os.environ.get("ORVIK_BIN", REPOSITORY / "build/release/bin"))
CONFIG = REPOSITORY / "config"
DEMO_LOG = BIN.parent / "demo/lift.log"
APART = ["notify", "database", "board,j1939", "screen", "panel"]  # services that tests run as processes of their own

# The first words of a sanitizer's report. The process may go on after it.
REPORT = re.compile(r"(Address|Leak|Thread)Sanitizer|runtime error:")


def wait_steady(look, what, still, seconds=20.0, wanted=None):
    """Polls until `look` returns `wanted`, or the same for `still` seconds, and returns that."""
    last, since = look(), time.monotonic()

    def is_steady():
        nonlocal last, since
        now = look()
        if now != last:
            last, since = now, time.monotonic()
        return now == wanted or time.monotonic() - since >= still

    wait_for(is_steady, f"{what} to stand still", seconds, 0.05)
    return last


def name_call(value):
    """The id of a parametrised test whose parameter is a list of words."""
    return " ".join(map(str, value)) if isinstance(value, list) else None


LIBC = ctypes.CDLL(None, use_errno=True)
PTRACE_SEIZE, PTRACE_INTERRUPT, PTRACE_DETACH, WAIT_ALL = 0x4206, 0x4207, 17, 0x40000000
CLOCK_NANOSLEEP = {"x86_64": "230", "aarch64": "115"}


def trace(request, thread):
    if LIBC.ptrace(request, thread, None, None) != 0:
        raise OSError(ctypes.get_errno(), f"ptrace {request:#x} of thread {thread}")


def freeze(task):
    """Halts a thread in its pause. Elsewhere it may hold a lock: then it is released, and the result is False."""
    thread = int(task.name)
    trace(PTRACE_SEIZE, thread)
    trace(PTRACE_INTERRUPT, thread)
    wait_for(lambda: os.waitpid(thread, WAIT_ALL | os.WNOHANG)[0], f"thread {thread} to halt")
    if (task / "syscall").read_text().split()[0] == CLOCK_NANOSLEEP[os.uname().machine]:
        return True
    trace(PTRACE_DETACH, thread)
    return False


@contextlib.contextmanager
def frozen_thread(process, name):
    """Halts one thread of a process in its pause, as if it hung."""
    tasks = pathlib.Path(f"/proc/{process.child.pid}/task")
    task = next(task for task in tasks.iterdir() if (task / "comm").read_text().strip() == name)
    wait_for(lambda: freeze(task), f"thread {name} in its pause")
    thread = int(task.name)
    try:
        yield thread
    finally:
        with contextlib.suppress(OSError):  # it may have ended with its process
            trace(PTRACE_DETACH, thread)


class Bus(orvik.Bus):
    """A station that may be deaf, and that asks for single frames of the display."""

    def receive_any(self, seconds=5.0):
        """The next frame of any station: identifier and data."""
        frame = self.receive(seconds)
        return frame.arbitration_id, bytes(frame.data)

    def pass_over(self):
        """Reads what has come and forgets it, because a station that does not read is taken off the bus."""
        self.can.forget()

    def be_deaf(self):
        """Frames come no more, so that a station that only sends has nothing to read."""
        self.can.command("bcmmode")


def cmd2(capacity=14400, load=12300, radius=35.4, angle=62.1, extension=82.0, percent=0.85, parts=4, led=0, swing=0,
         piston=0, rod=0):
    lamps = struct.pack("<I", led)
    return (bytes([2, 0]) + struct.pack(">6f", capacity, load, radius, angle, extension, percent) + bytes([parts]) +
            lamps[:3] + struct.pack(">h", swing) + lamps[3:] + struct.pack(">2f", piston, rod))


def sub_command(field, text):
    text = text if isinstance(text, bytes) else text.encode()
    return struct.pack(">HBB", len(text) + 2, 0, field) + text


def cmd5(*fields):
    body = b"".join(sub_command(field, text) for field, text in fields)
    return bytes([5]) + struct.pack(">H", len(body)) + body


class Desk(orvik.Desk):
    """A unit whose services may be processes of their own (`apart`), and an application that may be another program."""

    def __init__(self, *options, orvik=True, apart=False, parts=tuple(APART), program="orvik", **environment):
        self.program = BIN / program
        self.apart = parts if apart else None
        self.parts = {}
        super().__init__(*options, programs=BIN, config=CONFIG, application=orvik, environment=environment)

    def _begin(self, options, application):
        if self.apart is None:
            return super()._begin(options, application)
        self.parts = {part: self.start_part(part) for part in self.apart}
        self.orvik = self.start_orvik() if application else None
        return None

    def application_call(self, *arguments):
        return [self.program, *super().application_call(*arguments)[1:]]

    def start_part(self, part):
        process = self.start(BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--only", part)
        process.wait_line(f"unit: {part.split(',')[-1]} is up", seconds=20)
        return process

    def bus(self):
        return Bus(self.address("socketcand"))

    def widget(self, name):
        return self.screen.document()["widgets"].get(name)

    def widgets(self, *names):
        shown = self.screen.document()["widgets"]
        return [shown.get(f"orvikTextWidget{name}") for name in names]

    def health_of(self, service):
        """What a service publishes of itself once a second; empty until its first report has come."""
        return next((each for each in self.health()["services"] if each["name"] == service), {})

    def detail(self, service):
        return self.health_of(service).get("detail")

    def counters(self, service):
        return wait_for(lambda: self.health_of(service).get("counters"), f"the counters of the service {service}")

    def press(self, *keys):
        """A press of keys that have a function, until its click is heard while no other sound is made, and a release."""
        beeps = self.beeps()
        with self.held(*keys):
            wait_for(lambda: self.beeps() > beeps, f"the click of {keys}")
        time.sleep(0.15 * PATIENCE)  # the length of the release: the scanner does not take a shorter one

    def wait_keys(self, *keys):
        """Waits until these front keys are held, and no other."""
        def held():
            return [n + 1 for n, down in enumerate(self.get("/api/board")["keys"]) if down]

        wait_for(lambda: held() == list(keys), f"keys {keys} to be held")

    def beeps(self):
        return self.get("/api/board")["beeper"]["pulses"]

    def post(self, name):
        self.succeed(BIN / "unit", "events", "--config", CONFIG, "post", name)

    def page_of_orvik(self, bus):
        """The page that the application holds for the current one, as its answer to an undefined request names it."""
        question = "undefined transition request 99 while on Page."
        asked = sum(question in line for line in self.orvik.err)
        bus.send_message([7, 15, 99])
        line = self.orvik.wait_line(question, self.orvik.err, count=asked + 1)[-1]
        return line.split()[-2].removeprefix("Page.")

    def move_to(self, page, bus):
        """Brings screen and application from any page to this one, by events and frames of the host."""
        to_main = {"Pol": "orvik.PolToMain", "Faults": "orvik.DM1ToMain", "Choice4Mid": "orvik.Choice4MidToMain",
                   "ConfigPol": "orvik.PolToMain", "Slate": "orvik.SlateToMain", "Wad": "orvik.WadToMain", "Config": "orvik.ConfigToMain",
                   "Dials": "orvik.DialsToMain"}
        from_main = {"Splash": "orvik.MainToSplash", "Slate": "orvik.MainToSplash", "Wad": "orvik.MainToWad",
                     "Config": "orvik.MainToConfig", "Dials": "orvik.MainToDials"}
        deadline = time.monotonic() + 60 * PATIENCE
        while (shown := self.screen.document()["page"]) != page:
            assert time.monotonic() < deadline, f"timed out waiting for the screen to stay on {page}"
            if shown == "Splash":
                bus.send_message([8, 1])
            else:
                self.post(from_main[page] if shown == "Main" else to_main[shown])
            wait_for(lambda: self.screen.document()["page"] != shown, f"another page than {shown}")
        if page != "Splash":  # the request would end the splash page
            wait_for(lambda: self.page_of_orvik(bus) == page, f"the application's page {page}")
