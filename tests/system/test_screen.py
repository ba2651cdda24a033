"""From a frame on the bus to the text on the screen."""

import pytest

from desk import BIN, cmd2, cmd5, wait_for

VALUES = ["Load", "Capacity", "Radius", "Angle", "Extension", "Swing"]
WAD_VALUES = ["Wad" + name for name in VALUES]
LINES = [f"Line{n}Std" for n in range(1, 5)]
WIDE = [f"Line{n}Wide" for n in range(1, 5)]

CASES = [
    (cmd2(), [" 12,300", " 14,400", " 35.4", " 62.1", " 82.0", "    0"]),
    (cmd2(load=12350, capacity=12399, swing=-24), [" 12,400", " 12,300", " 35.4", " 62.1", " 82.0", "  -24"]),
    (cmd2(load=12349, capacity=999999, angle=-20.0, radius=99.96, swing=360),
     [" 12,300", "999,900", "100.0", "-19.9", " 82.0", "    0"]),
    (cmd2(load=1000000, capacity=-1, angle=-20.2, radius=1000, extension=-3, swing=400),
     ["-------", "      0", "-----", "-----", "  0.0", "-----"]),
    (cmd2(load=float("nan"), radius=float("inf"), angle=99.94), ["-------", " 14,400", "-----", " 99.9", " 82.0", "    0"]),
]


def test_values_stand_on_main_dials_and_wad_alike(desk):
    bus = desk.go_to("Main")
    for page in ("Main", "Dials"):
        desk.move_to(page, bus)
        for message, shown in CASES:
            bus.send_message(message)
            wait_for(lambda: desk.widgets(*VALUES) == shown, f"{shown} on {page}, not {desk.widgets(*VALUES)}")
            assert desk.widgets(*WAD_VALUES) == shown


def test_lamps_and_percentage_follow_the_message(desk):
    bus = desk.go_to("Main")
    bus.send_message([7, 18, 3, 2, 1, 5])
    bus.send_message(cmd2(percent=1.02, parts=6, led=0x00010002 | 0x8000 | 0x80000000))
    expected = {"OrvikA2B": 0, "OrvikPreAlarm": 0, "OrvikOverload": 1, "OrvikAlarmSet": 1, "OrvikAlarmLED": 1,
                "OrvikTires": 3, "OrvikOutriggerHalf": 0, "OrvikSwingAlarmTripped": 1, "OrvikPartsOfLine": 6}
    wait_for(lambda: {name: desk.value(name) for name in expected} == expected, "the lamps in the database")

    def shown():
        variables = desk.screen()["variables"]
        return {name: variables[name] for name in expected if name in variables}

    wait_for(lambda: shown() == {name: expected[name] for name in shown()}, "the lamps on the screen")
    assert desk.screen()["variables"]["OrvikPercentSafeWorkingLoad"] == pytest.approx(1.02, abs=1e-6)


def test_sending_by_name_and_the_picture(desk):
    desk.go_to("Main")
    before = desk.request("GET", "/screen.png")[1]
    desk.succeed(BIN / "hx7", "send", "load=45600", "radius=12.3", "line1-center=HELLO")
    wait_for(lambda: desk.widgets("Load", "Radius") == [" 45,600", " 12.3"], "the values sent")
    wait_for(lambda: (desk.widget("orvikTextWidgetLine1Std") or "").replace("\u00a0", " ").strip() == "HELLO", "the line sent")
    after = desk.request("GET", "/screen.png")[1]
    assert after[:8] == b"\x89PNG\r\n\x1a\n" and after != before


def lines(desk, names):
    return [(text or "").replace("\u00a0", " ").replace("\u3000", " ") for text in desk.widgets(*names)]


def test_fields_are_laid_into_the_grid_in_three_languages(desk):
    bus = desk.go_to("Main")
    for language, names, columns, texts in [
        (0, LINES, 40, ("OUTRIGGERS 100%", "HOIST", "SELECT")),
        (4, LINES, 40, ("ОПОРЫ 100%", "ЛЕБЁДКА", "ВЫБОР")),
        (3, WIDE, 24, ("支腿", "主臂", "选择")),
    ]:
        bus.send_message([7, 13, language])
        bus.send_message(cmd5((1, texts[0]), (5, texts[1]), (26, texts[2])))
        expected = [texts[0] + " " * (columns - len(texts[0]) - len(texts[1])) + texts[1], " " * columns, " " * columns,
                    texts[2].rjust(len(texts[2]) + (columns - len(texts[2])) // 2).ljust(columns)]
        if language == 3:
            expected[0] = expected[0].replace("100%", "１００％")
        wait_for(lambda: lines(desk, names) == expected, f"{expected}, not {lines(desk, names)}")
        unused = WIDE if names is LINES else LINES
        assert [text.strip() for text in lines(desk, unused)] == [""] * 4


def test_malformed_text_is_reported_and_what_is_whole_stands(make_desk):
    desk = make_desk()
    orvik = desk.orvik
    bus = desk.go_to("Main")
    bus.send_message(cmd5((17, "BEFORE")))
    wait_for(lambda: lines(desk, LINES)[0].strip() == "BEFORE", "the first text")
    cases = [
        (bytes([5, 0, 0]), "WARNING, IGNORING CMD5 NULL LENGTH", orvik.out, "BEFORE"),
        (bytes([5, 0, 4, 0, 2, 0, 17]), "***** ERROR!  Cmd5 length.  min=5, max=802, subLen=4", orvik.err, "BEFORE"),
        (bytes([5, 3, 0x23, 0, 2, 0, 17]), "***** ERROR!  Cmd5 length.  min=5, max=802, subLen=803", orvik.err, "BEFORE"),
        (cmd5((17, "CUT "), (20, b"\xe4\xb8"))[:-4] + b"\x20\x41\xe4\xb8", None, None, "CUT"),
        (cmd5((17, "KEPT"), (31, "LOST")), "Orvik: ERROR!  Unknown Field ID 31", orvik.err, "KEPT"),
        (bytes([5, 0, 12, 0, 6, 0, 17]) + b"FULL" + bytes([0, 2, 0, 20]),
         "***** ERROR!  Cmd5 sub command length.  min=3, max=800, subLen=2", orvik.err, "FULL"),
        (bytes([42]), "***** ERROR! Unrecognized command ( 42 ) ! *****", orvik.err, "FULL"),
    ]
    for message, text, stream, shown in cases:
        bus.send_message(message)
        if text:
            orvik.wait_line(text, stream)
        wait_for(lambda: lines(desk, LINES)[0].strip() == shown, f"{shown}, not {lines(desk, LINES)}")
    bus.send_message(cmd5((17, b"A\xe4\xb8"), (20, b"\xc3A")))
    wait_for(lambda: [line.strip() for line in lines(desk, LINES)[:2]] == ["A？？？", "？A"], "the marks")
