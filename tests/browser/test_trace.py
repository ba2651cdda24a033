"""The bus trace on the front panel: in words, filtered, held with a count, and downloaded."""

import time
from urllib.parse import urlsplit

from desk import BIN, wait_for
from selenium.webdriver.support.ui import Select

ROWS = "return [...document.getElementById('bus-rows').rows].map((row) => [...row.cells].map((cell) => cell.textContent))"
# The longest time between two pictures of the page.
WATCH_PICTURES = """
  window.longest = 0;
  let last = performance.now();
  const look = () => {
    window.longest = Math.max(window.longest, performance.now() - last);
    last = performance.now();
    requestAnimationFrame(look);
  };
  requestAnimationFrame(look);
"""


class Trace:
    def __init__(self, panel):
        self.panel = panel
        panel.open()
        panel.find("#tab-bus").click()

    def rows(self):
        return self.panel.driver.execute_script(ROWS)

    def messages(self):
        return [row[3] for row in self.rows()]

    def show(self, kind="messages", text=""):
        Select(self.panel.find("#bus-kind")).select_by_value(kind)
        self.panel.find("#bus-text").clear()
        self.panel.find("#bus-text").send_keys(text)


def sent(desk, words):
    """What hx7 watch says of a message that this call sends."""
    watch = desk.start(BIN / "hx7", "watch", "--seconds", "60")
    wait_for(lambda: desk.counters("j1939")["stations"] == 2, "hx7 watch on the bus beside this test")
    desk.succeed(BIN / "hx7", "send", words)
    line = wait_for(lambda: next((line for line in watch.out if words.split("=")[1] in line), None), "the message in hx7 watch", 20)
    watch.stop()
    return line


def test_the_trace_says_filters_holds_and_downloads(open_panel, tmp_path):
    panel = open_panel()
    desk = panel.desk
    bus = desk.go_to("Main")
    trace = Trace(panel)
    line = sent(desk, "line1-left=HELLO")
    _, sender, command, words = line.split(maxsplit=3)
    said = wait_for(lambda: next((row for row in trace.rows() if "HELLO" in row[3]), None), "the message in the trace")
    assert said[1].lower() == sender and said[2] == "18FF00D0"
    assert said[3].split(maxsplit=1) == [command, words]

    trace.show(text="line1 hello")
    wait_for(lambda: len(trace.rows()) == 1, "the message alone")
    trace.show("frames", "18ff00d0")
    wait_for(lambda: len(trace.rows()) > 1 and all(row[2] == "18FF00D0" for row in trace.rows()), "all frames of the host")
    bus.key_state()
    trace.show("display")
    wait_for(lambda: trace.rows() and {row[1] for row in trace.rows()} <= {"Display"}, "the display's messages")

    trace.show(text="units")
    bus.send_message([7, 11, 1])
    wait_for(lambda: trace.messages()[:1] == ["CMD7.11  units: metric"], "the units")
    panel.find("#bus-hold").click()
    for _ in range(3):
        bus.send_message([7, 11, 0])
    wait_for(lambda: "3 passed over" in panel.find("#bus-passed").text, "the count of what was passed over")
    assert trace.messages()[0] == "CMD7.11  units: metric"
    panel.find("#bus-hold").click()
    wait_for(lambda: trace.messages()[:4] == ["CMD7.11  units: imperial"] * 3 + ["CMD7.11  units: metric"], "the messages held back")
    assert panel.find("#bus-passed").text == ""

    link = panel.find("#bus a[download]").get_attribute("href")
    log = tmp_path / "bus.log"
    log.write_bytes(desk.request("GET", urlsplit(link).path)[1])
    watched = desk.run(BIN / "hx7", "watch", log)
    assert watched[0] == 0 and "HELLO" in watched[1] and "units: metric" in watched[1]
    assert panel.errors() == []


def test_two_thousand_frames_a_second_leave_the_page_quick(open_panel):
    panel = open_panel(orvik=False)
    desk = panel.desk
    trace = Trace(panel)
    trace.show("frames")
    panel.driver.execute_script(WATCH_PICTURES)
    station = desk.bus()
    station.be_deaf()
    begin, sent_frames, passed, start = desk.get("/api/bus/trace?most=0")["next"], 0, None, time.monotonic()
    while time.monotonic() - start < 4 or not (passed or time.monotonic() - start > 30):
        for number in range(400):
            station.send(0x123, bytes([number % 256]))
        sent_frames += 400
        time.sleep(max(0, start + sent_frames / 2000 - time.monotonic()))  # the pace of the bus
        passed = passed or next((row[3] for row in trace.rows() if "passed over" in row[3]), None)
    wait_for(lambda: desk.get("/api/bus/trace?most=0")["next"] == begin + sent_frames, "every frame in the trace")
    print(f"{sent_frames} frames, {passed}, longest picture {panel.driver.execute_script('return longest'):.0f} ms")
    assert passed and desk.get("/api/bus/trace")["missed"] == 0
    assert len(trace.rows()) <= 150
    assert panel.errors() == []
