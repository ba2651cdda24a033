"""Finds the folder that the programs `unit`, `orvik` and `hx7` stand in."""

import os
import pathlib
import shutil
from typing import List, Optional, Union

PROGRAMS = ("unit", "orvik", "hx7")
BUILT = "build/release/bin"

Folder = Union[str, "os.PathLike[str]"]


class ProgramsNotFound(Exception):
    """No folder has all three programs."""


def find_programs(given: Optional[Folder] = None) -> pathlib.Path:
    """The folder of the programs: the given one, else that in $ORVIK_BIN, else the first of these that has all three:
    build/release/bin of the repository that this package stands in, that of the current folder, the folders of $PATH."""
    named = given or os.environ.get("ORVIK_BIN")
    if named:
        return _require(pathlib.Path(named).absolute(), "as the programs' folder is given" if given else "as $ORVIK_BIN says")
    for folder in _places():
        if not _missing(folder):
            return folder
    raise ProgramsNotFound("there are no programs unit, orvik and hx7: build them (cmake --build --preset release) and name "
                           f"their folder by --orvik-bin, Desk(programs=...) or $ORVIK_BIN; searched: {_names(_places())}")


def _require(folder: pathlib.Path, why: str) -> pathlib.Path:
    missing = _missing(folder)
    if missing:
        raise ProgramsNotFound(f"{folder}, {why}, lacks {', '.join(missing)}")
    return folder


def _missing(folder: pathlib.Path) -> List[str]:
    return [name for name in PROGRAMS if not os.access(folder / name, os.X_OK)]


def _places() -> List[pathlib.Path]:
    found = shutil.which("unit")
    on_path = [pathlib.Path(found).absolute().parent] if found else []
    return [pathlib.Path(__file__).resolve().parents[2] / BUILT, pathlib.Path.cwd() / BUILT, *on_path]


def _names(places: List[pathlib.Path]) -> str:
    return ", ".join(map(str, places)) + ", $PATH"
