"""A display on the desk: the unit's services and its application, as real processes on free ports."""

import contextlib
import http.client
import json
import os
import pathlib
import signal
import tempfile
import time
from typing import TYPE_CHECKING, Any, Callable, ClassVar, Dict, Iterator, List, Mapping, Optional, Tuple, Union

from . import web
from .crane import Crane
from .process import Process, Word
from .programs import Folder, find_programs
from .screen import Screen
from .waiting import Result, patient, wait_for

if TYPE_CHECKING:
    from .bus import Bus

ADDRESSES = ("--http", "127.0.0.1:0", "--socketcand", "127.0.0.1:0")  # of free ports
START_SECONDS = 20.0
# The host's request that leads from Slate to the page (command 7, 15).
PAGE_REQUESTS = {"Main": 3, "Wad": 7, "Config": 5}
SIGN_OF_LIFE = bytes([8, 1])


class DeskError(AssertionError):
    """A program of the desk has ended, or refuses what it was asked."""


class Desk:
    """A unit with the application in a runtime directory of its own, from its construction to `close`.

    Any number of desks run beside one another. `unit` and `orvik` are its processes.
    """

    running: ClassVar[List["Desk"]] = []
    """All desks that are not closed; the pytest plugin takes their pictures after a failure."""

    def __init__(self, *options: Word, programs: Optional[Folder] = None, config: Optional[Folder] = None,
                 application: bool = True, environment: Optional[Mapping[str, str]] = None) -> None:
        """`options`: further ones of `unit run`. `programs`: the folder of `unit`, `orvik` and `hx7` (see `find_programs`).
        `config`: the configuration's folder, where it is not the programs' own. `application`: whether `orvik` is started
        too. `environment`: variables of all processes."""
        self.programs = find_programs(programs)
        self.directory = tempfile.TemporaryDirectory(prefix="orvik-desk-")
        self.runtime = pathlib.Path(self.directory.name) / "run"
        self.config_options: List[Word] = ["--config", str(config)] if config else []
        self.environment = dict(environment or {})
        self.processes: List[Process] = []
        self.unit: Optional[Process] = None
        self.orvik: Optional[Process] = None
        try:
            self._begin(options, application)
        except BaseException:
            self.close()
            raise
        self.running.append(self)

    def _begin(self, options: Tuple[Word, ...], application: bool) -> None:
        self.unit = self.start_unit(*options)
        self.orvik = self.start_orvik() if application else None

    def __enter__(self) -> "Desk":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends all processes and removes the runtime directory."""
        if self in self.running:
            self.running.remove(self)
        with contextlib.ExitStack() as stack:  # carries out all, the last one first, even where one of them fails
            stack.callback(self.directory.cleanup)
            for process in self.processes:
                stack.callback(process.stop, signal.SIGKILL if process is self.orvik else signal.SIGTERM)

    def check(self) -> None:
        """Raises DeskError when the unit or the application has ended."""
        for process in (self.unit, self.orvik):
            if process and not process.runs:
                raise DeskError(f"{process.name} has ended with status {process.child.returncode}\n{process.told()}")

    # ---- Programs

    def start_unit(self, *options: Word) -> Process:
        """Starts the unit; returns when its panel answers."""
        for name in ("http.address", "socketcand.address"):
            with contextlib.suppress(FileNotFoundError):
                (self.runtime / name).unlink()
        config = [] if "--config" in options else self.config_options
        unit = self.start(self.programs / "unit", "run", "--no-orvik", "--no-host", *config, *ADDRESSES, *options)
        wait_for(lambda: self._ready(unit), "the panel", START_SECONDS)
        return unit

    def _ready(self, unit: Process) -> bool:
        if not unit.runs:
            raise DeskError(f"the unit ended\n{unit.told()}")
        with contextlib.suppress(OSError, ValueError, http.client.HTTPException):
            return self.request("GET", "/api/screen")[0] == 200
        return False

    def start_orvik(self, *arguments: Word) -> Process:
        """Starts the application, with the unit's configuration or other arguments; returns when it is up."""
        orvik = self.start(*(self.application_call(*arguments)))
        orvik.wait_line("Orvik: System Up", seconds=START_SECONDS)
        return orvik

    def application_call(self, *arguments: Word) -> List[Word]:
        """The words that start the application."""
        return [self.programs / "orvik", *(arguments or [self.config_folder() / "generic.xml"])]

    def config_folder(self) -> pathlib.Path:
        """The configuration's folder: the given one, else the one that the unit has found."""
        given = self.config_options[-1] if self.config_options else os.environ.get("ORVIK_CONFIG")
        if given:
            return pathlib.Path(str(given))
        with contextlib.suppress(FileNotFoundError):
            return pathlib.Path(json.loads((self.runtime / "run.json").read_text())["config"])
        return pathlib.Path("config")

    def start(self, *arguments: Word) -> Process:
        """Starts any program in the desk's runtime directory; it ends with the desk."""
        process = Process(arguments, self.runtime, **self.environment)
        self.processes.append(process)
        return process

    def run(self, *arguments: Word, seconds: float = 30) -> Tuple[int, str, str]:
        """Runs a program to its end; returns its status, standard output and standard error."""
        process = self.start(*arguments)
        status = process.wait_exit(seconds)
        return status, "\n".join(process.out), "\n".join(process.err)

    def succeed(self, *arguments: Word, seconds: float = 30) -> Tuple[str, str]:
        """Runs a program that must end with status 0; returns its standard output and standard error."""
        status, out, errors = self.run(*arguments, seconds=seconds)
        if status != 0:
            raise DeskError(f"{' '.join(map(str, arguments))} ended with status {status}\n{out}{errors}")
        return out, errors

    def crane(self, scenario: Optional[Union[str, pathlib.Path]] = None, *options: str, seed: int = 1,
              speed: Union[str, float] = 1) -> Crane:
        """Puts a simulated crane with its host on the bus, which leads the display to its operating page."""
        return Crane(self, scenario, *options, seed=seed, speed=speed)

    # ---- The bus

    def bus(self) -> "Bus":
        """A new station on the bus."""
        from .bus import Bus  # python-can is needed here alone

        return Bus(self.address("socketcand"))

    def send(self, **values: object) -> None:
        """Sends values by the names of `hx7 send --list`: `send(load=12300, line1_center="HELLO", led="overload,a2b")`."""
        self.succeed(self.programs / "hx7", "send", *(f"{name.replace('_', '-')}={value}" for name, value in values.items()))

    def go_to(self, page: str = "Main", bus: Optional["Bus"] = None) -> "Bus":
        """Brings the display from its start to a page by the host's requests; returns the station that sent them."""
        station = bus or self.bus()

        def step() -> bool:
            shown = self.screen.document()["page"]
            if shown == "Slate" and page in PAGE_REQUESTS:
                station.send_message([7, 15, PAGE_REQUESTS[page]])
            elif shown != page:
                station.send_message(SIGN_OF_LIFE)  # any message: the splash page ends when the host is heard
            return bool(shown == page)

        wait_for(step, f"the screen on {page}", 15, interval=0.1)
        return station

    # ---- The front panel

    @property
    def screen(self) -> Screen:
        """What the screen shows."""
        return Screen(lambda: self.address("http"))

    def address(self, name: str = "http") -> str:
        """HOST:PORT of a server in the runtime directory: `http` (the panel), `socketcand` (the bus), `hx7`."""
        return (self.runtime / f"{name}.address").read_text().strip()

    def request(self, method: str, path: str, body: Optional[str] = None, headers: Optional[Mapping[str, str]] = None,
                server: str = "http") -> Tuple[int, bytes]:
        """Status and body of a request to the panel or another server."""
        return web.request(self.address(server), method, path, body, headers)

    def get(self, path: str) -> Any:
        """The JSON document at a path of the panel."""
        status, body = self.request("GET", path)
        if status != 200:
            raise DeskError(f"GET {path}: {status}, {web.problem(body)}")
        return json.loads(body)

    def key(self, number: int, down: bool) -> None:
        """Holds or releases a front key, 1 to 8."""
        status, body = self.request("POST", f"/api/keys/{number}", json.dumps({"down": down}))
        if status != 200:
            raise DeskError(f"key {number}: {status}, {web.problem(body)}")

    @contextlib.contextmanager
    def held(self, *keys: int) -> Iterator[None]:
        """Holds front keys within a `with` statement."""
        for key in keys:
            self.key(key, True)
        try:
            yield
        finally:
            for key in keys:
                self.key(key, False)

    def press(self, *keys: int, seconds: float = 0.2) -> None:
        """Presses front keys together for a time, and waits as long after their release: the display sees no shorter press
        or pause than 0.1 s."""
        with self.held(*keys):
            time.sleep(patient(seconds))
        time.sleep(patient(seconds))

    def value(self, name: str) -> Any:
        """A parameter of the database by its name, such as "OrvikLoad"; None while it is not valid."""
        for parameter in self.get("/api/database")["parameters"]:
            if parameter["name"] == name:
                return parameter["value"] if parameter["valid"] else None
        raise DeskError(f"the database has no parameter {name!r}")

    def health(self) -> Dict[str, Any]:
        """What the services tell of themselves; it is there while some are down too."""
        health: Dict[str, Any] = json.loads(self.request("GET", "/api/health")[1])
        return health

    def wait_for(self, condition: Callable[[], Result], what: str, within: float = 10.0) -> Result:
        """Polls until `condition` returns something true, and returns that."""
        return wait_for(condition, what, within)

    def bundle(self, path: Folder) -> pathlib.Path:
        """Packs a report with log, screen and configuration, which `unit replay` shows again."""
        self.succeed(self.programs / "unit", "bundle", pathlib.Path(path).absolute())
        return pathlib.Path(path)
