"""Key moments of scenarios, as pictures and as screen states.

ORVIK_WRITE_GOLDEN=1 writes the golden files anew (tools/rewrite-golden does it). What differs is shown in a report,
golden-report/index.html in the build folder.
"""

import contextlib
import json
import os
import pathlib
import threading

import pytest

from desk import BIN, CONFIG, wait_for, wait_steady
from pictures import MEAN_TOLERANCE, TILE_TOLERANCE, Report, compare, differences, png_of, state_of

FILES = pathlib.Path(__file__).resolve().parents[1] / "golden"
WRITE = bool(os.environ.get("ORVIK_WRITE_GOLDEN"))
SEED = "7"

# Name: scenario, seconds of crane time, event after it.
MOMENTS = {
    "lift-under-way": ("normal-lift", 80, None),
    "lift-on-the-dials": ("normal-lift", 90, "dials"),
    "link-lost": ("normal-lift", 50, "silence"),
    "pre-alarm": ("overload", 40, None),
    "overload": ("overload", 45, None),
    "two-block": ("two-block", 62, None),
    "information-chinese-metric": ("language-tour", 59, None),
    "operating-russian": ("language-tour", 66, None),
    "menu-of-limits": ("every-key", 60, None),
    "configuration": ("every-key", 116.5, None),
    "active-faults": ("normal-lift", 80, "faults"),
}
# Fast enough to wait for, slow enough that pages change within the scenario's pauses.
SPEED = "20"


@contextlib.contextmanager
def faulty_engine(desk):
    """An engine and a transmission that report faults, while the load computer's link stays up."""
    bus, ended = desk.bus(), threading.Event()

    def report():
        while not ended.wait(0.5):  # between two messages
            bus.pass_over()
            bus.send_message([8, 1])
            bus.send(0x18FECA00, [0x14, 0xFF, 110, 0, 0, 3, 0xFF, 0xFF])
            bus.send(0x18FECA03, [0x04, 0xFF, 177, 0, 0x10, 1, 0xFF, 0xFF])

    sender = threading.Thread(target=report)
    sender.start()
    try:
        yield
    finally:
        ended.set()
        sender.join()
        bus.close()


@contextlib.contextmanager
def after(desk, event):
    """The desk after the event."""
    with faulty_engine(desk) if event == "faults" else contextlib.nullcontext():
        if event == "dials":
            desk.press(6)
        elif event == "silence":
            wait_for(lambda: desk.screen.document()["variables"]["Screen.DataState"] == 2, "the lost link on the screen", 20)
        elif event == "faults":
            wait_for(lambda: desk.screen.document()["variables"]["Faults.Number"] == 2, "the faults")
            desk.post("orvik.MainToDM1")
        yield


@pytest.fixture(scope="session")
def report():
    return Report(BIN.parent / "golden-report")


def settled(desk, wanted):
    """The screen's state once it is the wanted one, or has not changed for a second."""
    def look():
        screen = desk.screen.document()
        return state_of(screen, desk.request("GET", "/screen.svg")[1].decode())

    return wait_steady(look, "the screen", 1, wanted=wanted)


def take_picture(desk, golden):
    """The picture with its differences from the golden one, once it is alike or has not become so for three seconds: the
    beeper's sign, which is no part of the state, follows when the present pulse has ended."""
    taken = []

    def is_alike():
        picture = desk.screen.picture()
        taken[:] = picture, *compare(golden, picture)
        return taken[1] <= MEAN_TOLERANCE and taken[2] <= TILE_TOLERANCE

    try:
        wait_for(is_alike, "the golden picture", 3, 0.2)
    except AssertionError:
        pass  # the caller reports the last picture
    return taken


def check(desk, report, moment):
    state_file, picture_file = FILES / f"{moment}.json", FILES / f"{moment}.png"
    wanted = json.loads(state_file.read_text()) if state_file.exists() else None
    state = settled(desk, None if WRITE else wanted)
    if WRITE:
        picture = desk.screen.picture()
        state_file.write_text(json.dumps(state, indent=1, ensure_ascii=False, sort_keys=True) + "\n")
        picture_file.write_bytes(picture)
        return
    assert wanted, f"no golden files of {moment}; tools/rewrite-golden makes them"
    golden = picture_file.read_bytes()
    picture, mean, worst, difference = take_picture(desk, golden)
    changes = differences(wanted, state)
    if changes or mean > MEAN_TOLERANCE or worst > TILE_TOLERANCE:
        report.add(moment, golden, picture, png_of(difference), changes)
        pytest.fail(f"{moment} differs: {changes}, picture by {mean:.2f} on the whole and {worst:.0f} in the worst place; "
                    f"see {report.file}, or run tools/rewrite-golden if it is meant to")


@pytest.mark.parametrize("moment", MOMENTS)
def test_the_screen_at(make_desk, report, moment):
    scenario, seconds, event = MOMENTS[moment]
    desk = make_desk(FONTCONFIG_FILE=str(FILES / "fonts.conf"))
    desk.go_to("Main").close()
    desk.succeed(BIN / "hx7", "simulate", "--config", CONFIG, "--scenario", scenario, "--seed", SEED, "--speed", SPEED,
                 "--ignore-expectations", "--seconds-of-crane", str(seconds), seconds=60)
    with after(desk, event):
        check(desk, report, moment)
