import contextlib

import pytest

from desk import Desk
from reports import pytest_runtest_makereport, show_processes  # noqa: F401


@pytest.fixture
def make_desk():
    """Makes desks, which are closed after the test."""
    with contextlib.ExitStack() as stack:
        def make(*options, **settings):
            desk = Desk(*options, **settings)
            stack.callback(desk.close)
            return desk
        yield make


@pytest.fixture
def desk(make_desk):
    return make_desk()
