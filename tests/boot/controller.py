"""The other end of the unit's CAN cable: an SJA1000 controller of QEMU, worked from outside by QEMU's test protocol.

The unit's kernel has no driver for its card, so that no program of the unit touches it. `Bridge` joins it to a local
bus of this machine, where `hx7` and the package `orvik` are stations.
"""

import socket
import threading
import time

from orvik.frames import DISPLAY_ID, HOST_ID, Joiner
from orvik.socketcand import SocketcandBus

# Registers of the controller in its PeliCAN mode.
MODE, COMMAND, STATUS, INTERRUPTS, BUFFER, ACCEPTANCE_MASK, CLOCK = 0, 1, 2, 4, 16, 20, 31
RESET, TRANSMIT, RELEASE, RECEIVED, PELICAN, EXTENDED = 0x01, 0x01, 0x04, 0x01, 0x80, 0x80
HEAD = 5  # bytes before a frame's data: kind and length, identifier
# The unit's controller keeps four frames, and an emulated processor takes milliseconds to empty it.
BETWEEN_FRAMES = 0.004
OPERATING_VALUES = b"\x02"  # the first byte of their message


class Controller:
    """One user at a time; `base` is the card's first port."""

    def __init__(self, path, base):
        self.base = base
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(str(path))
        self.replies = self.socket.makefile("r")
        self.write([(MODE, RESET), (CLOCK, PELICAN), (INTERRUPTS, 0)] +
                   [(ACCEPTANCE_MASK + n, 0xFF) for n in range(4)] + [(MODE, 0)])

    def close(self):
        self.socket.close()

    def _ask(self, lines):
        self.socket.sendall("".join(line + "\n" for line in lines).encode())
        answers = [self.replies.readline().split() for _ in lines]
        assert all(answer[:1] == ["OK"] for answer in answers), (lines, answers)
        return answers

    def write(self, pairs):
        self._ask([f"outb {self.base + register:#x} {value:#x}" for register, value in pairs])

    def read(self, first, count=1):
        return [int(answer[1], 16) for answer in self._ask([f"inb {self.base + first + n:#x}" for n in range(count)])]

    def send(self, identifier, data):
        words = bytes([EXTENDED | len(data)]) + (identifier << 3).to_bytes(4, "big") + bytes(data)
        self.write([*((BUFFER + n, value) for n, value in enumerate(words)), (COMMAND, TRANSMIT)])

    def receive(self):
        """Identifier and data of the next frame; None where none has come."""
        if not self.read(STATUS)[0] & RECEIVED:
            return None
        words = bytes(self.read(BUFFER, HEAD + 8))
        self.write([(COMMAND, RELEASE)])
        assert words[0] & EXTENDED, f"a frame with 11 bits of identifier: {words.hex()}"
        return int.from_bytes(words[1:HEAD], "big") >> 3, words[HEAD:HEAD + (words[0] & 0x0F)]


class Bridge:
    """Passes frames between the controller and a local bus of this machine, until it is closed."""

    def __init__(self, controller, address):
        host, port = address.rsplit(":", 1)
        self.address = address
        self.controller = controller
        self.values = b""  # the host's last message of operating values
        self.joiner = Joiner()
        self.bus = SocketcandBus(host, int(port))
        self.passed = {HOST_ID: 0, DISPLAY_ID: 0}  # frames by identifier
        self.ending = threading.Event()
        self.thread = threading.Thread(target=self._run)
        self.thread.start()

    def close(self):
        self.ending.set()
        self.thread.join()
        self.bus.shutdown()

    def _run(self):
        while not self.ending.is_set():
            heard = self.controller.receive()
            if heard:
                self.bus.send_frame(*heard)
                self._count(heard[0])
                continue
            frame = self.bus.recv(BETWEEN_FRAMES)
            if frame:
                self.controller.send(frame.arbitration_id, frame.data)
                self._keep_values(frame)
                self._count(frame.arbitration_id)
                time.sleep(BETWEEN_FRAMES)

    def _keep_values(self, frame):
        message = self.joiner.take(bytes(frame.data)) if frame.arbitration_id == HOST_ID else b""
        if message[:1] == OPERATING_VALUES:
            self.values = message

    def _count(self, identifier):
        self.passed[identifier] = self.passed.get(identifier, 0) + 1
