"""The application's start and end, and the calls and configurations that it refuses."""

import json
import os
import pathlib
import re
import signal

import pytest

from desk import BIN, CONFIG, DEMO_LOG, WAIT_ALL, Process, frozen_thread, wait_for

EXITS = ["Receive Action", "Dispatcher", "Decapsulator", "Timer", "CAN Receive", "Watchdog", "DigitalIO", "Parser", "Blinker",
         "Keypad scanner"]


def test_an_application_started_again_finds_its_page(desk):
    bus = desk.go_to("Main")
    desk.orvik.stop(signal.SIGKILL)
    desk.orvik = desk.start_orvik()

    def moved():
        bus.send_message([7, 15, 6])  # until the application knows that Main is shown
        return desk.screen.document()["page"] == "Wad"

    wait_for(moved, "the page that the host asked for")


def flood(desk, bus):
    del bus
    desk.start(BIN / "hx7", "play", DEMO_LOG, "--speed", "max", "--loop")


# What happens while the application is told to end.
STATES = {
    "a silent bus and a blocked receive": lambda desk, bus: bus.close(),
    "a beeper asleep in a beep of 2.5 s": lambda desk, bus: (bus.send_message([4, 250]),
                                                            wait_for(lambda: desk.beeps() == 1, "the beep")),
    "a bus at full speed": flood,
}


@pytest.mark.parametrize("state", STATES)
def test_orderly_end_with(desk, state):
    bus = desk.go_to("Main")
    STATES[state](desk, bus)
    desk.orvik.child.send_signal(signal.SIGUSR1)
    assert desk.orvik.wait_exit() == 0
    assert "Orvik: Main timed out!" not in desk.orvik.out
    assert {line for line in desk.orvik.out if line.endswith("thread EXIT")} == {f"Orvik: {name} thread EXIT" for name in EXITS}


@pytest.mark.parametrize("killed", [False, True])
def test_an_alarm_ends_with_the_application(make_desk, killed):
    desk = make_desk(orvik=False)
    desk.orvik = desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--verbose")
    desk.orvik.wait_line("Orvik: System Up", seconds=20)
    bus = desk.bus()
    desk.move_to("Wad", bus)  # the application refuses to end on this page
    bus.send_message([4, 255])
    wait_for(lambda: desk.get("/api/board")["beeper"]["sounding"], "the alarm")
    unit = desk.orvik.child.pid
    if killed:
        os.kill(int(pathlib.Path(f"/proc/{unit}/task/{unit}/children").read_text()), signal.SIGKILL)
    desk.orvik.child.send_signal(signal.SIGTERM)
    assert desk.orvik.wait_exit() == 0
    assert killed or "unit: orvik refuses to stop; terminating it" in desk.orvik.err
    wait_for(lambda: not desk.get("/api/board")["beeper"]["sounding"], "silence")


def test_a_thread_that_hangs_does_not_keep_the_process(desk):
    desk.go_to("Main")
    with frozen_thread(desk.orvik, "Blinker") as thread:
        desk.orvik.child.send_signal(signal.SIGUSR1)
        desk.orvik.wait_line("Orvik: Main timed out!", seconds=20)
        # A traced thread ends only when its tracer takes the end.
        wait_for(lambda: os.waitpid(thread, WAIT_ALL | os.WNOHANG)[0], "the end of the frozen thread")
    assert desk.orvik.wait_exit() == 0
    assert "Orvik: Blinker thread EXIT" not in desk.orvik.out
    assert desk.orvik.out[-1] == "Orvik: Main EXIT"


def test_a_worker_that_hangs_is_reported(desk):
    def health(up=False):
        status, body = desk.request("GET", "/api/health")
        return status, [service["name"] for service in json.loads(body)["services"] if service["up"] == up]

    for worker in ("Decapsulate", "Parse", "Dispatch"):
        wait_for(lambda: f"worker {worker}" in health(up=True)[1], "the first heartbeat")
        with frozen_thread(desk.orvik, worker):
            desk.unit.wait_line(f"notify: no heartbeat of the application's {worker} worker for 2 s", desk.unit.err)
            wait_for(lambda: health() == (503, [f"worker {worker}"]), f"{worker} alone to be down")
        desk.unit.wait_line(f"notify: the application's {worker} worker is back")
        wait_for(lambda: health() == (200, []), "everything up again")


USAGE = f"Usage: {BIN / 'orvik'} [generic]"


@pytest.mark.parametrize("arguments, stream, text", [
    ([], "out", USAGE), (["a", "b"], "out", USAGE),
    (["/none.xml"], "err", "Orvik: Generic config file (/none.xml) failed."),
], ids=["none", "two", "no file"])
def test_wrong_calls(tmp_path, arguments, stream, text):
    process = Process([BIN / "orvik", *arguments], tmp_path / "run")
    assert process.wait_exit() == 1
    assert text in getattr(process, stream)


def test_faulty_configurations_are_reported_and_survived(make_desk, tmp_path):
    desk = make_desk(orvik=False)
    good = (CONFIG / "generic.xml").read_text()
    for text, line in [
        ("", "Orvik: Error reading configuratin file: End of file encountered"),
        ("<orvik-generic-2/>", "Orvik: Error reading configuratin file: Not a orvik generic config file"),
        (good[:len(good) // 2], "Orvik: Error reading configuratin file: "),
        (good.replace('createdBy="Orvik" ', ""), "Orvik: Error reading configuratin file: Can't find attribute: createdBy"),
        (good.replace("<App ", "<Other "), "orvik: ERROR! getFirstChild did not return App"),
        (good.replace('name="orvik.MainToWad"', 'name="&nbsp;"'), "Orvik: Error reading configuratin file: Bad parse encountered"),
    ]:
        path = tmp_path / "generic.xml"
        path.write_text(text)
        orvik = desk.start(BIN / "orvik", path)
        orvik.wait_line(line, orvik.err)
        orvik.wait_line("Orvik: System Up")
        orvik.stop(signal.SIGKILL)


def shared_objects(process):
    with open(f"/proc/{process.child.pid}/maps") as maps:
        return {word for line in maps for word in line.split() if word.startswith("/dev/shm/")}


def test_nothing_is_left_behind(desk):
    desk.go_to("Main")
    objects = shared_objects(desk.unit)
    assert len(objects) == 2, "the database and the board"
    desk.orvik.child.send_signal(signal.SIGUSR1)
    assert desk.orvik.wait_exit() == 0
    desk.unit.child.send_signal(signal.SIGINT)
    assert desk.unit.wait_exit() == 0
    assert [name for name in os.listdir(desk.runtime) if not re.fullmatch(r".*\.(lock|json)|root|blackbox", name)] == []
    assert [path for path in objects if os.path.exists(path)] == []


def test_a_unit_killed_and_started_again_serves_a_new_application(desk):
    desk.unit.stop(signal.SIGKILL)
    desk.orvik.stop(signal.SIGKILL)
    desk.unit = desk.start_unit()
    desk.orvik = desk.start_orvik()
    desk.go_to("Main")
