"""The local commands that a key binding may carry, run by the keys of an external pad on real processes."""

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


# Command, stream, lines in their order.
LINES = [
    (5, "out", ["CMD0    - Initialize LCD ( UNUSED)  : 0", "CMD2    - Set LCD and LED segments : 0", "TOTAL PKTS : "]),
    (11, "out", ["Orvik: Datalogger Start"]),
    (12, "out", ["Orvik: Datalogger Stop"]),
    (13, "out", ["Orvik: Datalogger Output"]),
    (14, "out", ["Orvik: Datalogger Clear"]),
    (15, "out", ["Orvik: Dump Valid Keys", "Key None : BEEP ONCE", "Boom Mode : BEEP ONCE", "Man Basket : BEEP ONCE"]),
    (17, "out", ["Orvik: Swap transducers"]),
    *((number, "err", ["ERROR!  Undefined command"]) for number in (18, 23, 25, 29, 51)),
    (37, "out", ["calling StartBlinker"]),
    (50, "out", ["Swing: Pivot( 399 , 108 ) ", "       Offset( 11 , 0 ) ", "Boom:  Pivot( 127 , 128 ) ",
                 "       Offset( 11 , 0 ) "]),
    (38, "out", ["Pivot( 400 , 108 ) ", "  Offset( 11 , 0 ) "]),
    (39, "out", ["Pivot( 399 , 108 ) ", "  Offset( 11 , 0 ) "]),
    (40, "out", ["Pivot( 399 , 109 ) "]),
    (41, "out", ["Pivot( 399 , 108 ) "]),
    (42, "out", ["  Offset( 12 , 0 ) "]),
    (43, "out", ["  Offset( 11 , 0 ) "]),
    (44, "out", ["Pivot( 128 , 128 ) "]),
    (45, "out", ["Pivot( 127 , 128 ) "]),
    (46, "out", ["Pivot( 127 , 129 ) "]),
    (47, "out", ["Pivot( 127 , 128 ) "]),
    (48, "out", ["  Offset( 12 , 0 ) "]),
    (49, "out", ["  Offset( 11 , 0 ) "]),
]


def test_commands_that_speak(bound):
    desk, _ = bound
    for command, stream, expected in LINES:
        lines = getattr(desk.orvik, stream)
        start = len(lines)
        run_command(desk, command)

        def spoken():
            rest = iter(lines[start:])
            return all(any(line.startswith(text) for line in rest) for text in expected)

        wait_for(spoken, f"command {command}: {expected}")


def test_commands_without_an_action_click_alone(bound):
    desk, bus = bound
    before = (list(desk.orvik.out), list(desk.watch.out), desk.value("OrvikLanguage"))
    for command in (6, 7, 8, 9, 31, 32, 33, 34, 35, 36):
        run_command(desk, command)
    assert (desk.orvik.out, desk.watch.out[:len(before[1])]) == before[:2] and desk.value("OrvikLanguage") == before[2]
    assert desk.page_of_orvik(bus) == "Main"


def test_language_and_units_go_round(bound):
    desk, _ = bound
    for language in (1, 2, 3, 4, 5, 0):
        run_command(desk, 3)
        wait_for(lambda: desk.value("OrvikLanguage") == language, f"language {language}")
    for units in ("kgs", "lbs"):
        run_command(desk, 4)
        wait_for(lambda: desk.widgets("UnitsWeight") == [units], units)


def test_frames_on_the_bus(bound):
    desk, bus = bound
    expected = {
        26: [(0x12345678, "03 05 19 77 11 04 19 81"), (0x08765432, "12 17 20 05 01 03 20 08"),
             (0x15555555, "12 34 56 78 9a bc de f0"), (0x0AAAAAAA, "0f ed cb a9 87 65 43 21"),
             (0x1A5A5A5A, "55 aa 33 cc 55 aa 33 cc")],
        27: [(0x00EF0020, "00 00 02 00 00 00 00 00")],
        28: [(0x00EF0011, "07 dd 02 08 02 0a 00 00")],
    }
    for command, frames in expected.items():
        run_command(desk, command)
        assert [(number, data.hex(" ")) for number, data in (bus.receive_any() for _ in frames)] == frames


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


def test_brightness_by_key(bound):
    desk, _ = bound

    def light():
        return desk.get("/api/board")["backlight"]

    wait_for(lambda: light()["duty"] == 100, "full light")
    steps = light()["commands"]
    desk.press(7)
    assert light()["commands"] == steps, "brighter than 100 is not even set"
    for duty in range(95, 0, -5):
        desk.press(8)
        wait_for(lambda: light()["duty"] == duty and desk.value("OrvikBrightness") == duty, f"{duty} %")
    steps = light()["commands"]
    desk.press(8)
    wait_for(lambda: light()["commands"] > steps, "the least light set again")
    assert light()["duty"] == 5
    desk.press(7)
    wait_for(lambda: light()["duty"] == 10, "10 %")
