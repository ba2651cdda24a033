"""The last ten minutes on the front panel: the cursor goes back to what was shown then, and the live screen stays live."""

import json
import re
import threading
import time

import pytest

from desk import ADDRESSES, BIN, cmd2, wait_for
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

PAST_TEXT = "return document.getElementById('history-screen').shadowRoot.getElementById(arguments[0])?.textContent"
# The pixel of a time, in the plots.
PIXEL = "return pixelOf(arguments[0] - log.begin)"
VALUES = """
  const rows = [...document.querySelectorAll('#history-values div')];
  return Object.fromEntries(rows.map((row) => [...row.children].map((each) => each.textContent)));
"""
CURSOR = "return log.begin + shown.cursor"
SAID_IS_OF_CURSOR = "return Number(document.getElementById('history-said').dataset.time) === shown.cursor"
SAID = "return [...document.getElementById('history-said').rows].map((row) => row.textContent + (row.ariaCurrent ? ' <' : ''))"


class History:
    def __init__(self, panel):
        self.panel, self.run = panel, panel.driver.execute_script

    def open(self):
        self.panel.find("#history-toggle").click()
        self.wait_ready()

    def wait_ready(self):
        wait_for(lambda: self.panel.find("#history-body").get_attribute("data-ready"), "the history", 20)

    def go_to(self, moment):
        """Moves the cursor by a click to this time of the clock, in milliseconds since 1970."""
        plots = self.panel.find("#history-plots")
        x = self.run(PIXEL, moment) - plots.rect["width"] / 2
        ActionChains(self.panel.driver).move_to_element_with_offset(plots, round(x), -20).click().perform()
        wait_for(lambda: self.panel.find("#history-moment").is_displayed(), "the past")

    def wait_picture(self):
        time_of = "return [shown.cursor, Number(document.getElementById('history-screen').dataset.time)]"
        wait_for(lambda: len(set(self.run(time_of))) == 1, "the picture of the cursor's moment")

    def text(self, element_id):
        self.wait_picture()
        return (self.run(PAST_TEXT, element_id) or "").strip()

    def loads(self):
        """The loads in the messages up to the cursor, of which the last one is marked."""
        wait_for(lambda: self.run(SAID_IS_OF_CURSOR), "the messages up to the cursor")
        said = self.run(SAID)
        assert len(said) == 12 and [line.endswith("<") for line in said] == [False] * 11 + [True]
        return re.findall(r"operating-values: .*?, load (\d+),", "\n".join(said))

    def wait_value(self, name, wanted):
        wait_for(lambda: self.run(VALUES).get(name) == wanted, f"{name} of {wanted}")


def now():
    return time.time() * 1000


class Host(threading.Thread):
    """Sends its values ten times a second until the test ends: after ten seconds without them the link would be lost."""

    def __init__(self, desk, bus):
        super().__init__(daemon=True)
        self.desk, self.bus, self.values, self.done, self.sending = desk, bus, {}, threading.Event(), threading.Lock()

    def run(self):
        while not self.done.wait(0.1):
            self.send(cmd2(**self.values))

    def send(self, message):
        with self.sending:
            self.bus.send_message(message)

    def show(self, widget, seconds, **values):
        """Returns when these values stood on the screen, after they have stood there for so long."""
        self.values = values
        wait_for(lambda: self.desk.widget(widget) == f" {values['load']:,}", f"the values {values}")
        since = now()
        wait_for(lambda: now() > since + seconds * 1000, "the curves to have them")
        return since


@pytest.fixture
def lift(open_panel):
    """A light load on the operating page, then a heavy one, then another page; and when each of them stood there."""
    panel = open_panel()
    host = Host(panel.desk, panel.desk.go_to("Main"))
    host.values = {"load": 0}
    host.start()
    light = host.show("orvikTextWidgetLoad", 3, load=12300, percent=0.5)
    heavy = host.show("orvikTextWidgetLoad", 3, load=45600, percent=1.1, led=2)
    host.send([7, 15, 6])
    wait_for(lambda: panel.desk.screen.document()["page"] == "Wad", "the other page")
    panel.open()
    yield panel, host, light, heavy
    host.done.set()
    host.join()


def test_the_cursor_goes_back_to_what_was_shown(lift):
    panel, host, light, heavy = lift
    history = History(panel)
    history.open()
    assert not panel.find("#history-moment").is_displayed(), "at the present the unit itself is shown"
    history.go_to(light + 1500)
    assert history.text("orvikTextWidgetLoad") == "12,300"
    history.wait_value("load", "12,300 lbs")
    assert set(history.loads()) == {"12300"}
    assert panel.find("#history-page").text == "Page Main"
    assert panel.find("#history-was").text.startswith("As it was at ")
    history.go_to(heavy + 1500)
    assert history.text("orvikTextWidgetLoad") == "45,600"
    history.wait_value("percent", "110.0 %")
    assert set(history.loads()) == {"45600"}
    # The live screen goes on beside it.
    host.values = {"load": 20000, "percent": 0.6}
    wait_for(lambda: panel.screen_text("orvikTextWidgetWadLoad") == "20,000", "the load on the live screen")
    assert panel.find("#page").text == "Wad"
    assert history.text("orvikTextWidgetLoad") == "45,600"
    before = history.run(CURSOR)
    panel.find("#history-plots").send_keys(Keys.ARROW_LEFT * 3)
    wait_for(lambda: abs(history.run(CURSOR) - (before - 300)) < 20, "the cursor three steps back")
    panel.find("#history-back").click()
    wait_for(lambda: not panel.find("#history-moment").is_displayed(), "the way back to the present")
    fresh = host.show("orvikTextWidgetWadLoad", 3, load=20000, percent=0.6)
    history.go_to(fresh + 1000)  # of the minute that the page has a part of already
    assert history.text("orvikTextWidgetWadLoad") == "20,000"
    history.go_to(light + 1500)
    assert history.text("orvikTextWidgetLoad") == "12,300"
    history.go_to(history.run("return log.begin + log.start") + 50)
    wait_for(lambda: panel.find("#history-said-note").text.startswith("The bus’s trace begins at "), "no messages before the first frame")
    bands = json.loads(panel.desk.request("GET", "/api/history")[1])["bands"]
    assert [label for *_, label in bands["page"]][-2:] == ["Main", "Wad"]
    assert len(bands["overload"]) == 1
    assert panel.errors() == []


WIDTHS = "return [document.documentElement.scrollWidth, document.documentElement.clientWidth]"


def test_a_replay_opens_at_the_end_of_the_bundles_history(lift, tmp_path):
    panel, host, light, _ = lift
    desk, run = panel.desk, panel.driver.execute_cdp_cmd
    path = tmp_path / "report.tar.gz"
    desk.succeed(BIN / "unit", "bundle", path)
    host.done.set()
    host.join()
    desk.orvik.stop()
    desk.unit.stop()
    replay = desk.start(BIN / "unit", "replay", path, *ADDRESSES)
    address = replay.wait_line("the last ten minutes before the bundle was made: ", seconds=20)[0].split()[-1]
    panel.driver.get(address)
    history = History(panel)
    history.wait_ready()
    wait_for(lambda: history.text("orvikTextWidgetWadLoad") == "45,600", "the last picture before the bundle")
    history.go_to(light + 1500)
    assert history.text("orvikTextWidgetLoad") == "12,300"
    assert set(history.loads()) == {"12300"}
    for width in (390, 900, 1400):
        run("Emulation.setDeviceMetricsOverride", {"width": width, "height": 844, "deviceScaleFactor": 1, "mobile": width < 700})
        whole, seen = panel.driver.execute_script(WIDTHS)
        run("Emulation.clearDeviceMetricsOverride", {})
        assert whole <= seen, width
    replay.stop()
