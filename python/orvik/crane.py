"""A simulated crane with its host computer, program `hx7 simulate`."""

import json
import pathlib
import time
from typing import TYPE_CHECKING, Any, Dict, Optional, Union

from . import web
from .process import Process
from .waiting import NotInTime, patient, wait_for

if TYPE_CHECKING:
    from .desk import Desk

LOOK_SECONDS = 0.05
BY_HAND = "by-hand.scenario"


class CraneError(Exception):
    """The simulator refuses an action."""


class Crane:
    """The simulator on the bus of a desk. Without a scenario the crane stands still until `do` moves it.

    Values are in metres, kilograms, degrees and bar.
    """

    def __init__(self, desk: "Desk", scenario: Optional[Union[str, pathlib.Path]] = None, *options: str, seed: int = 1,
                 speed: Union[str, float] = 1) -> None:
        """`scenario`: a name of `hx7 simulate --list`, or a file. `options`: further ones of `hx7 simulate`."""
        self._desk = desk
        if scenario is None:
            scenario = desk.runtime / BY_HAND
            scenario.write_text("# The crane waits for what a test does\n")
        self._address = desk.runtime / "hx7.address"
        self._address.unlink(missing_ok=True)
        self.process: Process = desk.start(
            desk.programs / "hx7", "simulate", *desk.config_options, "--scenario", scenario, "--http", "127.0.0.1:0", "--seed",
            seed, "--speed", speed, "--quiet", *options)
        wait_for(self._listens, "the simulator's address", 20)

    def _listens(self) -> bool:
        if not self.process.runs:
            raise CraneError("the simulator ended:\n" + self.process.told())
        return self._address.exists()

    def do(self, action: str) -> None:
        """Carries out an action of a scenario, such as "boom angle 60" (`hx7 simulate --help` lists them)."""
        self._post("do", {"do": action})

    def hold(self, **values: float) -> None:
        """The host sends these operating values whatever the crane does, in the units that it has set: `hold(load=12300)`."""
        self.do("hold " + " ".join(f"{name.replace('_', '-')}={value}" for name, value in values.items()))

    def release(self) -> None:
        """Ends `hold`."""
        self.do("release")

    def drive(self, **targets: float) -> None:
        """Moves to targets: angle, length, swing, load, hoist."""
        self._post("controls", targets)

    def state(self) -> Dict[str, Any]:
        """All that the simulator tells of itself: `crane`, `configuration`, `lamps`, `faults`, `display` and more."""
        status, body = web.request(self._address.read_text().strip(), "GET", "/api/state")
        if status != 200:
            raise CraneError(f"the simulator's state: {status}, {web.problem(body)}")
        state: Dict[str, Any] = json.loads(body)
        return state

    def wait_for(self, within: float = 60.0, tolerance: float = 0.1, **values: Union[float, bool]) -> Dict[str, Any]:
        """Waits until values of the crane stand there, such as `angle=60` or `at_rest=True`; returns the crane's values.

        Numbers may differ by `tolerance`.
        """
        deadline = time.monotonic() + patient(within)
        while True:
            crane: Dict[str, Any] = self.state()["crane"]
            unknown = [name for name in values if name not in crane]
            if unknown:
                raise CraneError(f"the crane has no value {unknown[0]!r}; there are {', '.join(crane)}")
            if all(abs(crane[name] - value) <= tolerance for name, value in values.items()):
                return crane
            if time.monotonic() > deadline:
                found = ", ".join(f"{name} is {crane[name]:g}" for name in values)
                raise NotInTime(f"timed out waiting for the crane with {values}: {found}")
            time.sleep(LOOK_SECONDS)

    def stop(self) -> int:
        """Ends the simulator: the host falls silent."""
        return self.process.stop()

    def _post(self, path: str, document: Dict[str, Any]) -> None:
        status, body = web.request(self._address.read_text().strip(), "POST", f"/api/{path}", json.dumps(document))
        if status != 200:
            raise CraneError(web.problem(body))
