"""What a shell or a script learns of the screen, and does to it, through `unit`."""

import json
import signal
import time

import pytest

from desk import BIN, Process, cmd2, cmd5, wait_for

UNIT = BIN / "unit"


@pytest.fixture
def lifting(make_desk):
    desk = make_desk()
    bus = desk.go_to("Main")
    bus.send_message(cmd2(led=0x402))
    bus.send_message(cmd5((17, "HELLO")))
    for wanted in ("load == 12300", "line1 HELLO"):
        desk.succeed(UNIT, "wait", wanted, "--seconds", "20")
    return desk, bus


def test_screen_prints_what_the_operator_sees(lifting, tmp_path):
    desk, bus = lifting
    shown = json.loads(desk.succeed(UNIT, "screen", "--json")[0])
    assert shown["page"] == "Main" and shown["state"] == "current" and shown["link"] == "heard"
    assert shown["lamps"] == ["front-winch", "overload"] and shown["brightness"] == 100 and shown["language"] == "english"
    wanted = {"load": "12,300", "capacity": "14,400", "radius": "35.4", "angle": "62.1", "extension": "82.0", "swing": "0",
              "percent": "85", "parts-of-line": "4", "weight-units": "lbs", "distance-units": "feet", "flash-msg": ""}
    assert wanted.items() <= shown["texts"].items()
    table = desk.succeed(UNIT, "screen")[0].splitlines()
    for row in (["load", "12,300 lbs"], ["percent", "85 %"], ["lamps", "front-winch, overload"], ["line1", "HELLO"]):
        assert row in [line.split(None, 1) for line in table]
    desk.succeed(UNIT, "screen", "--png", tmp_path / "screen.png")
    assert (tmp_path / "screen.png").read_bytes().startswith(b"\x89PNG")
    # Wad has widgets of its own, and Config no load at all.
    bus.send_message([7, 15, 6])
    for wanted in ("page Wad", "load == 12300"):
        desk.succeed(UNIT, "wait", wanted, "--seconds", "20")
    bus.send_message([7, 15, 4])
    for wanted in ("page Config", 'load ""'):
        desk.succeed(UNIT, "wait", wanted, "--seconds", "20")


def test_wait_ends_as_soon_as_the_screen_shows_it(lifting):
    desk, bus = lifting
    waiting = desk.start(UNIT, "wait", "load == 12400", "--seconds", "30")
    time.sleep(0.3)
    assert waiting.child.poll() is None
    bus.send_message(cmd2(load=12400))
    assert waiting.wait_exit() == 0
    for call, status, text in ((["no lamp overload"], 0, ""), (["load 5", "--seconds", "0.1"], 1, 'load was "12,400" on the page Main'),
                               (["lod 5"], 2, "did you mean load?"), (["page Wad", "--seconds", "x"], 2, "x")):
        got, _, errors = desk.run(UNIT, "wait", *call)
        assert got == status and text in errors, (call, errors)
    stopped = desk.start(UNIT, "wait", "page Wad", "--seconds", "30")
    time.sleep(0.3)
    assert stopped.stop(signal.SIGINT) == 3 and "page was Main" in stopped.err[-1]


def test_press_holds_keys_as_long_as_the_scanner_needs_and_releases_them_whatever_happens(lifting):
    desk, _ = lifting
    for page in ("Dials", "Main", "Dials"):  # each press is one of its own
        desk.succeed(UNIT, "press", "6" if page == "Dials" else "7")
        desk.succeed(UNIT, "wait", f"page {page}", "--seconds", "5")
    for end, number, status in (("released", signal.SIGINT, 3), ("let go by the panel", signal.SIGKILL, -9)):
        held = desk.start(UNIT, "press", "2+3", "--hold", "60")
        desk.wait_keys(2, 3)
        time.sleep(1.5)  # longer than the panel keeps a key that nobody renews
        assert desk.get("/api/shown")["keys"] == [2, 3], end
        assert held.stop(number) == status
        desk.wait_keys()
    for keys in ("0", "1+", "12"):
        assert desk.run(UNIT, "press", keys)[0] == 2


@pytest.mark.parametrize("call", [["screen"], ["press", "1"], ["wait", "page Main"]], ids=lambda call: call[0])
def test_without_a_unit_the_commands_say_what_to_do(tmp_path, call):
    process = Process([UNIT, *call], tmp_path / "run")
    assert process.wait_exit() == 1 and 'Start one with "unit run"' in process.err[-1], process.err


def test_commands_print_json_for_programs(lifting, tmp_path):
    desk, _ = lifting
    assert json.loads(desk.run(UNIT, "status", "--json")[1]).keys() >= {"up", "services"}
    got = json.loads(desk.succeed(UNIT, "db", "get", "OrvikLoad", "OrvikA2B", "--json")[0])
    assert got == [{"name": "OrvikLoad", "handle": got[0]["handle"], "value": 12300}, {"name": "OrvikA2B", "handle": got[1]["handle"], "value": 0}]
    assert got[0] in json.loads(desk.succeed(UNIT, "db", "list", "--json")[0])
    watching = desk.start(UNIT, "db", "watch", "OrvikLoad", "--json")
    wait_for(lambda: watching.out, "the first value")
    assert json.loads(watching.out[0]) == got[0]
    watching.stop()
    names = json.loads(desk.succeed(UNIT, "events", "--config", desk.unit.child.args[desk.unit.child.args.index("--config") + 1],
                                    "list", "orvik.MainTo", "--json")[0])
    assert {"kind": "event", "name": "orvik.MainToWad", "number": 56} in names
    bundle = tmp_path / "report.tar.gz"
    desk.succeed(UNIT, "bundle", bundle)
    listed = json.loads(desk.succeed(UNIT, "bundle", "--list", bundle, "--json")[0])
    sizes = {file["name"]: file["bytes"] for file in listed["files"]}
    assert sizes["bus.log"] > 0 and listed["about"]["by"].startswith("unit ")
    assert "bus.log" in desk.succeed(UNIT, "bundle", "--list", bundle)[0]
    bundle.write_bytes(b"no archive")
    assert desk.run(UNIT, "bundle", "--list", bundle)[0] == 2
