"""Fails a test in which a sanitizer reported. Each conftest.py imports the fixture."""

import pytest

from desk import REPORT, Process


@pytest.fixture(autouse=True)
def watch_sanitizers():
    """Torn down after all other fixtures, when the processes have ended and their lines are complete."""
    yield
    for process in reversed(Process.started):
        if process.runs:
            process.stop()
    found = [line for process in Process.started for line in process.err if REPORT.search(line)]
    assert not found, "\n".join([f"a sanitizer reports: {found}", *(each.told() for each in Process.started)])
