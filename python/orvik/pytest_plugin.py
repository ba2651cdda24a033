"""The pytest plugin: a display of its own for each test, and what it showed when a test fails.

Fixtures: `desk` (a display on its operating page, with no host), `screen` (that of the desk), `crane` (a simulated crane
with its host on the desk's bus), `make_desk` (makes desks with options). `@pytest.mark.desk("--realtime", page="Splash")`
gives the desk options of `unit run`, and another page than Main, or None to leave it as it starts.

After a failure the picture and the bundle of each desk, and the lines of all processes, are in a folder of the test's
name, which the report names.
"""

import contextlib
import pathlib
import re
from typing import Any, Callable, Generator, Iterator, List, Type

import pytest

from .crane import Crane
from .desk import Desk
from .process import Process
from .screen import Screen

FOLDER = "orvik-failures"


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("orvik", "the Orvik display")
    group.addoption("--orvik-bin", metavar="DIR", help="folder of the programs unit, orvik and hx7")
    group.addoption("--orvik-artifacts", metavar="DIR", default=FOLDER,
                    help=f"folder for pictures and bundles (default: {FOLDER} in the root folder of the tests)")
    group.addoption("--orvik-keep", action="store_true", help="write them for tests that pass, too")


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line("markers", "desk(*options, page='Main'): options of `unit run` for the desk of this test, and the "
                                       "page that it begins on (None: as the display starts)")
    # python-can 4.1 causes it when it is imported.
    config.addinivalue_line("filterwarnings", "ignore:SelectableGroups dict interface:DeprecationWarning")


@pytest.fixture(scope="session")
def desk_type() -> Type[Desk]:
    """The class of all desks; a project may return a subclass of its own."""
    return Desk


@pytest.fixture
def make_desk(request: pytest.FixtureRequest, desk_type: Type[Desk]) -> Iterator[Callable[..., Desk]]:
    """Makes desks, which end with the test."""
    programs = request.config.getoption("orvik_bin")
    with contextlib.ExitStack() as stack:
        def make(*options: Any, **settings: Any) -> Desk:
            desk = desk_type(*options, **({"programs": programs} if programs else {}), **settings)
            stack.callback(desk.close)
            return desk
        yield make


@pytest.fixture
def desk(request: pytest.FixtureRequest, make_desk: Callable[..., Desk]) -> Iterator[Desk]:
    """A display of the test's own. The test fails when the unit or the application ends before it."""
    mark = request.node.get_closest_marker("desk")
    desk = make_desk(*(mark.args if mark else ()))
    page = mark.kwargs.get("page", "Main") if mark else "Main"
    if page and "crane" not in request.fixturenames:  # the crane's host leads to the page itself
        desk.go_to(page).close()
    yield desk
    desk.check()


@pytest.fixture
def screen(desk: Desk) -> Screen:
    """The desk's screen."""
    return desk.screen


@pytest.fixture
def crane(desk: Desk) -> Crane:
    """A simulated crane that stands still, with its host on the desk's bus; the operating page is shown."""
    crane: Crane = desk.crane()
    desk.wait_for(lambda: bool(desk.screen.document()["page"] == "Main"), "the operating page", 20)
    return crane


@pytest.hookimpl(tryfirst=True)
def pytest_runtest_setup(item: pytest.Item) -> None:
    Process.started[:] = [process for process in Process.started if process.runs]


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    outcome = yield
    report: pytest.TestReport = outcome.get_result()
    failed = report.failed or bool(report.skipped and hasattr(report, "wasxfail"))
    keep = item.config.getoption("orvik_keep") and report.when == "call"
    if not Process.started or not (failed or keep):
        return
    lines = "\n".join(process.told() for process in Process.started)
    folder = artifacts_folder(item)
    notes = "\n".join(_write_artifacts(folder, Desk.running, lines))
    report.sections.append(("orvik", notes))
    if failed:
        report.sections.append(("orvik processes", lines))


def artifacts_folder(item: pytest.Item) -> pathlib.Path:
    """The folder for what a test leaves."""
    name = re.sub(r"[^\w.-]+", "-", item.nodeid).strip("-")
    return pathlib.Path(item.config.rootpath, item.config.getoption("orvik_artifacts"), name)


def _write_artifacts(folder: pathlib.Path, desks: List[Desk], lines: str) -> List[str]:
    """Writes what can be had; returns a line for each file, or why it is missing."""
    folder.mkdir(parents=True, exist_ok=True)
    notes = [_attempt(folder / "processes.txt", lambda path: path.write_text(lines + "\n"))]
    for number, desk in enumerate(desks, 1):
        suffix = "" if len(desks) == 1 else f"-{number}"
        notes.append(_attempt(folder / f"screen{suffix}.png", desk.screen.picture))
        bundle = folder / f"report{suffix}.tar.gz"
        bundle.unlink(missing_ok=True)
        notes.append(_attempt(bundle, desk.bundle))
    return notes


def _attempt(path: pathlib.Path, write: Callable[[pathlib.Path], object]) -> str:
    try:
        write(path)
        return str(path)
    except Exception as problem:  # whatever it is, the test's own failure is the one to report
        return f"{path.name} is missing: {str(problem).splitlines()[0] if str(problem) else repr(problem)}"
