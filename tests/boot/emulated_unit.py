"""A display unit in QEMU: its power, monitor, display, keyboard and a root shell on its second serial port."""

import contextlib
import json
import os
import pathlib
import re
import socket
import subprocess
import time

from orvik.waiting import wait_for

from pictures import MEAN_TOLERANCE, TILE_TOLERANCE, compare

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
SHELL_SECONDS = 900.0
# No multiple of the period of a flashing sign, which would always be seen in the same state.
BETWEEN_PICTURES = 0.73
RACK = 0x13FE  # vendor of the card at the other end of the cable


def connect(path):
    link = socket.socket(socket.AF_UNIX)
    wait_for(lambda: link.connect_ex(str(path)) == 0, f"QEMU's socket {path.name}", 30)
    return link


class Monitor:
    """QEMU's machine protocol."""

    def __init__(self, path):
        self.stream = connect(path).makefile("rw")
        self.stream.readline()
        self("qmp_capabilities")

    def __call__(self, command, **arguments):
        self.stream.write(json.dumps({"execute": command, "arguments": arguments}) + "\n")
        self.stream.flush()
        for line in self.stream:
            reply = json.loads(line)
            assert "error" not in reply, (command, arguments, reply)
            if "return" in reply:
                return reply["return"]
        raise ConnectionError(f"QEMU ended before it answered {command}")


class Shell:
    """The root shell that systemd opens where the kernel's command line names a terminal for it."""

    def __init__(self, path):
        self.link = connect(path)
        self.calls = 0
        self.heard = b""
        self.link.settimeout(2)
        wait_for(self._answers, "the unit's shell", SHELL_SECONDS)
        self.link.settimeout(SHELL_SECONDS)

    def _answers(self):
        """Whether the shell runs: what is sent before it starts is lost."""
        self.link.sendall(b"PS1=; PS2=; stty -echo; printf '<%s>' ready\n")
        with contextlib.suppress(TimeoutError):
            self.heard += self.link.recv(65536)
        return b"<ready>" in self.heard

    def __call__(self, command):
        """Runs a command line; returns its exit status and what it printed."""
        self.calls += 1
        mark = f"<{self.calls}:"  # not in the command as the terminal echoes it
        self.link.sendall(f"{{ {command}\n}} 2>&1; printf '\\n<%d:%d>' {self.calls} $?\n".encode())
        while not (end := re.search(re.escape(mark).encode() + rb"(\d+)>", self.heard)):
            heard = self.link.recv(65536)
            if not heard:
                raise ConnectionError(f"the unit ended during {command!r}")
            self.heard += heard
        text, self.heard = self.heard[:end.start()], self.heard[end.end():]
        return int(end[1]), re.sub(r"\x1b\[[?0-9;]*[a-zA-Z]", "", text.decode("utf-8", "replace")).replace("\r", "")


class EmulatedUnit:
    """Has power from its making until `cut_power`. Its shell answers once it is made, before the unit's services start."""

    def __init__(self, folder, image, keep_disk=False):
        self.folder = pathlib.Path(folder)
        self.console = self.folder / "console"
        for old in self.folder.glob("*.socket"):
            old.unlink()
        options = {"ORVIK_KERNEL_OPTIONS": "systemd.debug_shell=ttyS1"}
        if keep_disk:
            options["ORVIK_KEEP_DISK"] = "1"
        self.start = time.monotonic()
        self.process = subprocess.Popen(
            [REPOSITORY / "tools/boot-unit", "--image", image, "-display", "none", "-serial", f"file:{self.console}",
             *self._server("-serial", "shell"), *self._server("-qmp", "monitor"), *self._server("-qtest", "cards")],
            env={**os.environ, **options}, stdin=subprocess.DEVNULL, stderr=open(self.folder / "qemu", "w"))
        self.monitor = Monitor(self.folder / "monitor.socket")
        self.shell = Shell(self.folder / "shell.socket")

    def _server(self, option, name):
        return option, f"unix:{self.folder / name}.socket,server=on,wait=off"

    def seconds(self):
        """Since the power came."""
        return time.monotonic() - self.start

    def cut_power(self):
        """The processor stops at once and nothing more reaches the disk."""
        self.process.kill()
        self.process.wait()

    # --- Display and keys

    def picture(self):
        """The display as PNG, as the monitor sees it."""
        file = self.folder / "screen.png"
        self.monitor("screendump", filename=str(file), format="png")
        return file.read_bytes()

    def difference(self, golden):
        """Mean difference of the display from a picture, and that of its worst tile."""
        return compare(golden, self.picture())[:2]

    def wait_picture(self, golden, what, seconds, meanwhile=lambda: None):
        """Until the display shows the picture; returns the seconds since the power came. QEMU halts the unit while it
        writes a picture, so that pictures taken without a pause would keep the unit from starting."""
        def is_shown():
            meanwhile()
            mean, worst = self.difference(golden)
            return (mean <= MEAN_TOLERANCE and worst <= TILE_TOLERANCE), mean, worst

        seen = []
        wait_for(lambda: seen.append(is_shown()) or seen[-1][0], f"the picture of {what}", seconds, BETWEEN_PICTURES,
                 lambda _: f"the last one differs by {seen[-1][1]:.1f}, in the worst place by {seen[-1][2]:.0f}; "
                           f"see {self.folder / 'screen.png'}")
        return self.seconds()

    @contextlib.contextmanager
    def held(self, key):
        """A key of the virtual keyboard, by QEMU's name of it."""
        def turn(down):
            self.monitor("input-send-event", events=[
                {"type": "key", "data": {"down": down, "key": {"type": "qcode", "data": key}}}])

        turn(True)
        try:
            yield
        finally:
            turn(False)

    # --- Inside the unit

    def run(self, command):
        """What a command prints in the unit's root shell; it must succeed."""
        status, text = self.shell(command)
        assert status == 0, f"{command}: exit {status}\n{text}"
        return text

    def says(self, command):
        """The last line that a command prints."""
        return self.run(command).strip().splitlines()[-1].strip()

    def outside_port(self):
        """The first port of the controller at the other end of the cable."""
        cards = [card for bus in self.monitor("query-pci") for card in bus["devices"] if card["id"]["vendor"] == RACK]
        return cards[0]["regions"][0]["address"]
