"""A host of chance: any values, any texts, and faults in between. One seed, one traffic."""

import random
import struct
import time

from desk import HOST_ID, cmd5, cut

FRONT_KEYS = (1, 4, 5, 6, 7, 8)
WORDS = ("HELLO", "CARGA 12 t", "РАБОТА", "载荷 主臂", "é ü ñ", "?", "x" * 13, "a b", "☂ 𝄞", "-")
BROKEN = (b"A\xe4\xb8", b"\xc3A\x80", b"\xed\xa0\x80B", b"\xf8\xff?", b"\xf4\x90\x80\x80")
FIELDS = (*range(1, 28), 0, 28, 29, 30)


class BadHost:
    def __init__(self, bus, seed, faults=0.1):
        self.bus, self.chance, self.faults = bus, random.Random(seed), faults
        self.injected, self.sent = 0, 0

    def single(self, low, high):
        kind = self.chance.random()
        if kind < 0.7:
            return self.chance.uniform(low, high)
        if kind < 0.8:
            return self.chance.choice((low, high, 0.0, -0.0, -0.05, 99.95, 999.95, 999949.9, 0.9, 1.0))
        return struct.unpack(">f", self.chance.randbytes(4))[0]

    def values(self):
        head = [self.single(-1000, 1.1e6), self.single(-1000, 1.1e6), self.single(-5, 1010), self.single(-30, 95),
                self.single(-5, 1010), self.single(0, 1.4)]
        lamps = self.chance.randbytes(4)
        swing = struct.pack(">h", self.chance.choice((self.chance.randint(-400, 400), self.chance.randint(-32768, 32767))))
        return (b"\x02\x00" + b"".join(self.pack(each) for each in head) + self.chance.randbytes(1) + lamps[:3] + swing +
                lamps[3:] + self.pack(self.single(-10, 400)) + self.pack(self.single(-10, 400)))

    @staticmethod
    def pack(value):
        try:
            return struct.pack(">f", value)
        except OverflowError:
            return struct.pack(">f", float("inf"))

    def texts(self):
        chosen = self.chance.sample(FIELDS, self.chance.randint(1, 5))
        broken = self.chance.random() < self.faults
        return cmd5(*((field, self.chance.choice(BROKEN if broken else WORDS)) for field in chosen))

    def message(self):
        pick = self.chance.random()
        if pick < 0.7:
            return self.values()
        if pick < 0.82:
            return self.texts()
        return self.chance.choice((
            lambda: [7, 11, self.chance.randint(0, 2)], lambda: [7, 13, self.chance.choice((0, 0, 1, 2, 3, 4, 5, 6, 99))],
            lambda: [7, 18, *(self.chance.randint(0, 5) for _ in range(4))],
            lambda: [7, 19, self.chance.choice((0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 255))], lambda: [6], lambda: [8, 1],
            lambda: [7, 8, self.chance.randint(0, 1)], lambda: [4, 0], lambda: [7, self.chance.randint(20, 255), 0],
            lambda: [7, 15, self.chance.choice((0, 1, 3, 4, 5, 6, 7))], lambda: [self.chance.randint(10, 255)]))()

    def spoil(self, frames):
        """The frames with one fault."""
        self.injected += 1
        at = self.chance.randrange(len(frames))
        kind = self.chance.randrange(6)
        if kind == 0:
            return frames[:at] + frames[at + 1:]
        if kind == 1:
            return frames[:at] + [frames[at]] + frames[at:]
        if kind == 2:
            other = self.chance.randrange(len(frames))
            frames[at], frames[other] = frames[other], frames[at]
            return frames
        if kind == 3:
            return [bytes([frame]) + b"\x28" + self.chance.randbytes(6) for frame in range(40)] + frames
        if kind == 4:
            return [self.chance.randbytes(8) for _ in range(self.chance.randint(1, 30))] + frames
        return [frame[:self.chance.randint(0, 7)] if i == at else frame for i, frame in enumerate(frames)]

    def send(self):
        frames = cut(bytes(self.message()))
        if self.chance.random() < self.faults:
            frames = self.spoil(frames)
        if self.chance.random() < self.faults / 5:  # another station's traffic in between
            self.bus.send(self.chance.choice((0x18FEEE00, 0x18FECA00, 0x18FF00D1)), self.chance.randbytes(8))
        for frame in frames:
            self.bus.send(HOST_ID, frame)
        self.sent += 1

    def run(self, seconds, pause=0.06):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            self.send()
            time.sleep(self.chance.uniform(0, 2 * pause))
