"""Waiting for a condition with a deadline."""

import os
import time
from typing import Callable, Optional, TypeVar

Result = TypeVar("Result")

# Every time limit of this package is multiplied by this factor. Slow machines and sanitizer builds need more than 1.
PATIENCE = float(os.environ.get("ORVIK_PATIENCE", "1"))


class NotInTime(AssertionError):
    """What was waited for did not come about in time."""


def patient(seconds: float) -> float:
    """A time limit with the patience of this machine."""
    return seconds * PATIENCE


def wait_for(condition: Callable[[], Result], what: str, seconds: float = 10.0, interval: float = 0.01,
             tell: Optional[Callable[[Result], str]] = None) -> Result:
    """Polls until `condition` returns something true, and returns that.

    Raises NotInTime after `seconds`, with `what` and what was seen last, which `tell` puts into words.
    """
    __tracebackhide__ = True  # pytest shows the caller's line
    deadline = time.monotonic() + patient(seconds)
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            seen = tell(result) if tell else f"last seen: {result!r}"
            raise NotInTime(f"timed out waiting for {what}; {seen}")
        time.sleep(interval)  # between two polls
