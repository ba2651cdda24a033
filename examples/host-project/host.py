"""The host computer under test: it tells the display what hangs on the hook."""

import struct
from typing import Callable

CAPACITY = 14400  # pounds
OPERATING_VALUES, BEEPER = 2, 4
OVERLOAD = 1 << 1  # of the lamps
STEADY, SILENT = 255, 0


class Host:
    def __init__(self, send: Callable[[bytes], None]) -> None:
        self.send = send

    def lift(self, pounds: float) -> None:
        """Sends the operating values for a load, and sounds the beeper from 100 % of the capacity."""
        percent = pounds / CAPACITY
        values = struct.pack(">6f", CAPACITY, pounds, 35.4, 62.1, 82.0, percent)
        lamps = struct.pack("<I", OVERLOAD if percent >= 1 else 0)
        self.send(bytes([OPERATING_VALUES, 0]) + values + bytes([4]) + lamps[:3] + bytes(2) + lamps[3:] + bytes(8))
        self.send(bytes([BEEPER, STEADY if percent >= 1 else SILENT]))
