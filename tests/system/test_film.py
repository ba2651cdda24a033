"""The film of a log shows what the display showed: the real unit on a moving crane, beside the film of its log."""

import json
import subprocess

import pytest

from desk import BIN, CONFIG, Desk, wait_for

# The picture of the beeper blinks while an alarm sounds.
BLINKING = "OrvikBeepImage"


def make_film(log, *options):
    done = subprocess.run([BIN / "film", "--config", CONFIG, *options], input=log, capture_output=True, check=True,
                          timeout=120)
    return [json.loads(line) for line in done.stdout.decode().splitlines()]


def last_of(records):
    """What stands on the screen at the end of the film."""
    shown = {"page": None, "widgets": {}, "variables": {}, "sound": False}
    for record in records:
        for name, value in record.items():
            if isinstance(value, dict):
                shown[name].update(value)
            elif name in shown:
                shown[name] = value
    return shown


def known(variables):
    return {name: value for name, value in variables.items() if value is not None and name != BLINKING}


def ends_alike(log, desk):
    """The end of the log's film, once log and screen count the same host commands."""
    end = last_of(make_film(log.read_bytes()))
    return end["variables"].get("OrvikTotalHX7Commands") == desk.value("OrvikTotalHX7Commands") and end


@pytest.mark.parametrize("scenario", ["overload", "language-tour"])
def test_the_film_of_a_log_ends_as_the_display(scenario, tmp_path):
    with_log = tmp_path / "bus.log"
    desk = Desk("--record", with_log)
    try:
        desk.succeed(BIN / "hx7", "simulate", "--scenario", scenario, "--ignore-expectations", "--seconds-of-crane", "58", "--speed", "8", "--quiet",
                     seconds=60)
        end = wait_for(lambda: ends_alike(with_log, desk), "the log's last frame on the screen", 20, 0.5)
        shown = desk.screen.document()
    finally:
        desk.close()
    assert end["page"] == shown["page"]
    assert known(end["variables"]) == known(shown["variables"])
    assert end["widgets"] == {name: text for name, text in shown["widgets"].items() if text or name in end["widgets"]}
    assert make_film(with_log.read_bytes()) == make_film(with_log.read_bytes())
