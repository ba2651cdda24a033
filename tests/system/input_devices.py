"""Input devices for a test: the kernel's own by uinput, or those of umockdev where there is no uinput.

The test and every program that opens a device of umockdev run under umockdev-wrapper.
"""

import contextlib
import errno
import os
import pty
import signal
import struct
import tempfile
import tty

from desk import wait_for

EVENT = struct.Struct("@qqHHi")  # time, type, code, value
EV_SYN, EV_KEY, EV_SND = 0x00, 0x01, 0x12
SYN_REPORT, SYN_DROPPED = 0, 3
SND_BELL, SND_TONE = 1, 2
KERNEL_QUEUE = 64  # events that the kernel keeps for a reader, at least


def mask(codes, size=0):
    bits = sum(1 << code for code in codes)
    return bits.to_bytes(max(size, 1), "little")


class UinputDevices:
    """Devices of this machine's kernel, with python3-evdev."""

    environment = {}

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="orvik-input-")

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def plug(self, name, keys=(), sounds=()):
        return UinputDevice(self.path(name), keys, sounds)

    def close(self):
        self.folder.cleanup()


class UinputDevice:
    def __init__(self, path, keys, sounds):
        from evdev import UInput
        kinds = {kind: list(codes) for kind, codes in ((EV_KEY, keys), (EV_SND, sounds)) if codes}
        self.device = UInput(kinds, name="orvik test")
        self.link = path
        os.symlink(self.device.device.path, path)

    def send(self, *events):
        for code, value in events:
            self.device.write(EV_KEY, code, value)
        self.device.syn()

    def lose(self, reader, *events):
        """Sends more than the kernel keeps while the reader stands still."""
        reader.send_signal(signal.SIGSTOP)
        code = events[0][0]
        for turn in range(KERNEL_QUEUE * 4):
            self.send((code, turn % 2))
        self.send(*events)
        reader.send_signal(signal.SIGCONT)

    def sounds(self):
        """The sound events written since the last call: (code, value)."""
        got = []
        with contextlib.suppress(BlockingIOError):
            for event in iter(self.device.read_one, None):
                if event.type == EV_SND:
                    got.append((event.code, event.value))
        return got

    def is_grabbed(self):
        try:
            with self.device.device.grab_context():
                return False
        except OSError as error:
            return error.errno == errno.EBUSY

    def unplug(self):
        os.unlink(self.link)
        self.device.close()


class MockDevices:
    """Devices of umockdev: a pseudo terminal carries the events, the test answers the ioctls."""

    def __init__(self):
        import gi
        gi.require_version("UMockdev", "1.0")
        from gi.repository import UMockdev
        self.library = UMockdev
        self.testbed = UMockdev.Testbed.new()
        self.environment = {"UMOCKDEV_DIR": self.testbed.get_root_dir()}
        self.handlers = {}
        os.makedirs(os.path.join(self.testbed.get_root_dir(), "dev/input"), exist_ok=True)

    def path(self, name):
        return "/dev/input/" + name

    def plug(self, name, keys=(), sounds=()):
        path = self.path(name)
        device = MockDevice(self.testbed.get_root_dir() + path, keys, sounds)
        if path not in self.handlers:
            self.handlers[path] = make_handler(self.library)
            self.testbed.attach_ioctl(path, self.handlers[path])
        self.handlers[path].device = device
        return device

    def close(self):
        for path in self.handlers:
            self.testbed.detach_ioctl(path)
        self.handlers.clear()


def make_handler(library):
    class Handler(library.IoctlBase):
        device = None

        def do_handle_ioctl(self, client):
            request = client.get_request()
            size = request >> 16 & 0x3FFF
            answer = self.device.answer(request & 0xFF, size)
            if answer is not None:
                client.get_arg().resolve(0, size).update(0, answer[:size].ljust(size, b"\0"))
            client.complete(len(answer) if answer else 0, 0)
            return True

    return Handler()


class MockDevice:
    # The evdev ioctls' numbers (linux/input.h).
    VERSION, STATE_OF_KEYS, BITS, GRAB = 0x01, 0x18, 0x20, 0x90

    def __init__(self, node, keys, sounds):
        self.node = node
        self.kinds = {EV_KEY: list(keys), EV_SND: list(sounds)}
        self.down = set()
        self.grabbed = False
        self.master, self.slave = pty.openpty()
        tty.setraw(self.slave)
        os.set_blocking(self.master, False)
        os.symlink(os.ttyname(self.slave), node)

    def answer(self, number, size):
        if number == self.VERSION:
            return struct.pack("@i", 0x010001)
        if number == self.STATE_OF_KEYS:
            return mask(self.down, size)
        if number == self.BITS:
            return mask([EV_SYN] + [kind for kind, codes in self.kinds.items() if codes], size)
        if number - self.BITS in self.kinds:
            return mask(self.kinds[number - self.BITS], size)
        if number == self.GRAB:
            self.grabbed = True
            return None
        return bytes(size)

    def _write(self, *events):
        os.write(self.master, b"".join(EVENT.pack(0, 0, *event) for event in events))

    def _note(self, events):
        for code, value in events:
            (self.down.add if value else self.down.discard)(code)

    def send(self, *events):
        self._note(events)
        self._write(*((EV_KEY, code, value) for code, value in events), (EV_SYN, SYN_REPORT, 0))

    def lose(self, _reader, *events):
        """Sends the kernel's mark for lost events, and keeps the state that these left."""
        self._note(events)
        self._write((EV_SYN, SYN_DROPPED, 0), (EV_SYN, SYN_REPORT, 0))

    def sounds(self):
        got = []
        with contextlib.suppress(BlockingIOError):
            while written := os.read(self.master, EVENT.size * 100):
                got += [event[3:] for event in EVENT.iter_unpack(written) if event[2] == EV_SND]
        return got

    def is_grabbed(self):
        return self.grabbed

    def unplug(self):
        os.unlink(self.node)
        os.close(self.slave)
        os.close(self.master)


def sounds_until(device, wanted, what):
    """Collects the sound events of a device until `wanted` of them is true."""
    got = []

    def collect():
        got.extend(device.sounds())
        return wanted(got)

    wait_for(collect, what)
    return got
