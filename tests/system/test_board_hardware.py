"""The board's real parts: keys and a beeper as input devices, and a backlight in a folder like sysfs."""

import os

import pytest

from desk import BIN, CONFIG, Process, name_call, wait_for
from input_devices import SND_BELL, SND_TONE, MockDevices, UinputDevices, sounds_until

KEY_1, KEY_2, KEY_A, KEY_F1, KEY_F8 = 2, 3, 30, 59, 66
SERVICES = ("--only", "notify,database,board,screen,panel")


@pytest.fixture
def inputs():
    devices = UinputDevices() if os.environ.get("ORVIK_INPUT") == "uinput" else MockDevices()
    yield devices
    devices.close()


def detail(desk):
    return desk.detail("board") or ""


def test_keys_of_a_device_hold_the_front_keys_beside_the_panels(make_desk, inputs):
    keys = inputs.plug("event3", keys=[KEY_1, KEY_2, KEY_A, KEY_F1, KEY_F8])
    desk = make_desk(*SERVICES, "--keys", inputs.path("event3"), orvik=False, **inputs.environment)
    wait_for(keys.is_grabbed, "the grab")
    for events, expected in [([(KEY_F1, 1)], [1]), ([(KEY_F1, 2)], [1]), ([(KEY_F8, 1), (KEY_2, 1)], [1, 2, 8]),
                             ([(KEY_A, 1), (KEY_F8, 0)], [1, 2]),  # KEY_A is not mapped
                             ([(KEY_1, 1), (KEY_2, 0)], [1]), ([(KEY_F1, 0), (KEY_F8, 1)], [1, 8])]:
        keys.send(*events)
        desk.wait_keys(*expected)
    # A release by the panel does not release a key that the device holds.
    for key, down in ((8, "true"), (8, "false"), (5, "true")):
        assert desk.request("POST", f"/api/keys/{key}", f'{{"down":{down}}}')[0] == 200
    desk.wait_keys(1, 5, 8)
    keys.send((KEY_F8, 0), (KEY_1, 0))
    desk.wait_keys(5)


def test_lost_events_are_made_good(make_desk, inputs):
    keys = inputs.plug("event3", keys=[KEY_1, KEY_2, KEY_F8])
    desk = make_desk(*SERVICES, "--keys", inputs.path("event3"), orvik=False, **inputs.environment)
    wait_for(keys.is_grabbed, "the grab")
    keys.send((KEY_1, 1))
    desk.wait_keys(1)
    keys.lose(desk.unit.child, (KEY_2, 1), (KEY_1, 0))
    desk.wait_keys(2)
    keys.send((KEY_F8, 1))
    desk.wait_keys(2, 8)


def test_devices_come_and_go(make_desk, inputs, tmp_path):
    key_map = tmp_path / "keys"
    key_map.write_text("# one key\nKEY_A 7\n")
    desk = make_desk(*SERVICES, "--keys", inputs.path("event4"), "--key-map", key_map, "--beeper", inputs.path("event5"),
                     orvik=False, **inputs.environment)
    wait_for(lambda: "keys: " in detail(desk) and "beeper: " in detail(desk), "both to be missed")
    wrong = inputs.plug("event4", keys=[KEY_F1])
    beeper = inputs.plug("event5", sounds=[SND_TONE])
    wait_for(lambda: "none of the mapped keys" in detail(desk) and "beeper" not in detail(desk), "the wrong device")
    wrong.unplug()
    for _ in range(2):
        keys = inputs.plug("event4", keys=[KEY_A])
        wait_for(keys.is_grabbed, "the grab")
        keys.send((KEY_A, 1))
        desk.wait_keys(7)
        wait_for(lambda: detail(desk) == "", "a clean state")
        keys.unplug()
        desk.wait_keys()
        wait_for(lambda: "event4" in detail(desk), "the keys to be missed")
    beeper.unplug()
    wait_for(lambda: "event5" in detail(desk), "the beeper to be missed")


@pytest.mark.parametrize("sounds, code, value", [([SND_BELL, SND_TONE], SND_TONE, 2400), ([SND_BELL], SND_BELL, 1)],
                         ids=["tone", "bell"])
def test_the_beeper_follows_the_application_and_is_silent_at_the_end(make_desk, inputs, sounds, code, value):
    beeper = inputs.plug("event5", sounds=sounds)
    desk = make_desk("--beeper", inputs.path("event5"), **inputs.environment)
    desk.bus().send_message([4, 20])  # on and off in turn
    got = sounds_until(beeper, lambda got: len(got) >= 5, "five sound events")
    assert got[:5] == [(code, 0), (code, value), (code, 0), (code, value), (code, 0)]
    desk.bus().send_message([4, 255])
    sounds_until(beeper, lambda _: desk.get("/api/board")["beeper"]["sounding"], "the beeper")
    desk.unit.stop()
    assert (got + sounds_until(beeper, lambda got: got, "the end of the sound"))[-1] == (code, 0)


def light(folder, **files):
    folder.mkdir()
    for name, text in files.items():
        (folder / name).write_text(text)
    return folder


def test_the_backlight_follows_the_application(make_desk, tmp_path):
    panel = light(tmp_path / "panel0", max_brightness="255\n", brightness="40\n", bl_power="4\n")
    desk = make_desk("--backlight", panel)
    board = wait_for(lambda: (got := desk.get("/api/board")["backlight"])["enabled"] and got, "the application's level")
    expected = round(255 * board["duty"] / board["period"])
    wait_for(lambda: (panel / "brightness").read_text() == f"{expected}\n", f"brightness {expected}")
    assert (panel / "bl_power").read_text() == "0\n"


@pytest.mark.parametrize("options, status, text", [
    (["--backlight", "{}/nowhere"], 1, "/sys/class/backlight"), (["--backlight", "{}/odd"], 1, "not a number"),
    (["--keys", "/dev/input/event3", "--key-map", "{}/map"], 1, "line 2: \"KEY_NONE\" is no key"),
    (["--key-map", "{}/map"], 2, "--keys"),
], ids=name_call)
def test_what_cannot_work_refuses_the_start(tmp_path, options, status, text):
    light(tmp_path / "odd", max_brightness="bright\n", brightness="40\n")
    (tmp_path / "map").write_text("KEY_F1 1\nKEY_NONE 2\n")
    unit = Process([BIN / "unit", "run", "--config", CONFIG, "--only", "board",
                    *(option.format(tmp_path) for option in options)], tmp_path / "run")
    assert unit.wait_exit(20) == status, unit.err
    assert text in "\n".join(unit.err), unit.err
