"""The effects of a press of a front key: the report to the host, the event, the page and the beep."""

import http.client
import time

import pytest

from desk import wait_for

# Page, key: host key code and the page that follows. (0, None) is a key that is bound to nothing.
KEYS = {
    "Slate": {8: (0, "Main")},
    "Main": {1: (18, "Wad"), 2: (0, None), 3: (9, None), 4: (19, "Wad"), 5: (21, "Wad"), 6: (0, "Dials"), 7: (0, None),
             8: (0, None)},
    "Wad": {1: (6, None), 2: (0, None), 3: (18, None), 4: (19, None), 5: (8, None), 6: (14, None), 7: (17, None),
            8: (15, None)},
    "Config": {1: (0, None), 2: (12, None), 3: (9, None), 4: (0, None), 5: (0, None), 6: (2, None), 7: (0, "Main"),
               8: (19, None)},
    "Dials": {7: (0, "Main")},
}
PAIR = 9  # keys 5 and 8 together


def fingers(key):
    return (5, 8) if key == PAIR else (key,)


def key_state(bus):
    """Status, key code and last key of the display's reply."""
    reply = bytes.fromhex(bus.ask([6])[0].replace(" ", ""))
    assert reply[:2] == b"\0\1" and reply[5:] == b"\xff\xff\xff", reply
    return tuple(reply[2:5])


def notes(desk):
    """The front keys that the application noted as without function, in order; each press and release is one."""
    return [int(line.split()[4]) for line in desk.orvik.out if line.startswith("NOTE.  Platform key code ")]


def check_host_key(desk, bus, key, code):
    with desk.held(key):
        reply = wait_for(lambda: next((state for state in [key_state(bus)] if state[1]), None), f"key {key}")
        assert reply == (0xFF if code == 18 else code, code, code)
        assert key_state(bus) == (code, 0, code), "the queue is empty, and the key still held"
    wait_for(lambda: key_state(bus) == (0, 0, code), f"the release of key {key}")


@pytest.mark.parametrize("page", KEYS)
def test_every_key_of_a_page(desk, page):
    bus = desk.bus()
    desk.move_to("Slate", bus)
    for key in range(1, 10):
        desk.move_to(page, bus)
        noted, beeps, last = notes(desk), desk.beeps(), key_state(bus)[2]
        code, target = KEYS[page].get(key, (None, None))
        if code:
            check_host_key(desk, bus, key, code)
        else:
            desk.press(*fingers(key))
            wait_for(lambda: desk.screen()["page"] == (target or page), f"{target} after key {key}")
            assert key_state(bus) == (0, 0, last)
        # The release is looked up on the page that the press led to.
        expected = [key for where in (page, target or page) if key not in KEYS[where]]
        wait_for(lambda: notes(desk) == noted + expected, f"the notes of key {key}: {expected}")
        wait_for(lambda: desk.page_of_orvik(bus) == (target or page), f"{target} after key {key}")
        clicks = 1 if code or target else 0
        wait_for(lambda: desk.beeps() == beeps + clicks and not desk.get("/api/board")["beeper"]["sounding"],
                 f"{clicks} beeps for key {key}, not {desk.beeps() - beeps}")


def test_the_splash_page_has_one_key(desk):
    for key in (1, 2, 3, 4, 5, 6, 7, PAIR):
        noted = notes(desk)
        desk.press(*fingers(key))
        wait_for(lambda: notes(desk) == noted + [key, key], f"the notes of key {key}")
    desk.press(8)
    wait_for(lambda: desk.screen()["page"] == "Slate", "Slate")


def test_the_validity_mask_stops_or_silences_a_key(desk):
    bus = desk.bus()
    desk.move_to("Wad", bus)
    for mask, reported, clicks in [(0, False, 0), (1, True, 0), (0x7F, True, 1)]:
        bus.send_message(bytes([7, 1, 9]) + b"\x7f" * 8 + bytes([mask]))  # host key 8, "Select 1"
        # Messages are handled in order.
        assert desk.page_of_orvik(bus) == "Wad"
        beeps = desk.beeps()
        if reported:
            check_host_key(desk, bus, 5, 8)
        else:
            desk.press(5)
            assert key_state(bus)[:2] == (0, 0)
        wait_for(lambda: desk.beeps() == beeps + clicks, f"{clicks} beeps with mask {mask}")


class Finger:
    """Quick key changes over one connection to the panel. move returns the time that they took."""

    def __init__(self, desk):
        self.connection = http.client.HTTPConnection(desk.address("http"), timeout=20)
        self.connection.connect()

    def move(self, *changes):
        start = time.monotonic()
        for key, down in changes:
            self.connection.request("POST", f"/api/keys/{key}", '{"down":true}' if down else '{"down":false}')
            assert self.connection.getresponse().read() is not None
        return time.monotonic() - start


def try_until_quick(attempt, limit):
    """Repeats an attempt, which returns its duration, until one took less than `limit`."""
    for _ in range(200):
        took = attempt()
        if took < limit:
            return
    raise AssertionError(f"this machine never moved the keys within {limit} s; the last time it took {took} s")


def test_short_presses_and_releases_count_for_nothing(desk):
    bus = desk.bus()
    desk.move_to("Slate", bus)  # here every key but 8 only causes a note
    finger = Finger(desk)

    def settled(keys):
        """Presses key 7, whose note comes after the notes of all keys before it."""
        start = len(notes(desk)) - keys
        desk.press(7)
        return wait_for(lambda: (lambda seen: seen if seen[-2:] == [7, 7] else None)(notes(desk)[start:]), "key 7")

    def short_press():
        start = len(notes(desk))
        took = finger.move((3, True), (3, False))
        seen = settled(len(notes(desk)) - start)
        assert took >= 0.009 or seen == [7, 7], (took, seen)
        return took

    def short_release():
        start = len(notes(desk))
        finger.move((3, True))
        wait_for(lambda: notes(desk)[start:] == [3], "key 3")
        took = finger.move((3, False), (3, True))
        time.sleep(0.1)  # longer than the scanner needs to take the short release for one
        finger.move((3, False))
        wait_for(lambda: notes(desk)[-1] == 3 and len(notes(desk)) >= start + 2, "its release")
        assert took >= 0.05 or notes(desk)[start:] == [3, 3], (took, notes(desk)[start:])
        return took

    try_until_quick(short_press, 0.009)   # two ticks of 10 ms, the first of which may come at once
    try_until_quick(short_release, 0.05)  # six ticks


def test_keys_held_together_and_one_after_the_other(desk):
    bus = desk.bus()
    desk.move_to("Slate", bus)
    start = len(notes(desk))
    desk.press(1, 2, 3)
    desk.press(1, 4)
    desk.press(5, 8)
    wait_for(lambda: notes(desk)[start:] == [PAIR, PAIR], "the pair alone")
    start = len(notes(desk))
    desk.key(3, True)
    wait_for(lambda: notes(desk)[start:] == [3], "key 3")
    Finger(desk).move((4, True), (3, False))
    wait_for(lambda: notes(desk)[start:] == [3, 4], "key 4, and no release of key 3")
    desk.key(4, False)
    wait_for(lambda: notes(desk)[start:] == [3, 4, 4], "the release of key 4")


def test_a_release_clears_the_report_of_a_key_that_is_still_held(desk):
    bus = desk.bus()
    desk.move_to("Wad", bus)
    desk.key(6, True)
    wait_for(lambda: key_state(bus)[0] == 14, "Select 3")
    desk.key(7, True)  # two keys at once count as no key, which releases the first
    wait_for(lambda: key_state(bus)[0] == 0, "nothing held")
    desk.key(6, False)
    wait_for(lambda: key_state(bus)[0] == 17, "Select 2")
    desk.key(7, False)
    wait_for(lambda: key_state(bus) == (0, 0, 17), "the release")
