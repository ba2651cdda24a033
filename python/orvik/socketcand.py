"""A bus of python-can on a socketcand server.

python-can has one of its own ("socketcand"). This one is told when the server goes away, takes frames that follow the
opening at once, and can present a token; with the other, such a station hears silence or does not open at times.
"""

import collections
import select
import socket
import time
from typing import Deque, List, Optional, Tuple

from can.bus import BusABC
from can.message import Message
from can.typechecking import CanFilters

OPENING_SECONDS = 10.0
READ_BYTES = 65536
BUS_NAME = "can0"


class SocketcandBus(BusABC):
    """Raises ConnectionError from every call once the server has closed the connection."""

    def __init__(self, host: str, port: int, channel: str = BUS_NAME, token: Optional[str] = None,
                 can_filters: Optional[CanFilters] = None, opening_seconds: float = OPENING_SECONDS) -> None:
        self.channel_info = f"socketcand {host}:{port} {channel}"
        self._seconds = opening_seconds
        self._buffer = b""
        self._frames: Deque[Message] = collections.deque()
        self._socket = socket.create_connection((host, port), opening_seconds)
        self._poll = select.poll()
        self._poll.register(self._socket, select.POLLIN)
        try:
            self._await_answer("hi")
            if token:
                self.command(f"token {token}")
            self.command(f"open {channel}")
            self.command("rawmode")
        except BaseException:
            self._socket.close()
            raise
        super().__init__(channel=channel, can_filters=can_filters)

    def command(self, words: str) -> None:
        """Sends a command of the protocol, such as `bcmmode`, and waits until the server has accepted it."""
        self._socket.sendall(f"< {words} >".encode())
        self._await_answer("ok")

    def send(self, msg: Message, timeout: Optional[float] = None) -> None:
        """Sends a frame; `timeout` is that of python-can, and not needed here."""
        self.send_frame(msg.arbitration_id, bytes(msg.data), msg.is_extended_id)

    def send_frame(self, identifier: int, data: bytes, extended: bool = True) -> None:
        """Sends a frame without python-can's record of it, for stations that send thousands a second."""
        text = " ".join(f"{byte:x}" for byte in data)
        self._socket.sendall(f"< send {identifier:0{8 if extended else 3}X} {len(data)} {text} >".encode())

    def forget(self) -> None:
        """Drops all frames that have come."""
        while self._receive(0):
            self._frames.clear()
        self._frames.clear()

    def fileno(self) -> int:
        return self._socket.fileno()

    def shutdown(self) -> None:
        super().shutdown()
        self._socket.close()

    def _recv_internal(self, timeout: Optional[float]) -> Tuple[Optional[Message], bool]:
        if not self._frames:
            self._receive(timeout)
        return (self._frames.popleft() if self._frames else None), False

    def _await_answer(self, word: str) -> None:
        deadline = time.monotonic() + self._seconds
        while True:
            for answer in self._take_messages():
                if answer[:1] == [word]:
                    return
                raise ConnectionError(f"{self.channel_info} answers {' '.join(answer)!r} instead of {word!r}")
            left = deadline - time.monotonic()
            if left <= 0:
                raise TimeoutError(f"{self.channel_info} does not answer")
            self._read(left)

    def _receive(self, timeout: Optional[float]) -> bool:
        came = self._read(timeout)
        for answer in self._take_messages():
            raise ConnectionError(f"{self.channel_info}: {' '.join(answer)}")
        return came

    def _read(self, timeout: Optional[float]) -> bool:
        """Reads once into the buffer; returns whether something came."""
        if not self._poll.poll(None if timeout is None else 1000 * timeout):
            return False
        received = self._socket.recv(READ_BYTES)
        if not received:
            raise ConnectionError(f"{self.channel_info} closed the connection")
        self._buffer += received
        return True

    def _take_messages(self) -> List[List[str]]:
        """Keeps the frames of the buffer's whole messages; returns the words of all others."""
        *whole, self._buffer = self._buffer.split(b">")
        messages = [each.decode("ascii", "replace").strip(" <\r\n").split() for each in whole]
        self._frames += [_frame(words) for words in messages if words[:1] == ["frame"]]
        return [words for words in messages if words[:1] != ["frame"]]


def _frame(words: List[str]) -> Message:
    _, identifier, timestamp, *data = words
    return Message(arbitration_id=int(identifier, 16), is_extended_id=len(identifier) > 3, timestamp=float(timestamp),
                       data=bytes.fromhex("".join(data)))
