import contextlib
import pathlib
import sys
import tempfile

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "system"))

from desk import Desk  # noqa: E402
from panel import Panel  # noqa: E402
from reports import watch_sanitizers  # noqa: E402, F401
from x_screen import screen  # noqa: E402, F401

pytest_plugins = ["orvik.pytest_plugin"]

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-dev-shm-usage",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--window-size=1280,890"]


@contextlib.contextmanager
def browser(*flags):
    with tempfile.TemporaryDirectory(prefix="orvik-browser-", ignore_cleanup_errors=True) as profile:
        options = webdriver.ChromeOptions()
        for flag in [*FLAGS, *flags, f"--user-data-dir={profile}"]:
            options.add_argument(flag)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        started = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        started.set_script_timeout(30)
        yield started
        started.quit()


@pytest.fixture(scope="session")
def desk_type():
    return Desk


@pytest.fixture(scope="session")
def driver():
    with browser() as started:
        yield started


@pytest.fixture
def another_driver():
    """A browser of the test's own, which it may kill."""
    with browser() as started:
        yield started


@pytest.fixture
def open_panel(driver, make_desk):
    """Opens the front panel of a desk of its own."""
    yield lambda *options, **settings: Panel(driver, make_desk(*options, **settings))
    driver.get("about:blank")
