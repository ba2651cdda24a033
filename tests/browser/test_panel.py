"""The front panel in a browser, against a unit of real processes."""

import contextlib
import io
import os
import pathlib
import re
import signal
import time
from xml.etree import ElementTree

from desk import BIN, CONFIG, cmd2, cmd5, wait_for
from panel import Panel
from PIL import Image
from pictures import MEAN_TOLERANCE, TILE_TOLERANCE, compare, png_of
from selenium.webdriver.common.action_chains import ActionChains
from x_screen import WHOLE

# The screen in its own size, without the flashes that the PNG has not.
PLACE_SCREEN = """
  Object.assign(document.getElementById('screen').style,
                {position: 'fixed', left: 0, top: 0, width: '640px', height: '480px', zIndex: 9});
"""
# What each element says that is not hidden, in order.
SHOWN_TEXTS = """
  const texts = [...document.getElementById('screen').shadowRoot.querySelectorAll('text')];
  return texts.filter((text) => !text.closest('[display=none]')).map((text) => text.textContent);
"""


def test_what_the_host_sends_appears_without_a_reload(open_panel):
    panel = open_panel()
    bus = panel.desk.go_to("Main")
    panel.open()
    panel.desk.succeed(BIN / "hx7", "send", "load=23400", "line1-left=ПРИВЕТ")
    wait_for(lambda: panel.screen_text("orvikTextWidgetLoad") == "23,400", "the load on the screen")
    wait_for(lambda: panel.screen_text("orvikTextWidgetLine1Std") == "ПРИВЕТ", "the line on the screen")
    bus.send_message([7, 15, 6])  # to the working area page
    wait_for(lambda: panel.find("#page").text == "Wad", "the other page")
    assert panel.screen_text("orvikTextWidgetWadLoad") == "23,400"
    assert not panel.was_reloaded()
    assert panel.errors() == []


def shown_texts(svg):
    """What SHOWN_TEXTS returns of this document."""
    def walk(element):
        if element.get("display") == "none":
            return
        if element.tag.endswith("}text"):
            yield "".join(element.itertext())
        for child in element:
            yield from walk(child)

    return list(walk(ElementTree.fromstring(svg)))


def test_browser_window_and_png_show_the_same(open_panel, screen):
    panel = open_panel("--window", **screen.environment)
    desk, driver = panel.desk, panel.driver
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-reduced-motion", "value": "reduce"}]})
    screen.find_window(desk.unit)
    bus = desk.go_to("Main")
    panel.open()
    driver.execute_script(PLACE_SCREEN)

    def is_alike(state, banner, speak):
        speak()
        (drawn, png), (described, svg) = desk.request("GET", "/screen.png"), desk.request("GET", "/screen.svg")
        if (drawn, described) != (200, 200):  # the screen did not answer in time
            return False
        browser = png_of(Image.open(io.BytesIO(panel.find("#screen").screenshot_as_png)))
        mean, tile, _ = compare(png, browser)
        texts = driver.execute_script(SHOWN_TEXTS)
        print(f"state {state}: mean {mean:.2f}, worst tile {tile:.0f}, texts {texts}")
        # Browser and librsvg draw the edges of glyphs differently.
        return (desk.screen.document()["variables"]["Screen.DataState"] == state and banner in texts and texts == shown_texts(svg)
                and mean <= 2 * MEAN_TOLERANCE and tile <= TILE_TOLERANCE)

    def overload():
        bus.send_message(cmd2(load=17600, percent=1.12, led=0x00110002))
        bus.send_message(cmd5((1, "OUTRIGGERS"), (2, "ОПОРЫ"), (7, "主臂")))

    for state, banner, speak in [(1, "112 %", overload), (2, "NO DATA FROM LOAD COMPUTER", lambda: None)]:
        wait_for(lambda: is_alike(state, banner, speak), f"browser and PNG alike in state {state}", 20)
        screen.wait_picture(desk, WHOLE)
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})


def test_keys_are_held_by_mouse_and_keyboard(open_panel):
    panel = open_panel(orvik=False)
    panel.open()
    ActionChains(panel.driver).click_and_hold(panel.find("#key-3")).perform()
    panel.desk.wait_keys(3)
    ActionChains(panel.driver).key_down("7").key_down("2").perform()
    panel.desk.wait_keys(2, 3, 7)
    assert panel.find("#key-7").get_attribute("aria-pressed") == "true"
    ActionChains(panel.driver).release().key_up("7").perform()
    panel.desk.wait_keys(2)
    panel.driver.execute_script("window.dispatchEvent(new Event('blur'))")
    panel.desk.wait_keys()


def processes_of(process):
    """A process's descendants, its children first."""
    children = [int(child) for task in pathlib.Path(f"/proc/{process}/task").iterdir()
                for child in (task / "children").read_text().split()]
    return children + [each for child in children for each in processes_of(child)]


def test_a_key_held_in_a_browser_that_is_killed_goes_up(open_panel, another_driver):
    desk = open_panel(orvik=False).desk
    panel = Panel(another_driver, desk)
    panel.open()
    ActionChains(another_driver).click_and_hold(panel.find("#key-3")).perform()
    desk.wait_keys(3)
    held = time.monotonic()
    while time.monotonic() - held < 2.5:  # longer than a lease
        desk.wait_keys(3)
    for process in processes_of(another_driver.service.process.pid):
        with contextlib.suppress(ProcessLookupError):
            os.kill(process, signal.SIGKILL)
    wait_for(lambda: not any(desk.get("/api/board")["keys"]), "the key to go up", 2)


def test_digits_typed_into_the_filter_press_no_key(open_panel):
    panel = open_panel(orvik=False)
    panel.open()
    panel.find("#tab-database").click()
    panel.find("#filter").send_keys("Version.Os.1")
    wait_for(lambda: re.match(r"1 of \d+", panel.find("#filter-count").text), "the filtered list")
    assert not any(panel.desk.get("/api/board")["keys"])
    assert panel.desk.run(BIN / "unit", "db", "set", "Version.Os.1", "9.5")[0] == 0
    wait_for(lambda: "9.5" in panel.find("#database-rows").text, "the new value")


def test_reconnects_by_itself_after_the_unit_was_restarted(open_panel):
    panel = open_panel(orvik=False)
    panel.open()
    port = panel.desk.address("http").rsplit(":", 1)[1]
    panel.desk.unit.stop()
    wait_for(lambda: panel.find("#veil").is_displayed(), "the screen to be covered", 10)
    panel.desk.start(BIN / "unit", "run", "--no-orvik", "--no-host", "--config", CONFIG, "--socketcand", "127.0.0.1:0",
                     "--http", f"127.0.0.1:{port}")
    panel.wait_live()
    ActionChains(panel.driver).key_down("1").perform()
    panel.desk.wait_keys(1)
    ActionChains(panel.driver).key_up("1").perform()
    panel.desk.wait_keys()
    assert not panel.was_reloaded()


def test_a_screen_that_hangs_or_ends_is_covered(open_panel):
    panel = open_panel(apart=True)
    panel.open()
    screen = panel.desk.parts["screen"]
    for stop, back in ((lambda: screen.child.send_signal(signal.SIGSTOP), lambda: screen.child.send_signal(signal.SIGCONT)),
                       (lambda: screen.stop(signal.SIGKILL), lambda: panel.desk.start_part("screen"))):
        stop()
        wait_for(lambda: panel.find("#veil").is_displayed(), "the picture to be covered", 5)
        assert panel.find("#link").text == "Host link unknown"
        back()
        panel.wait_live()
    assert not panel.was_reloaded()


# Keeps the gain nodes of the page.
LISTEN = """
  window.gains = [];
  window.GainNode = class extends GainNode { constructor(...given) { super(...given); window.gains.push(this); } };
"""


def test_beeper_and_backlight_are_seen_and_heard(open_panel):
    panel = open_panel(program="orvik_bound")
    bus = panel.desk.go_to("Main")
    script = panel.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": LISTEN})
    panel.open()
    wait_for(lambda: panel.find("#backlight").text == "Backlight 100 %", "full light")
    panel.desk.press(8)
    wait_for(lambda: panel.find("#backlight").text == "Backlight 95 %", "less light")
    light = panel.driver.execute_script("return document.getElementById('screen').style.filter")
    assert 0.9 < float(re.fullmatch(r"brightness\((.*)\)", light)[1]) < 1, light
    panel.find("#sound").click()
    for duration, sign, loud in [(255, "Sounding", True), (0, "Silent", False)]:
        bus.send_message([4, duration])
        wait_for(lambda: panel.find("#beeper").text == sign, sign)
        wait_for(lambda: panel.driver.execute_script(
            "return gains[0].context.state === 'running' && (gains[0].gain.value > 0) === arguments[0]", loud), sign)
    panel.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", script)
    assert panel.errors() == []


# What the host's tab says, and the heads of the other tabs.
WORDS = """
  const named = [...document.querySelectorAll('#host, .side [aria-label]')].map((element) => element.ariaLabel);
  const heads = [...document.querySelectorAll('.tabs, #host, th, #bus button')].map((element) => element.textContent);
  return [...named, ...heads].join(' ');
"""


def test_the_host_tab_drives_the_crane(open_panel):
    panel = open_panel()
    desk = panel.desk
    panel.open()
    panel.find("#tab-host").click()
    wait_for(lambda: "No host simulator answers" in panel.find("#host-problem").text, "what is missing")
    host = desk.start(BIN / "hx7", "simulate", "--config", CONFIG, "--http", "127.0.0.1:0", "--speed", "10")
    angle = wait_for(lambda: panel.driver.execute_script(
        "const slider = document.getElementById('axis-angle'); return slider.disabled ? null : slider"), "the sliders")
    assert not panel.find("#host-problem").is_displayed()
    panel.driver.execute_script("arguments[0].value = 40; arguments[0].dispatchEvent(new Event('change'))", angle)
    wait_for(lambda: abs(desk.get("/api/host/state")["crane"]["angle"] - 40) < 0.5, "the boom at 40 degrees", 20)
    wait_for(lambda: abs(float(desk.widget("orvikTextWidgetAngle") or 0) - 40) < 1, "the angle on the screen")
    wait_for(lambda: f"{round(desk.get('/api/host/state')['crane']['length'] * 3.28084, 1):g} ft" in panel.find("#axes").text,
             "the boom's length, not the extension that the display shows")
    panel.find("[data-fault=angle-sensor]").click()
    wait_for(lambda: panel.find("[data-fault=angle-sensor]").get_attribute("aria-pressed") == "true", "the fault")
    panel.find("#action").send_keys("language russian\n")
    wait_for(lambda: desk.value("OrvikLanguage") == 4, "Russian")
    wait_for(lambda: "Угол стрелы" in panel.find("#axes").text and "Русский" in panel.find("#host-rows").text, "its words")
    assert re.findall("[A-Za-z]{3,}", panel.driver.execute_script(WORDS)) == []
    panel.find("#action").send_keys("bom angle 20\n")
    wait_for(lambda: "bom" in panel.find("#host-problem").text, "what was wrong")
    assert not any(panel.desk.get("/api/board")["keys"])
    host.stop()
    wait_for(lambda: "Симулятор хоста не отвечает" in panel.find("#host-problem").text, "the host's end")
    assert [entry for entry in panel.errors() if entry["source"] == "javascript"] == []
