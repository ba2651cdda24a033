"""Tests a crane's host computer against the Orvik operator display.

`Desk` starts the display as real processes, `Screen` says what it shows, `Bus` is a station on its CAN bus, and `Crane`
is a simulated crane with its host. Each has a `wait_for`. The fixtures `desk`, `screen` and `crane` of pytest are in
`orvik.pytest_plugin`.
"""

from typing import TYPE_CHECKING

from .crane import Crane, CraneError
from .desk import Desk, DeskError
from .process import Process
from .programs import ProgramsNotFound
from .screen import Screen
from .shown import Expectation, ExpectationError, Shown
from .waiting import NotInTime, wait_for

__all__ = ["Bus", "Crane", "CraneError", "Desk", "DeskError", "Expectation", "ExpectationError", "NotInTime", "Process",
           "ProgramsNotFound", "Screen", "Shown", "wait_for"]

if TYPE_CHECKING:
    from .bus import Bus


def __getattr__(name: str) -> object:
    """Imports `Bus` when it is first used, because it alone needs python-can."""
    if name == "Bus":
        from .bus import Bus

        return Bus
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
