"""The replies to the host, broken messages, and the loss of the link."""

import re

from desk import DISPLAY_ID, HOST_ID, cmd2, cmd5, cut, wait_for


def test_requests_of_one_frame_are_answered_byte_for_byte(desk):
    bus = desk.bus()
    for message, frames in [
        ([6], ["00 01 00 00 00 ff ff ff"]),
        ([7, 3], ["00 02 56 69 73 74 72 65", "01 6c 20 ff ff ff ff ff"]),
        ([7, 5], ["00 03 52 65 76 2e 20 30", "01 31 2e 30 30 33 2e 30", "02 31 30 39 ff ff ff ff"]),
        ([7, 7], ["00 01 00 ff ff ff ff ff"]),
        ([7, 9], ["00 01 03 ff ff ff ff ff"]),
    ]:
        assert bus.ask(message, len(frames)) == frames
    first, second = [bytes.fromhex(frame) for frame in bus.ask([7, 4], 2)]
    assert (first[:2], second[:1], second[6:]) == (b"\0\2", b"\1", b"\xff\xff")
    assert re.fullmatch(r"[A-Z][a-z]{2} [0-9]{2} [0-9]{4}", (first[2:] + second[1:6]).decode())


def test_a_request_spread_over_two_frames_reaches_the_parser(desk):
    bus = desk.bus()
    bus.send_message([6] + [0] * 7)
    desk.orvik.wait_line("***** ERROR!  Return key status request in parse thread!", desk.orvik.err)
    for sub_command, text in [(3, "Program Name"), (4, "Program Date"), (5, "Program ID"), (7, "LCD status"),
                              (9, "LED brightness level")]:
        bus.send_message([7, sub_command] + [0] * 6)
        desk.orvik.wait_line(f"***** ERROR!  {text} request in parse thread!", desk.orvik.err)
    assert bus.ask([7, 7]) == ["00 01 00 ff ff ff ff ff"], "nothing else was answered meanwhile"


def test_broken_sequences_lose_their_message_and_no_other(desk):
    bus = desk.bus()
    first, *rest = cut(cmd2(load=11100))

    def load():
        return desk.value("OrvikLoad")

    for frames in [[first, rest[1]] + rest, [first, first] + rest, [bytes(8)], [first] + rest[:-1]]:
        for frame in frames:
            bus.send(HOST_ID, frame)
    bus.send(HOST_ID, rest[0])      # ends the message that was left incomplete
    bus.send(DISPLAY_ID, first)     # not the host's
    bus.send_message(cmd2(load=22200))
    wait_for(lambda: load() == 22200, "the next good message")


def test_eleven_silent_seconds_and_the_first_frame_after_them(desk):
    def data_state():
        return desk.screen()["variables"]["Screen.DataState"]

    def is_without_values(state):
        return data_state() == state and ">-- %<" in desk.request("GET", "/screen.svg")[1].decode()

    wait_for(lambda: is_without_values(4), "no value before the host")
    assert desk.value("OrvikHX7TimeOutLamp") == 1
    bus = desk.go_to("Main")
    wait_for(lambda: is_without_values(5), "the host, that has sent no values")
    bus.send_message(cmd2())
    wait_for(lambda: data_state() == 1, "the values")
    bus.send_message(cmd5((17, "HOST TEXT")))

    def shown():
        texts = desk.widgets("Line1Std", "Line2Std", "Line2Wide")
        return "".join(text or "" for text in texts).replace("\u00a0", " ").strip()

    wait_for(lambda: shown() == "HOST TEXT" and desk.value("OrvikHX7TimeOutLamp") == 1, "the host's text")
    wait_for(lambda: desk.value("OrvikHX7TimeOutLamp") == 2, "the lost link", 14)
    wait_for(lambda: shown() == "LOST COMMUNICATIONS WITH COMPUTER!", "the message")
    assert data_state() == 2
    bus.send(HOST_ID, bytes([0, 1, 1, 0, 0, 0, 0, 0]))
    wait_for(lambda: shown() == "HOST TEXT" and desk.value("OrvikHX7TimeOutLamp") == 1, "the recovery", 3)
    wait_for(lambda: is_without_values(5), "no value of before the silence")
    bus.send_message([7, 13, 4])
    wait_for(lambda: shown() == "ПОТЕРЯНА СВЯЗЬ С КОМПЬЮТЕРОМ!", "the message in Russian", 16)
    assert desk.screen()["page"] == "Main"
