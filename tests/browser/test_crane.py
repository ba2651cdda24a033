"""The simulated crane on the front panel, and what a hand and an assistive program need of the page."""

import json

import pytest

from desk import BIN, CONFIG, wait_for
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

STANDING = "0 base extended\n0 boom angle 50\n0 boom length 20\n0 load 4000\n"
# The elements that a user acts on, with their names and sizes; those of closed tabs have no size.
CONTROLS = """
  const controls = document.querySelectorAll('button, input, select, a[href], [tabindex="0"]');
  return [...controls].map((each) => [each, each.getBoundingClientRect()]).filter(([, box]) => box.width > 0).map(([each, box]) => ({
    id: each.id || each.outerHTML.slice(0, 60), key: each.id.startsWith('key-'), width: box.width, height: box.height,
    name: each.getAttribute('aria-label') || each.labels?.[0]?.textContent || each.textContent || each.closest('[aria-labelledby]')?.id,
  }));
"""
UNNAMED_HEADERS = "return [...document.querySelectorAll('th')].filter((each) => !each.textContent.trim()).length"
WIDTHS = "return [document.documentElement.scrollWidth, document.documentElement.clientWidth]"
TAP = """
  const send = window.fetch;
  window.sent = [];
  window.fetch = (path, options) => {
    if (path.startsWith('/api/keys')) window.sent.push(performance.now());
    return send(path, options);
  };
  const key = document.getElementById('key-1');
  for (const name of ['pointerdown', 'pointerup']) key.dispatchEvent(new PointerEvent(name, { pointerId: 1, bubbles: true }));
"""


@pytest.fixture
def crane(open_panel, tmp_path):
    panel = open_panel()
    scenario = tmp_path / "standing.scenario"
    scenario.write_text(STANDING)
    hx7 = panel.desk.start(BIN / "hx7", "simulate", "--scenario", scenario, "--http", "127.0.0.1:0", "--config", CONFIG, "--quiet")
    panel.open()
    wait_for(lambda: panel.find("#crane").is_displayed(), "the crane on the page")
    yield panel
    hx7.stop()


def state(panel):
    return json.loads(panel.desk.request("GET", "/api/host/state")[1])["crane"]


def test_the_crane_follows_its_state_and_the_hand(crane):
    wait_for(lambda: state(crane)["at_rest"] and abs(state(crane)["angle"] - 50) < 0.2, "the crane at rest", 40)
    assert crane.find("#host").is_displayed(), "the panel opens at the controls of the host"

    def is_drawn():
        now = state(crane)
        shown = [float(crane.find(css).get_attribute(name)) for css, name in
                 ((".crane-side .rope", "x1"), (".crane-side .rope", "y2"), (".crane-chart .point", "cx"))]
        heading = crane.find(".crane-top g:not([class])").get_attribute("transform")
        return (abs(shown[0] - now["radius"]) < 0.2 and abs(shown[1] + now["hook"]) < 0.2 and shown[2] > 20
                and abs(float(heading[7:-1]) - now["swing"]) < 0.5)

    wait_for(is_drawn, "the crane drawn as it stands")
    tip, hook = crane.driver.find_elements(By.CSS_SELECTOR, ".crane-side .handle")
    ActionChains(crane.driver).click_and_hold(tip).move_by_offset(-12, -12).release().perform()
    wait_for(lambda: state(crane)["angle"] > 52, "the boom to rise", 20)
    crane.find(".crane-top .handle").send_keys(Keys.ARROW_RIGHT)
    wait_for(lambda: state(crane)["swing"] > 1, "the crane to turn", 20)
    height = state(crane)["hook"]
    hook.send_keys(Keys.ARROW_UP)
    wait_for(lambda: state(crane)["hook"] > height + 0.3, "the hook to rise", 20)
    wait_for(is_drawn, "the crane drawn where it was driven", 20)
    assert crane.errors() == []


@pytest.mark.parametrize("width, height", [(390, 844), (900, 800), (1400, 900)])
def test_the_page_fits_and_names_what_a_hand_needs(crane, width, height):
    crane.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                 {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 700})
    try:
        for tab in ("host", "bus", "database", "services"):
            crane.find(f"#tab-{tab}").click()
            whole, seen = crane.driver.execute_script(WIDTHS)
            assert whole <= seen, tab
            controls = crane.driver.execute_script(CONTROLS)
            assert [each["id"] for each in controls if not (each["name"] or "").strip()] == []
            least = {True: 44, False: 16}
            assert [each for each in controls if min(each["width"], each["height"]) < least[each["key"]]] == []
            assert crane.driver.execute_script(UNNAMED_HEADERS) == 0
    finally:
        crane.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def test_the_shortest_tap_reaches_the_application(crane):
    beeps = crane.desk.beeps()
    crane.driver.execute_script(TAP)
    wait_for(lambda: crane.desk.beeps() > beeps, "the click of the key")
    crane.desk.wait_keys()
    pressed, *_, released = crane.driver.execute_script("return window.sent")
    assert released - pressed >= 140, "the scanner does not take a shorter press"
