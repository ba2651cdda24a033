import contextlib

import pytest

from desk import Desk


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    outcome = yield
    setattr(item, "report_" + outcome.get_result().when, outcome.get_result())


@pytest.fixture
def make_desk(request):
    """Makes desks that are closed after the test; the lines of every process show when it failed."""
    with contextlib.ExitStack() as stack:
        def make(*options, **settings):
            desk = Desk(*options, **settings)
            stack.callback(lambda: desk.close(show=getattr(request.node, "report_call", None) is None
                                              or request.node.report_call.failed))
            return desk
        yield make


@pytest.fixture
def desk(make_desk):
    return make_desk()
