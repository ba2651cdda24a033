"""Prints the lines of every process of a failed test. Each conftest.py imports both names."""

import pytest

from desk import REPORT, Process


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    outcome = yield
    item.failed = getattr(item, "failed", False) or outcome.get_result().failed


@pytest.fixture(autouse=True)
def show_processes(request):
    """Torn down after all other fixtures, when the processes have ended and their lines are complete."""
    Process.started.clear()
    yield
    for process in reversed(Process.started):
        if process.child.poll() is None:
            process.stop()
    found = [line for process in Process.started for line in process.err if REPORT.search(line)]
    if found or getattr(request.node, "failed", False):
        for process in Process.started:
            process.dump()
    assert not found, f"a sanitizer reports: {found}"
