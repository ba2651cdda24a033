"""Commands of keys that need the whole desk: parameters, events, the screen, the end. Golden transcripts have the others."""

import re
from xml.etree import ElementTree

import pytest

from desk import BIN, CONFIG, wait_for

FIRST_KEY = 100  # of the test's bindings: this key and n more runs command n
DESK = {"program": "orvik_bound"}


@pytest.fixture
def bound(make_desk):
    desk = make_desk(**DESK)
    bus = desk.go_to("Main")
    desk.watch = desk.start(BIN / "unit", "events", "--config", CONFIG, "watch")
    desk.watch.wait_line("watching", desk.watch.err)
    set_value(desk, "OrvikExternalKeysEnabled", 1)
    return desk, bus


def set_value(desk, name, value):
    desk.succeed(BIN / "unit", "db", "set", name, str(value))


def run_command(desk, number):
    """Presses and releases the key that carries the command; returns when its click was heard."""
    # A click during another sound makes no pulse of its own.
    wait_for(lambda: not desk.get("/api/board")["beeper"]["sounding"], "silence")
    beeps = desk.beeps()
    set_value(desk, "OrvikExternalSystemKeyCode", FIRST_KEY + number)
    wait_for(lambda: desk.beeps() > beeps, f"the click of command {number}")
    set_value(desk, "OrvikExternalSystemKeyCode", 0)


def test_the_counters_are_printed(bound):
    desk, _ = bound
    run_command(desk, 5)
    for line in ("CMD0    - Initialize LCD ( UNUSED)  : 0", "CMD2    - Set LCD and LED segments : 0", "TOTAL PKTS : "):
        desk.orvik.wait_line(line)


def test_the_termination_is_toggled_in_the_database(bound):
    desk, _ = bound
    for event, line, value in [("orvik.SetResistorA", "Read: 0, Wrote: 1, Read: 1", 1),
                               ("orvik.ClearResistorA", "Read: 1, Wrote: 0, Read: 0", 0)]:
        run_command(desk, 10)
        desk.orvik.wait_line("Orvik: CAN termination " + line)
        desk.watch.wait_line("event  " + event)
        assert desk.value("PlugA.Resistor") == value
    set_value(desk, "PlugA.Resistor", "-")
    run_command(desk, 10)
    desk.orvik.wait_line("Orvik: ERROR!  Unable to read PlugA.Resistor from database", desk.orvik.err)


def test_pages_behind_enabled_keys(bound):
    desk, _ = bound
    set_value(desk, "OrvikLindarKeysEnabled", 0)
    run_command(desk, 21)
    assert desk.value("OrvikExternalKeysEnabled") == 1, "nothing was posted"
    set_value(desk, "OrvikLindarKeysEnabled", 1)
    for command, event in [(21, "orvik.MainToEngine"), (22, "orvik.MainToVideo")]:
        set_value(desk, "OrvikExternalKeysEnabled", 1)
        run_command(desk, command)
        desk.watch.wait_line("event  " + event)
        wait_for(lambda: desk.value("OrvikExternalKeysEnabled") == 0, "the external keys off")
    set_value(desk, "OrvikExternalKeysEnabled", 1)
    run_command(desk, 24)
    desk.watch.wait_line("event  orvik.MainToGauges")
    run_command(desk, 19)
    wait_for(lambda: desk.value("OrvikExternalKeysEnabled") == 0, "the external keys off")
    assert [line for line in desk.watch.out if "MainTo" in line] == [
        "event  orvik.MainToEngine", "event  orvik.MainToVideo", "event  orvik.MainToGauges"]


def place_of(desk, widget):
    """Where the screen's document draws the text of a widget; its left end is that of its box."""
    svg = ElementTree.fromstring(desk.request("GET", "/screen.svg")[1])
    text = next(element for element in svg.iter() if element.get("id") == widget)
    moved = re.match(r"translate\((\S+) (\S+)\)", text.get("transform", "translate(0 0)"))
    return float(text.get("data-box").split()[0]) + float(moved[1]), float(text.get("y")) + float(moved[2])


def test_the_screen_tests_write_and_move_widgets(bound):
    desk, _ = bound
    assert place_of(desk, "orvikTextWidgetLine1Std") == (88, 286)
    for text in ("THE QUICK BROWN FOX JUMPS OVER THE LAZY ", "1234567890123456789012345678901234567890"):
        run_command(desk, 20)
        # The dispatcher does not overwrite this widget.
        wait_for(lambda: desk.widget("orvikTextWidgetFlashMsgStd") == text, text)
    run_command(desk, 30)
    desk.orvik.wait_line("Orvik: Move Text Widget Test")
    # The test moves it along y 76, to x 439 at last.
    wait_for(lambda: place_of(desk, "orvikTextWidgetLine1Std") == (439, 76), "the line in its last place", 15)


def test_the_exit_command_ends_the_application(bound):
    desk, _ = bound
    set_value(desk, "OrvikExternalSystemKeyCode", FIRST_KEY + 16)  # the application may end before its click
    desk.orvik.wait_line("Orvik: raising SIGUSR1")
    assert desk.orvik.wait_exit() == 0
    assert "Orvik: Main timed out!" not in desk.orvik.out
