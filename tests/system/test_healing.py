"""What stands on the screen after one of its services was killed or stopped, without any help of the host."""

import contextlib
import json
import os
import pathlib
import signal
import struct
import threading
import time

import pytest

from desk import BIN, CONFIG, HOST_ID, PATIENCE, cmd2, cmd5, cut, wait_for, wait_steady

LINE_3 = 3
CURRENT, PROGRAM_SILENT, VALUES_OLD = 1, 3, 5  # values of Screen.DataState


@pytest.fixture
def apart(make_desk):
    return make_desk(apart=True)


def standing(desk):
    screen = desk.screen.document()
    return {"page": screen["page"], "state": screen["variables"]["Screen.DataState"],
            "widgets": {name: text for name, text in screen["widgets"].items() if text.strip()},
            "drawing": desk.request("GET", "/screen.svg")[1].count(b"<use")}


@pytest.mark.parametrize("page", ["Main", "Dials"])
def test_a_screen_service_that_was_killed_comes_back_whole(apart, page):
    bus = apart.go_to("Main")
    bus.send_message(cmd2(load=23500, angle=40.5))
    bus.send_message(cmd5((LINE_3, "outriggers half")))
    wait_for(lambda: apart.widget("orvikTextWidgetLoad") == " 23,500", "the load")
    apart.move_to(page, bus)
    before = wait_for(lambda: (now := standing(apart))["state"] == 1 and now, "a current screen")
    apart.parts["screen"].stop(signal.SIGKILL)
    apart.start_part("screen")
    wait_for(lambda: apart.request("GET", "/api/screen")[0] == 200 and standing(apart) == before, f"all of {before}", 2)


def test_a_screen_service_that_was_stopped_shows_no_old_value_as_current(apart):
    bus = apart.go_to("Main")
    screen = apart.parts["screen"].child
    for load in (3600, 7700):
        screen.send_signal(signal.SIGSTOP)
        stopped = time.monotonic()
        for step in range(1, 100):
            bus.send_message(cmd2(load=load + 100 * step))
        bus.send_message(cmd2(load=load))
        wait_for(lambda: apart.value("OrvikLoad") == load, "the application with the last value")
        wait_for(lambda: time.monotonic() - stopped > 2, "a stop that is longer than a busy machine's")
        screen.send_signal(signal.SIGCONT)
        assert set(loads_shown_as_current(apart)) == {f"{load:7,}"}


def loads_shown_as_current(desk):
    seen = []

    def current():
        screen = desk.screen.document()
        if screen["variables"]["Screen.DataState"] == 1:
            seen.append(screen["widgets"]["orvikTextWidgetLoad"])
        return len(seen) > 20

    wait_for(current, "a current load", 3)
    return seen


@pytest.mark.parametrize("part", ["notify", "board,j1939", "orvik"])
def test_what_hangs_makes_the_values_unknown_until_it_is_back(apart, part):
    bus = apart.go_to("Main")
    bus.send_message(cmd2(load=23500))
    wait_for(lambda: standing(apart)["state"] == 1, "a current screen")
    child = (apart.orvik if part == "orvik" else apart.parts[part]).child
    child.send_signal(signal.SIGSTOP)
    wait_for(lambda: standing(apart)["state"] != 1, "values that are marked", 3)
    child.send_signal(signal.SIGCONT)
    bus.send_message(cmd2(load=27600))
    wait_for(lambda: load_known(apart) == " 27,600", "the new load", 2)


def test_an_old_value_is_unknown_until_the_host_sends_it_again(make_desk):
    desk = make_desk(apart=True)
    bus = desk.go_to("Main")

    def state_is(state):
        wait_for(lambda: desk.screen.document()["variables"]["Screen.DataState"] == state, f"state {state}", 4)

    state_is(VALUES_OLD)  # the host was heard, and sent no values: those shown are the application's own
    bus.send_message(cmd2(load=23500))
    state_is(CURRENT)
    bus.send_message([7, 11, 1])
    state_is(VALUES_OLD)
    wait_for(lambda: desk.widgets("Load", "UnitsWeight") == [" 23,500", "kgs"], "the number of before, unknown")
    bus.send_message(cmd2(load=10700))
    state_is(CURRENT)
    desk.orvik.stop(signal.SIGKILL)
    wait_for(lambda: desk.screen.document()["variables"]["Screen.DataState"] == PROGRAM_SILENT, "the death", 1.5)
    desk.start_orvik()
    bus.send_message([8, 1])
    state_is(VALUES_OLD)
    bus.send_message(cmd2(load=10800))
    wait_for(lambda: load_known(desk) == " 10,800", "the next value", 4)


def remove(path):
    path.unlink()


def truncate(path):
    os.truncate(path, 0)


def fill(path):
    path.write_bytes(b"\xff" * path.stat().st_size)


def hold_lock(path):
    """As a process that was stopped between two instructions: this one lives, and never gives the lock back."""
    with path.open("r+b") as file:
        file.write(struct.pack("<I", os.getpid()))


@pytest.mark.parametrize("damage", [remove, truncate, fill, hold_lock])
def test_a_database_whose_object_is_damaged_is_made_anew(make_desk, damage):
    desk = make_desk(orvik=False)
    desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--verbose").wait_line("Orvik: System Up", seconds=20)
    bus = desk.go_to("Main")
    bus.send_message(cmd2(load=23500, percent=0.25))
    wait_for(lambda: load_known(desk) == " 23,500", "the load")
    mapped = pathlib.Path(f"/proc/{desk.unit.child.pid}/maps").read_text().split()
    damage(next(pathlib.Path(word) for word in mapped if word.endswith("-DBSHM")))
    overload = cmd2(load=27600, percent=1.89, led=2)

    def shown():
        bus.send_message(overload)
        bus.pass_over()
        known, variables = load_known(desk), desk.screen.document()["variables"]
        assert known in (None, " 23,500", " 27,600"), "an application's own value"
        return known == " 27,600" and variables["OrvikOverload"] == 1 and \
            desk.value("OrvikPercentSafeWorkingLoad") == pytest.approx(1.89)

    wait_for(lambda: desk.counters("database")["made"] == 2, "another object", 5)
    wait_for(shown, "the overload", 4)
    assert desk.unit.child.poll() is None


def load_known(desk):
    status, body = desk.request("GET", "/api/screen")
    if status != 200:  # the screen service has no time to answer
        return None
    screen = json.loads(body)
    return screen["widgets"]["orvikTextWidgetLoad"] if screen["variables"]["Screen.DataState"] == CURRENT else None


def test_a_screen_service_that_seldom_runs_shows_new_values_only(apart):
    bus = apart.go_to("Main")
    screen = apart.parts["screen"].child
    with pulsing(screen, running=0.003 * PATIENCE, stopped=0.3):
        for step in range(200):
            bus.send_message(cmd2(load=100 * step, angle=step % 60, radius=step % 40, capacity=100000 - 100 * step))
            bus.pass_over()
            time.sleep(0.02)  # the host's pace
        bus.send_message(cmd2(load=77700))
        wait_for(lambda: load_known(apart) == " 77,700", "the last load", 4)


@contextlib.contextmanager
def pulsing(process, running, stopped):
    """Lets a process run for a short time again and again, as one that gets little of the processor."""
    ended = threading.Event()

    def pulse():
        while not ended.wait(running):
            process.send_signal(signal.SIGSTOP)
            ended.wait(stopped)
            process.send_signal(signal.SIGCONT)

    thread = threading.Thread(target=pulse)
    thread.start()
    try:
        yield
    finally:
        ended.set()
        thread.join()


def test_a_program_that_dies_starts_again_at_once_and_waits_from_the_third_time_on(make_desk):
    desk = make_desk(apart=True, orvik=False)
    keeper = desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--verbose")
    children = pathlib.Path(f"/proc/{keeper.child.pid}/task/{keeper.child.pid}/children")
    for death, wait in enumerate(("", "", " in 1 s", " in 2 s"), start=1):
        child = wait_for(lambda: children.exists() and children.read_text().split(), "the application's process", 20)
        os.kill(int(child[0]), signal.SIGKILL)
        lines = keeper.wait_line("orvik was killed", keeper.err, count=death)
        assert lines[-1].endswith("starting it again" + wait), lines


def test_an_application_that_was_started_before_the_notification_manager_is_started_again(make_desk):
    desk = make_desk(apart=True, orvik=False)
    desk.parts["notify"].stop()
    keeper = desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--verbose")
    keeper.wait_line("Orvik: System Up", seconds=20)
    desk.parts["board,j1939"].child.send_signal(signal.SIGSTOP)  # it connects after the application
    desk.start_part("notify")
    keeper.wait_line("Orvik: System Up", count=2, seconds=20)
    desk.parts["board,j1939"].child.send_signal(signal.SIGCONT)
    desk.go_to("Main").send_message(cmd2(load=27600))
    wait_for(lambda: load_known(desk) == " 27,600", "the load", 4)


def test_a_silent_application_is_killed_and_started_again(make_desk):
    desk = make_desk(orvik=False)
    keeper = desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--silence", "2", "--verbose")
    keeper.wait_line("Orvik: System Up", seconds=20)
    wait_for(lambda: desk.counters("notify").get("worker.Dispatch") == 1, "a heartbeat")
    children = pathlib.Path(f"/proc/{keeper.child.pid}/task/{keeper.child.pid}/children").read_text().split()
    os.kill(int(children[0]), signal.SIGSTOP)
    keeper.wait_line("no sign of life for 2 s", keeper.err, seconds=10)
    keeper.wait_line("Orvik: System Up", count=2, seconds=20)
    desk.go_to("Main").send_message(cmd2(load=27600))
    wait_for(lambda: load_known(desk) == " 27,600", "the load", 4)


def test_no_message_is_joined_from_before_and_after_a_break_of_the_bus_service(make_desk):
    desk = make_desk(apart=True)
    first, second = cut(cmd2(load=11100, radius=11.1)), cut(cmd2(load=22200, radius=22.2))
    bus = desk.go_to("Main")
    bus.send_message(cmd2(load=33300))
    wait_for(lambda: desk.widgets("Load") == [" 33,300"], "the load")
    received = wait_steady(lambda: desk.get("/api/bus")["received"], "the count of frames", 0.5)
    for frame in first[:2]:
        bus.send(HOST_ID, frame)
    wait_for(lambda: desk.get("/api/bus")["received"] == received + 2, "the beginning of the message")
    desk.parts["board,j1939"].stop(signal.SIGKILL)
    desk.parts["board,j1939"] = desk.start_part("board,j1939")
    bus = desk.bus()
    for frame in second[2:]:
        bus.send(HOST_ID, frame)
    bus.send_message([4, 0])  # whole, and the next one that the display hears
    bus.send_message([8, 1])
    wait_for(lambda: desk.get("/api/bus")["received"] >= len(second[2:]) + 2, "the frames")
    bus.send_message([7, 11, 1])
    wait_for(lambda: desk.widgets("UnitsWeight") == ["kgs"], "the units")
    assert desk.widgets("Load", "Radius") == [" 33,300", " 35.4"]
