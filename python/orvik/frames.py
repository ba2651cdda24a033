"""Messages of host and display, cut into CAN frames of eight bytes and joined again.

A frame begins with its number in the message. The first one has the message's number of frames after that.
"""

from typing import Iterable, List

HOST_ID = 0x18FF00D0
DISPLAY_ID = 0x18FF00D2
FIRST_BYTES = 6
LATER_BYTES = 7
FILL = b"\xff"


def cut(message: Iterable[int]) -> List[bytes]:
    """The frames of a message."""
    whole = bytes(message)
    rest = [whole[at:at + LATER_BYTES] for at in range(FIRST_BYTES, len(whole), LATER_BYTES)]
    first = bytes([0, 1 + len(rest)]) + whole[:FIRST_BYTES]
    later = [bytes([number]) + part for number, part in enumerate(rest, 1)]
    return [frame.ljust(8, FILL) for frame in [first, *later]]


class Joiner:
    """Joins one sender's frames; a frame out of order ends the message that was begun."""

    def __init__(self) -> None:
        self._parts: List[bytes] = []
        self._count = 0

    def take(self, frame: bytes) -> bytes:
        """The message that this frame ends, with the bytes that fill its last frame; else nothing."""
        if len(frame) > 1 and frame[0] == 0:
            self._parts, self._count = [frame[2:]], frame[1]
        elif self._parts and frame and frame[0] == len(self._parts):
            self._parts.append(frame[1:])
        else:
            self._parts = []
        if not self._parts or len(self._parts) < self._count:
            return b""
        message, self._parts = b"".join(self._parts), []
        return message
