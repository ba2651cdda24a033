"""axe-core, a checker of web pages for people who use a keyboard or a screen reader, finds nothing serious on our pages."""

import os
import pathlib
import subprocess

import pytest
from desk import BIN, CONFIG, DEMO_LOG, REPOSITORY, wait_for
from selenium.webdriver.common.by import By

CHECK = """
  const done = arguments[0];
  axe.run(document, { resultTypes: ['violations'] }).then(({ violations }) => done(violations
    .filter(({ impact }) => ['serious', 'critical'].includes(impact))
    .map(({ id, help, nodes }) => `${id}: ${help}: ${nodes.map(({ html }) => html.slice(0, 150)).join(' | ')}`)));
"""
PHONE = {"width": 390, "height": 844, "deviceScaleFactor": 1, "mobile": True}


@pytest.fixture(scope="module")
def axe():
    folder = pathlib.Path(os.environ.get("ORVIK_AXE", BIN.parent / "axe"))
    subprocess.run([REPOSITORY / "tools/install-axe", folder], check=True)
    return (folder / "node_modules/axe-core/axe.min.js").read_text()


@pytest.fixture
def findings(driver, axe):
    def check(what):
        if not driver.execute_script("return Boolean(window.axe)"):
            driver.execute_script(axe)
        return [f"{what}: {finding}" for finding in driver.execute_async_script(CHECK)]

    yield check
    driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def test_the_checker_finds_a_fault(driver, findings):
    driver.get("data:text/html,<html lang=en><title>x</title><main><h1>x</h1><button></button>")
    assert [finding.split(":")[1] for finding in findings("a button without a name")] == [" button-name"]


def test_the_panel_has_no_serious_finding(open_panel, findings):
    panel = open_panel()
    panel.open()
    found = findings("at rest")
    panel.desk.start(BIN / "hx7", "simulate", "--config", CONFIG, "--http", "127.0.0.1:0", "--quiet")
    elements = panel.driver.find_elements
    wait_for(lambda: panel.find("#crane").is_displayed() and elements(By.CSS_SELECTOR, "#host-rows tr"), "the crane on the page")
    for tab in elements(By.CSS_SELECTOR, "[role=tab]"):
        tab.click()
        name = tab.text
        if name == "Bus":
            wait_for(lambda: elements(By.CSS_SELECTOR, "#bus-rows tr"), "rows of the trace")
        found += findings(f"tab {name}")
    panel.find("#history-toggle").click()
    wait_for(lambda: panel.find("#history-body").get_attribute("data-ready"), "the history", 20)
    panel.driver.execute_script("moveCursor(log.start)")
    wait_for(lambda: panel.find("#history-moment").is_displayed(), "the past")
    found += findings("the history")
    panel.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", PHONE)
    found += findings("on a phone")
    assert not found, "\n".join(found)


def test_a_report_has_no_serious_finding(driver, findings, tmp_path):
    report = tmp_path / "report.html"
    subprocess.run([BIN / "hx7", "report", DEMO_LOG, "-o", report, "--config", CONFIG], check=True)
    driver.get(report.as_uri())
    wait_for(lambda: driver.execute_script("return document.documentElement.dataset.ready"), "the report", 20)
    wait_for(lambda: driver.execute_script("return document.getElementById('view').dataset.time"), "the crane")
    found = findings("report")
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", PHONE)
    found += findings("report on a phone")
    driver.get("about:blank")
    assert not found, "\n".join(found)
