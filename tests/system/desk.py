"""A whole desk for a test: the unit, the application and stations on the bus, all real processes."""

import contextlib
import ctypes
import http.client
import json
import os
import pathlib
import re
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
BIN = pathlib.Path(os.environ.get("ORVIK_BIN", REPOSITORY / "build/release/bin"))
CONFIG = REPOSITORY / "config"
DEMO_LOG = BIN.parent / "demo/lift.log"
APART = ["notify", "database", "board,j1939", "screen", "panel"]  # services that tests run as processes of their own
ADDRESSES = ["--http", "127.0.0.1:0", "--socketcand", "127.0.0.1:0"]  # of free ports
# Sanitizer builds are several times slower.
PATIENCE = float(os.environ.get("ORVIK_PATIENCE", "1"))

# The first words of a sanitizer's report. The process may go on after it.
REPORT = re.compile(r"(Address|Leak|Thread)Sanitizer|runtime error:")

HOST_ID = 0x18FF00D0
DISPLAY_ID = 0x18FF00D2


def wait_for(condition, what, seconds=10.0, interval=0.01):
    """Polls until `condition` returns something true, and returns that."""
    deadline = time.monotonic() + seconds * PATIENCE
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"timed out waiting for {what}; last seen: {result!r}")
        time.sleep(interval)  # between two polls


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


class Process:
    """A child process. Its standard output and standard error are kept line by line."""

    started = []  # of the present test, whose lines reports.py prints

    def __init__(self, arguments, runtime, **environment):
        env = dict(os.environ, ORVIK_RUNTIME_DIR=str(runtime), ORVIK_ROOT=str(pathlib.Path(runtime) / "root"), **environment)
        self.name = pathlib.Path(arguments[0]).name
        self.child = subprocess.Popen([str(a) for a in arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE, env=env)
        self.out, self.err = [], []
        self.readers = [threading.Thread(target=self._read, args=pair, daemon=True)
                        for pair in ((self.child.stdout, self.out), (self.child.stderr, self.err))]
        for reader in self.readers:
            reader.start()
        self.started.append(self)

    @staticmethod
    def _read(stream, lines):
        for line in stream:
            lines.append(line.decode("utf-8", "replace").rstrip("\n"))

    def wait_line(self, text, stream=None, seconds=10.0, count=1):
        """Waits until `text` stands in `count` lines of a stream (default: standard output)."""
        lines = self.out if stream is None else stream
        return wait_for(lambda: [line for line in list(lines) if text in line][count - 1:], f"{self.name}: {text!r}",
                        seconds)

    def wait_exit(self, seconds=15.0):
        try:
            status = self.child.wait(seconds * PATIENCE)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"timed out waiting for {self.name} to end") from None
        for reader in self.readers:
            reader.join(5)
        return status

    def stop(self, number=signal.SIGTERM):
        if self.child.poll() is None:
            self.child.send_signal(number)
            with contextlib.suppress(AssertionError):
                return self.wait_exit()
            self.child.kill()
        return self.wait_exit()

    def dump(self):
        print(f"--- {self.name} (exit {self.child.poll()}), standard output:", *self.out[-80:], sep="\n")
        print(f"--- {self.name}, standard error:", *self.err[-80:], sep="\n")


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


class Bus:
    """A station on the bus with a socketcand client of its own, so that it shares no code with the programs."""

    SECONDS = 10 * PATIENCE

    def __init__(self, address):
        host, port = address.rsplit(":", 1)
        self.socket = socket.create_connection((host, int(port)), self.SECONDS)
        self.buffer = b""
        self._expect("hi")
        self._say("< open can0 >", "ok")
        self._say("< rawmode >", "ok")

    def _message(self, what):
        while b">" not in self.buffer:
            try:
                received = self.socket.recv(65536)
            except TimeoutError:
                raise AssertionError(f"timed out waiting for {what} on the bus") from None
            assert received, f"the bus closed the connection before {what} came"
            self.buffer += received
        message, self.buffer = self.buffer.split(b">", 1)
        return message.decode().strip(" <").split()

    def _expect(self, word):
        assert self._message(f"< {word} >")[0] == word

    def _say(self, text, answer):
        self.socket.sendall(text.encode())
        self._expect(answer)

    def send(self, identifier, data):
        data = bytes(data)
        text = " ".join(f"{byte:x}" for byte in data)
        self.socket.sendall(f"< send {identifier:08X} {len(data)} {text} >".encode())

    def send_message(self, message):
        """A host message, cut into numbered frames."""
        for frame in cut(message):
            self.send(HOST_ID, frame)

    def _receive(self, sender, what, seconds):
        deadline = time.monotonic() + seconds * PATIENCE
        while True:
            left = deadline - time.monotonic()
            assert left > 0, f"timed out waiting for {what} among other frames"
            self.socket.settimeout(left)
            words = self._message(what)
            if words[0] == "frame" and sender in (None, int(words[1], 16)):
                return int(words[1], 16), bytes.fromhex("".join(words[3:]))

    def receive_any(self, seconds=5.0):
        """The next frame of any station: identifier and data."""
        return self._receive(None, "a frame", seconds)

    def receive(self, seconds=10.0):
        """The data of the display's next frame."""
        return self._receive(DISPLAY_ID, "a frame of the display", seconds)[1]

    def pass_over(self):
        """Reads what has come and forgets it, because a station that does not read is taken off the bus."""
        self.socket.setblocking(False)
        with contextlib.suppress(BlockingIOError):
            while self.socket.recv(65536):
                pass
        self.socket.settimeout(self.SECONDS)

    def be_deaf(self):
        """Frames come no more, so that a station that only sends has nothing to read."""
        self._say("< bcmmode >", "ok")

    def ask(self, message, frames=1):
        self.send_message(message)
        return [self.receive().hex(" ") for _ in range(frames)]

    def close(self):
        self.socket.close()


def cut(message):
    message = bytes(message)
    rest = [message[i:i + 7] for i in range(6, len(message), 7)]
    first = bytes([0, 1 + len(rest)]) + message[:6]
    return [frame.ljust(8, b"\xff") for frame in [first] + [bytes([k + 1]) + part for k, part in enumerate(rest)]]


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


class Desk:
    """A unit in a runtime directory of its own, with free ports."""

    def __init__(self, *options, orvik=True, apart=False, parts=tuple(APART), program="orvik", **environment):
        self.directory = tempfile.TemporaryDirectory(prefix="orvik-test-")
        self.runtime = pathlib.Path(self.directory.name) / "run"
        self.processes = []
        self.environment = environment
        self.program = BIN / program
        self.orvik = None
        try:
            self.unit = None if apart else self.start_unit(*options)
            self.parts = {part: self.start_part(part) for part in parts} if apart else {}
            self.orvik = self.start_orvik() if orvik else None
        except BaseException:
            self.close()
            raise

    def start_unit(self, *options):
        for name in ("http.address", "socketcand.address"):
            with contextlib.suppress(FileNotFoundError):
                (self.runtime / name).unlink()
        config = [] if "--config" in options else ["--config", CONFIG]
        unit = self.start(BIN / "unit", "run", "--no-orvik", "--no-host", *config, *ADDRESSES, *options)
        wait_for(lambda: self._ready(unit), "the panel", 20)
        return unit

    def start_part(self, part):
        process = self.start(BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--only", part)
        process.wait_line(f"unit: {part.split(',')[-1]} is up", seconds=20)
        return process

    def _ready(self, unit):
        assert unit.child.poll() is None, "the unit ended"
        with contextlib.suppress(OSError, ValueError, http.client.HTTPException):
            return self.get("/api/screen")["page"]
        return None

    def start_orvik(self, *arguments):
        orvik = self.start(self.program, *(arguments or [CONFIG / "generic.xml"]))
        orvik.wait_line("Orvik: System Up", seconds=20)
        return orvik

    def start(self, *arguments):
        process = Process(arguments, self.runtime, **self.environment)
        self.processes.append(process)
        return process

    def run(self, *arguments, seconds=30):
        process = self.start(*arguments)
        status = process.wait_exit(seconds)
        return status, "\n".join(process.out), "\n".join(process.err)

    def succeed(self, *arguments, seconds=30):
        """Runs a program that must end with status 0, and returns its standard output and standard error."""
        status, out, errors = self.run(*arguments, seconds=seconds)
        assert status == 0, out + errors
        return out, errors

    def address(self, name):
        return (self.runtime / f"{name}.address").read_text().strip()

    def request(self, method, path, body=None, headers=None, server="http"):
        connection = http.client.HTTPConnection(self.address(server), timeout=20)
        try:
            connection.request(method, path, body, headers or {})
            response = connection.getresponse()
            return response.status, response.read()
        except TimeoutError:
            raise TimeoutError(f"timed out waiting for the answer to {method} {path}") from None

    def get(self, path):
        status, body = self.request("GET", path)
        assert status == 200, (path, status, body[:200])
        return json.loads(body)

    def screen(self):
        return self.get("/api/screen")

    def widget(self, name):
        return self.screen()["widgets"].get(name)

    def widgets(self, *names):
        shown = self.screen()["widgets"]
        return [shown.get(f"orvikTextWidget{name}") for name in names]

    def value(self, name):
        for parameter in self.get("/api/database")["parameters"]:
            if parameter["name"] == name:
                return parameter["value"] if parameter["valid"] else None
        raise AssertionError(f"no parameter {name}")

    def bus(self):
        return Bus(self.address("socketcand"))

    def health_of(self, service):
        """What a service publishes of itself once a second; empty until its first report has come."""
        _, body = self.request("GET", "/api/health")  # 503 while something is slow to start
        return next((each for each in json.loads(body)["services"] if each["name"] == service), {})

    def detail(self, service):
        return self.health_of(service).get("detail")

    def counters(self, service):
        return wait_for(lambda: self.health_of(service).get("counters"), f"the counters of the service {service}")

    def key(self, number, down):
        body = json.dumps({"down": down})
        status, answer = self.request("POST", f"/api/keys/{number}", body)
        assert status == 200, (number, status, answer)

    @contextlib.contextmanager
    def held(self, *keys):
        for key in keys:
            self.key(key, True)
        yield
        for key in keys:
            self.key(key, False)

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
        while (shown := self.screen()["page"]) != page:
            assert time.monotonic() < deadline, f"timed out waiting for the screen to stay on {page}"
            if shown == "Splash":
                bus.send_message([8, 1])
            else:
                self.post(from_main[page] if shown == "Main" else to_main[shown])
            wait_for(lambda: self.screen()["page"] != shown, f"another page than {shown}")
        if page != "Splash":  # the request would end the splash page
            wait_for(lambda: self.page_of_orvik(bus) == page, f"the application's page {page}")

    def go_to(self, page, bus=None):
        """Brings the screen from its start to a page by the host's requests."""
        bus = bus or self.bus()
        requests = {"Main": 3, "Wad": 7, "Config": 5}

        def step():
            shown = self.screen()["page"]
            if shown == "Slate" and page in requests:
                bus.send_message([7, 15, requests[page]])
            elif shown != page:
                bus.send_message([8, 1])  # any message: the splash page ends when the host is heard
            return shown == page

        wait_for(step, f"the screen on {page}", 15, interval=0.1)
        return bus

    def close(self):
        for process in reversed(self.processes):
            process.stop(signal.SIGKILL if process is self.orvik else signal.SIGTERM)
        self.directory.cleanup()
