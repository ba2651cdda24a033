"""From a frame on the bus to the text on the screen."""

import pytest

from desk import BIN, cmd2, wait_for


def test_lamps_and_percentage_follow_the_message(desk):
    bus = desk.go_to("Main")
    bus.send_message([7, 18, 3, 2, 1, 5])
    bus.send_message(cmd2(percent=1.02, parts=6, led=0x00010002 | 0x8000 | 0x80000000))
    expected = {"OrvikA2B": 0, "OrvikPreAlarm": 0, "OrvikOverload": 1, "OrvikAlarmSet": 1, "OrvikAlarmLED": 1,
                "OrvikTires": 3, "OrvikOutriggerHalf": 0, "OrvikSwingAlarmTripped": 1, "OrvikPartsOfLine": 6}
    wait_for(lambda: {name: desk.value(name) for name in expected} == expected, "the lamps in the database")

    def shown():
        variables = desk.screen.document()["variables"]
        return {name: variables[name] for name in expected if name in variables}

    wait_for(lambda: shown() == {name: expected[name] for name in shown()}, "the lamps on the screen")
    assert desk.screen.document()["variables"]["OrvikPercentSafeWorkingLoad"] == pytest.approx(1.02, abs=1e-6)


def test_sending_by_name_and_the_picture(desk):
    desk.go_to("Main")
    before = desk.request("GET", "/screen.png")[1]
    desk.succeed(BIN / "hx7", "send", "load=45600", "radius=12.3", "line1-center=HELLO")
    wait_for(lambda: desk.widgets("Load", "Radius") == [" 45,600", " 12.3"], "the values sent")
    wait_for(lambda: (desk.widget("orvikTextWidgetLine1Std") or "").replace("\u00a0", " ").strip() == "HELLO", "the line sent")
    after = desk.request("GET", "/screen.png")[1]
    assert after[:8] == b"\x89PNG\r\n\x1a\n" and after != before
