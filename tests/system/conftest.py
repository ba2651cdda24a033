import pytest

from desk import Desk
from reports import watch_sanitizers  # noqa: F401

pytest_plugins = ["orvik.pytest_plugin"]


@pytest.fixture(scope="session")
def desk_type():
    return Desk


@pytest.fixture
def desk(make_desk):
    return make_desk()
