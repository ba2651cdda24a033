"""The loss of the host's link, on the screen."""

from desk import HOST_ID, cmd2, cmd5, wait_for


def test_eleven_silent_seconds_and_the_first_frame_after_them(desk):
    def data_state():
        return desk.screen.document()["variables"]["Screen.DataState"]

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
    wait_for(lambda: desk.value("OrvikHX7TimeOutLamp") == 2, "the lost link", 30)
    wait_for(lambda: shown() == "LOST COMMUNICATIONS WITH COMPUTER!", "the message")
    assert data_state() == 2
    bus.send(HOST_ID, bytes([0, 1, 1, 0, 0, 0, 0, 0]))
    wait_for(lambda: shown() == "HOST TEXT" and desk.value("OrvikHX7TimeOutLamp") == 1, "the recovery")
    wait_for(lambda: is_without_values(5), "no value of before the silence")
    assert desk.screen.document()["page"] == "Main"
