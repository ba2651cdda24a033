import pathlib
import sys

TESTS = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(TESTS / "system"))

import pytest  # noqa: E402
from desk import Desk  # noqa: E402

pytest_plugins = ["orvik.pytest_plugin"]


@pytest.fixture(scope="session")
def desk_type():
    return Desk
