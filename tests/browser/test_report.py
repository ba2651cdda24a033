"""hx7 report in a browser: the screen at the cursor is the display's, and no text of the log becomes markup."""

import base64
import json
import re
import shutil
import subprocess
import zlib

import pytest
from desk import BIN, CONFIG, DEMO_LOG, cmd5, cut, wait_for
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

HOSTILE = '</script><img src="http://127.0.0.1:9/x" onerror="hacked=1">'
CENTER_OF_LINE_1 = 17
SCREEN_TEXTS = """
  const found = document.getElementById('screen').shadowRoot.querySelectorAll('[id^=orvikTextWidget]');
  return Object.fromEntries([...found].map((element) => [element.id, element.textContent]));
"""


def stamped(seconds, frame):
    return f"({1700000000 + seconds:.6f}) can0 18FF00D0#{frame.hex().upper()}\n"


@pytest.fixture(scope="module")
def log(tmp_path_factory):
    """The demonstration log, with an overload, a two-block and a lost link, and a text of somebody who means harm."""
    path = tmp_path_factory.mktemp("report") / "<b>lift.log"
    hostile = [stamped(141.96 + i / 1000, frame) for i, frame in enumerate(cut(cmd5((CENTER_OF_LINE_1, HOSTILE))))]
    end = [stamped(143, frame) for frame in cut([8, 1])]
    path.write_text(DEMO_LOG.read_text() + "".join(hostile + end))
    return path


def index_of(report):
    packed = re.search(r'id="index">([^<]*)<', report.read_text()).group(1)
    return json.loads(zlib.decompress(base64.b64decode(packed)))


def test_a_film_that_crashes_is_told(log, tmp_path):
    shutil.copy(BIN / "hx7", tmp_path)
    film = tmp_path / "film"
    film.write_text(f'#!/bin/bash\nhead -n 5000 | {BIN}/film "$@"\nkill -SEGV $$\n')
    film.chmod(0o755)
    output = tmp_path / "report.html"
    done = subprocess.run([tmp_path / "hx7", "report", log, "-o", output, "--config", CONFIG], check=False)
    index = index_of(output)
    assert done.returncode == 1
    assert any("film was killed by signal 11 (Segmentation fault)" in note for note in index["notes"])
    assert 55000 < index["filmEnd"] < 75000 < index["end"]
    assert index["figures"]["twoBlocks"]["count"] == 1  # the log alone says so


@pytest.fixture(scope="module")
def film(log):
    """The film's records: what the application set, beside which the report's picture is held."""
    with log.open() as lines:
        done = subprocess.run([BIN / "film", "--config", CONFIG], stdin=lines, stdout=subprocess.PIPE, check=True)
    return [json.loads(line) for line in done.stdout.splitlines()]


def texts_at(film, time):
    texts = {}
    for record in film:
        if record["t"] <= time:
            texts |= record.get("widgets", {})
    return texts


def bare(text):
    """Without the padding of a field, which the screen's pages place in their own way."""
    return "".join(text.split())


class ReportPage:
    def __init__(self, driver, path):
        self.driver = driver
        driver.get_log("browser")  # drops the entries of the page before
        driver.get(path.as_uri())
        wait_for(lambda: driver.execute_script("return document.documentElement.dataset.ready"), "the report", 20)
        self.settle()

    def find(self, css):
        return self.driver.find_element(By.CSS_SELECTOR, css)

    def settle(self):
        """Waits until the picture is of the cursor's time, and returns that."""
        now = "return document.getElementById('plots').getAttribute('aria-valuenow')"
        shown = "return document.getElementById('screen').dataset.time"
        run = self.driver.execute_script
        return int(wait_for(lambda: run(now) is not None and run(now) == run(shown) and run(now), "the picture", 20))

    def click_at(self, seconds):
        """Moves the cursor by a click to the pixel of this time, and returns its time in milliseconds."""
        place = self.find("#plots")
        x = self.driver.execute_script("return pixelOf(arguments[0])", seconds * 1000) - place.rect["width"] / 2
        ActionChains(self.driver).move_to_element_with_offset(place, round(x), 0).click().perform()
        self.driver.execute_async_script("requestAnimationFrame(() => requestAnimationFrame(arguments[0]))")
        time = self.settle()
        assert abs(time - seconds * 1000) < 500
        return time

    def screen_texts(self):
        return self.driver.execute_script(SCREEN_TEXTS)


@pytest.fixture
def report(driver, log):
    output = log.with_name("report.html")
    subprocess.run([BIN / "hx7", "report", log, "-o", output, "--config", CONFIG], check=True)
    yield ReportPage(driver, output)
    driver.get("about:blank")


def test_the_screen_at_the_cursor_is_the_displays(report, film):
    figures = [element.text.split("\n") for element in report.driver.find_elements(By.CSS_SELECTOR, ".figure")]
    assert [figure[:2] for figure in figures[1:]] == [["1", "overload"], ["1", "two-block"], ["1", "lost link"],
                                                      ["0", "broken messages"]]
    assert figures[1][2] == "greatest 107.7 %"
    # Forward and back, in the same minute and another, on both sides of the page request.
    for seconds in (53, 55, 54, 110, 30, 1.1, 62):
        time = report.click_at(seconds)
        expected, shown = texts_at(film, time), report.screen_texts()
        common = expected.keys() & shown.keys()
        assert len(common) > (2 if seconds < 2 else 10)
        differing = {name: (shown[name], expected[name]) for name in common if bare(shown[name]) != bare(expected[name])}
        assert not differing, f"at {time} ms"
    assert report.find("#link").text == "Host link OK"
    report.click_at(124)
    assert report.find("#link").text == "Host link lost"
    assert "--" in report.screen_texts()["orvikTextWidgetLoad"]  # values that are not known show no old number


# The crane beside the values at the cursor, in meters and degrees: how it is drawn, and which parts are.
CRANE = """
  const part = (css) => document.querySelector(`#view ${css}`);
  const number = (css, name, at = 0) => Number((part(css).getAttribute(name).match(/-?[0-9.]+/g))[at]);
  return {
    drawn: ['boom', 'column', 'rope', 'plumb', 'counterweight', 'leg'].filter((name) => !part(`.crane-side .${name}`).closest('[display=none]')),
    angle: -number('.crane-side .boom', 'transform', 2), radius: number('.crane-side .plumb', 'x1'),
    swing: number('.crane-top g:not([class])', 'transform'), level: part('.crane-chart .point').dataset.level,
    words: part('#crane-words').textContent, time: Number(part('').dataset.time),
    values: Object.fromEntries([...document.querySelectorAll('#values div')].map(({ children }) => [children[0].textContent, parseFloat(children[1].textContent)])),
  };
"""


def test_the_crane_at_the_cursor_is_drawn_as_far_as_the_log_says(report):
    def crane_at(seconds):
        time = report.click_at(seconds)
        return wait_for(lambda: (now := report.driver.execute_script(CRANE))["time"] == time and now, "the crane at the cursor")

    on_load = ["boom", "column", "plumb", "counterweight", "leg"]  # the log has no height of the hook
    for seconds, drawn, words in [(53, on_load, ("load 14,000 lb of", "outrigger extended")),
                                  (110, on_load, ("swing -", "pick main boom")), (124, [], ("angle --", "load -- of --"))]:
        crane = crane_at(seconds)
        assert crane["drawn"] == drawn, crane
        assert [each for each in words if each not in crane["words"]] == [], crane["words"]
        if not drawn:
            continue
        values = crane["values"]
        assert abs(crane["angle"] - values["angle"]) < 0.1 and abs(crane["swing"] - values["swing"]) < 0.1
        assert abs(crane["radius"] * 3.28084 - values["radius"]) < 0.1
        assert crane["level"] == ("over" if seconds == 53 else "normal")
    hook = [crane_at(seconds) for seconds in range(60, 110, 2)]
    assert {"rope" in crane["drawn"] for crane in hook} == {True, False}, "the hook is at the head while two-block is lit"
    assert all(("rope" in crane["drawn"]) == ("two-block" in crane["words"]) for crane in hook)


def test_zoom_shows_each_sample(report):
    report.click_at(54)
    width = "return shown.to - shown.from"
    whole = report.driver.execute_script(width)
    for _ in range(4):
        report.find("#zoom-in").click()
    wait_for(lambda: report.driver.execute_script(width) < whole / 30, "the zoom")
    wait_for(lambda: report.driver.execute_script("return plots[0].scales.x.max === shown.to"), "the curves")
    points = report.driver.execute_script(
        "return plots[0].data.datasets[0].data.filter(({x}) => x >= shown.from && x <= shown.to)")
    steps = [after["x"] - before["x"] for before, after in zip(points, points[1:])]
    assert len(points) > 20 and max(steps) <= 150  # ten messages a second
    report.find("#zoom-all").click()
    wait_for(lambda: report.driver.execute_script(width) == whole, "the whole log")


def test_a_text_of_the_log_is_data(report):
    report.find("#find").send_keys("onerror", Keys.ENTER)
    row = "return document.querySelector('#rows tr.here')?.innerText ?? ''"  # in one step: the rows are made anew at times
    wait_for(lambda: "</script><img" in report.driver.execute_script(row), "the message")
    report.find("#plots").send_keys(Keys.ARROW_RIGHT * 5)  # the screen shows it half a second later at most
    wait_for(lambda: report.settle() >= 142400, "the cursor")
    assert "</script><img" in report.screen_texts()["orvikTextWidgetLine1Std"]
    assert report.find("#title").text == "<b>lift.log"
    run = report.driver.execute_script
    assert run("return [typeof hacked, document.images.length]") == ["undefined", 0]
    assert run("return performance.getEntriesByType('resource').map(({name}) => name)") == []
    assert [entry for entry in report.driver.get_log("browser") if entry["level"] == "SEVERE"] == []
