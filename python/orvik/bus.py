"""A station on the display's bus."""

import os
import pathlib
import time
from typing import Callable, Iterable, NamedTuple, Optional

from can.message import Message

from .frames import DISPLAY_ID, HOST_ID, Joiner, cut
from .names import KEYS, nearest
from .socketcand import SocketcandBus
from .waiting import NotInTime, patient, wait_for

KEY_STATE = bytes([6])
ASKING_SECONDS = 0.05  # from one key-state request to the next, as a host does


class KeyState(NamedTuple):
    """The display's reply to the key-state request."""

    key: str   # the next key press in the queue, "none" where there is none; each press is reported once
    last: str  # the key that was pressed last
    status: int


class Bus:
    """Sends as a host does, and hears every other station. `can` is python-can's bus, for loggers and notifiers.

    Its calls raise NotInTime where no frame comes in time, and ConnectionError where the unit has closed the bus.
    """

    def __init__(self, address: str, token: Optional[str] = None) -> None:
        """`address`: HOST:PORT. `token`: that of a bus with --bus-token (default: from the file in $ORVIK_BUS_TOKEN)."""
        host, port = address.rsplit(":", 1)
        file = os.environ.get("ORVIK_BUS_TOKEN")
        if token is None and file:
            token = pathlib.Path(file).read_text().strip()
        self.can = SocketcandBus(host, int(port), token=token, opening_seconds=patient(10))

    def __enter__(self) -> "Bus":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Leaves the bus."""
        self.can.shutdown()

    def send(self, identifier: int, data: Iterable[int]) -> None:
        """Sends one frame with an identifier of 29 bits."""
        self.can.send_frame(identifier, bytes(data))

    def send_message(self, message: Iterable[int]) -> None:
        """Sends a host message, cut into its frames."""
        for frame in cut(message):
            self.send(HOST_ID, frame)

    def receive(self, within: float = 5.0, sender: Optional[int] = None) -> Message:
        """The next frame, of any station or of that with the identifier `sender`."""
        who = "a frame" if sender is None else f"a frame of {sender:08X}"
        return self.wait_for(lambda frame: sender in (None, frame.arbitration_id), who, within)

    def wait_for(self, condition: Callable[[Message], bool], what: str = "the wanted frame",
                 within: float = 10.0) -> Message:
        """The next frame that fulfils the condition; those before it are dropped."""
        deadline = time.monotonic() + patient(within)
        others = 0
        while True:
            frame = self.can.recv(max(0.0, deadline - time.monotonic()))
            if frame and condition(frame):
                return frame
            others += frame is not None
            if time.monotonic() > deadline:
                raise NotInTime(f"timed out waiting for {what} on the bus; {others} other frames came within {within:g} s")

    def ask(self, message: Iterable[int], within: float = 5.0) -> bytes:
        """Sends a request of the host; returns the display's reply, with the bytes that fill its last frame."""
        self.can.forget()  # replies to former requests
        self.send_message(message)
        joiner = Joiner()
        while True:
            reply = joiner.take(self.receive(within, DISPLAY_ID).data)
            if reply:
                return reply

    def key_state(self, within: float = 5.0) -> KeyState:
        """Asks for the next press of a key."""
        status, key, last = self.ask(KEY_STATE, within)[:3]
        return KeyState(_key(key), _key(last), status)

    def wait_for_key(self, key: str, within: float = 10.0) -> KeyState:
        """Asks as a host does until the display reports a press of this key; other keys before it are dropped."""
        if key not in KEYS:
            raise ValueError(f"there is no key {key!r}; {nearest(key, KEYS)}")
        seen = []

        def reported() -> Optional[KeyState]:
            seen.append(self.key_state(within))
            return seen[-1] if seen[-1].key == key else None

        return _some(wait_for(reported, f"the key {key}", within, ASKING_SECONDS, lambda _: f"last reply: {seen[-1]}"))


def _key(number: int) -> str:
    return KEYS[number] if number < len(KEYS) else str(number)


def _some(state: Optional[KeyState]) -> KeyState:
    assert state is not None
    return state
