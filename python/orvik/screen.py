"""The screen of a display, as its panel tells it."""

import http.client
import json
import os
import pathlib
import time
from typing import Any, Callable, Dict, Mapping, Optional, Tuple, Union

from . import web
from .shown import Expectation, Shown, Value, expectations
from .waiting import NotInTime, patient

LOOK_SECONDS = 0.02


class Screen:
    """What the operator sees. Every property asks the display anew; `shown()` has all of one moment."""

    def __init__(self, address: Union[str, Callable[[], str]]) -> None:
        """`address`: HOST:PORT of the panel, or a function that returns it."""
        self._address = (lambda: address) if isinstance(address, str) else address

    def shown(self) -> Shown:
        """All that is shown at this moment. Raises ScreenSilent while the screen does not answer."""
        return Shown.read(json.loads(self._get("/api/shown")))

    def document(self) -> Dict[str, Any]:
        """The screen's own state with the names of the pages' elements (GET /api/screen): `page`, `widgets`, `variables`."""
        document: Dict[str, Any] = json.loads(self._get("/api/screen"))
        return document

    @property
    def page(self) -> str:
        """The page's name, such as "Main"."""
        return self.shown().page

    @property
    def texts(self) -> Mapping[str, str]:
        """All texts by their names: load, capacity, radius, line1 and so on."""
        return self.shown().texts

    @property
    def lamps(self) -> Tuple[str, ...]:
        """Names of the lamps that are lit."""
        return self.shown().lamps

    @property
    def beeper(self) -> str:
        """`silent`, `beep`, `steady` or `pulse`."""
        return self.shown().beeper

    def wait_for(self, *expressions: str, within: float = 10.0, **named: Value) -> Shown:
        """Waits until all of this is shown at the same moment; returns all that is shown then.

        `wait_for("load > 12000", "no lamp overload", page="Main", load=12300, line1_has="FRONT", lamp="a2b", within=1)`.
        Raises NotInTime, which says what stood there, and ExpectationError for a mistake in an expression.
        """
        __tracebackhide__ = True  # pytest shows the test's line
        wanted = expectations(expressions, named)
        deadline = time.monotonic() + patient(within)
        while True:
            shown, silence = self._try_shown()
            if shown and all(each.holds(shown) for each in wanted):
                return shown
            if time.monotonic() > deadline:
                raise NotInTime(_failure(wanted, shown, silence, patient(within)))
            time.sleep(LOOK_SECONDS)

    def picture(self, path: Optional[Union[str, "os.PathLike[str]"]] = None, within: float = 10.0) -> bytes:
        """The screen as PNG, also written to a file where `path` is given.

        The panel refuses a picture that takes a second to draw, as on a busy machine, or is late itself; it is asked again
        `within` a time.
        """
        deadline = time.monotonic() + patient(within)
        while True:
            try:
                png = self._get("/screen.png")
                break
            except (ScreenSilent, TimeoutError):
                if time.monotonic() > deadline:
                    raise
        if path is not None:
            pathlib.Path(path).write_bytes(png)
        return png

    def svg(self) -> str:
        """The screen as SVG."""
        return self._get("/screen.svg").decode()

    def _try_shown(self) -> Tuple[Optional[Shown], str]:
        try:
            return self.shown(), ""
        except (ScreenSilent, OSError, http.client.HTTPException) as silence:
            return None, str(silence)

    def _get(self, path: str) -> bytes:
        status, body = web.request(self._address(), "GET", path)
        if status != 200:
            raise ScreenSilent(f"GET {path}: {status}, {web.problem(body)}")
        return body


class ScreenSilent(AssertionError):
    """The panel has no answer of the screen."""


def _failure(wanted: "list[Expectation]", shown: Optional[Shown], silence: str, within: float) -> str:
    expected = " and ".join(each.text for each in wanted)
    if shown is None:
        return f"{expected} was not shown within {within:g} s: the screen does not answer ({silence})"
    found = ", ".join(each.look(shown) for each in wanted if not each.holds(shown))
    return f"{expected} was not shown within {within:g} s: {found}\nshown are {shown.words()}"
