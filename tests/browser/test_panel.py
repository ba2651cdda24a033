"""The front panel in a browser, against a unit of real processes."""

import re

from desk import BIN, CONFIG, wait_for
from selenium.webdriver.common.action_chains import ActionChains

# Draws both pictures into canvases; returns the mean difference of a colour component and the greatest of a 16 x 16 tile.
COMPARE = """
  const done = arguments[arguments.length - 1];
  const load = (path) => new Promise((resolve, reject) => {
    const image = new Image();
    image.onload = () => resolve(image);
    image.onerror = () => reject(path);
    image.src = path;
  });
  const pixels = (image) => {
    const canvas = document.createElement('canvas');
    canvas.width = 640; canvas.height = 480;
    const context = canvas.getContext('2d');
    context.drawImage(image, 0, 0, 640, 480);
    return context.getImageData(0, 0, 640, 480).data;
  };
  Promise.all([load('/screen.png'), load('/screen.svg')]).then(([png, svg]) => {
    const [a, b] = [pixels(png), pixels(svg)];
    const tiles = new Array(40 * 30).fill(0);
    let sum = 0;
    for (let i = 0; i < a.length; i += 4) {
      const difference = (Math.abs(a[i] - b[i]) + Math.abs(a[i + 1] - b[i + 1]) + Math.abs(a[i + 2] - b[i + 2])) / 3;
      const x = (i / 4) % 640, y = Math.floor(i / 4 / 640);
      tiles[Math.floor(y / 16) * 40 + Math.floor(x / 16)] += difference / 256;
      sum += difference;
    }
    done([sum / (640 * 480), Math.max(...tiles)]);
  }, (path) => done(String(path)));
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


def test_the_browser_draws_what_the_unit_draws(open_panel):
    panel = open_panel()
    panel.desk.go_to("Main")
    panel.desk.succeed(BIN / "hx7", "send", "load=8800", "line1-left=OUTRIGGERS", "line2-left=ОПОРЫ", "line3-right=主臂")
    panel.open()
    wait_for(lambda: panel.screen_text("orvikTextWidgetLoad") == "8,800", "the load on the screen")
    result = panel.driver.execute_async_script(COMPARE)
    assert isinstance(result, list), f"{result} is no picture"
    mean, worst = result
    # Edges of glyphs and lines differ a little; a glyph in another place differs by far more.
    assert mean < 4 and worst < 60, (mean, worst)


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
