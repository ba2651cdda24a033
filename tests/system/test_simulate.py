"""The simulated host on the real display: by scenarios, by hand and over HTTP."""

import json
import os
import re
import struct

import pytest

from desk import ADDRESSES, BIN, CONFIG, HOST_ID, Desk, Process, name_call, wait_for


def simulate(desk, *arguments):
    return desk.start(BIN / "hx7", "simulate", "--config", CONFIG, *arguments)


def lines(desk):
    """All texts of the grid, from both sets of line widgets."""
    shown = desk.widgets(*(f"Line{n}{kind}" for n in range(1, 5) for kind in ("Std", "Wide")))
    return re.sub(r"\s+", " ", " ".join(text or "" for text in shown))


def wait_text(desk, text, seconds=15):
    return wait_for(lambda: text in lines(desk), f"the text {text!r}", seconds)


class Host:
    """The simulator's HTTP."""

    def __init__(self, desk):
        wait_for((desk.runtime / "hx7.address").exists, "hx7.address")
        self.desk = desk

    def request(self, method, path, body=None, **headers):
        status, answer = self.desk.request(method, path, body, headers, "hx7")
        return status, json.loads(answer or b"{}")

    def state(self):
        status, state = self.request("GET", "/api/state")
        assert status == 200
        return state

    def do(self, action):
        status, answer = self.request("POST", "/api/do", json.dumps({"do": action}))
        assert status == 200, answer


def test_a_run_has_a_host_with_a_usual_lift(tmp_path):
    unit = Process([BIN / "unit", "run", "--verbose", "--config", CONFIG, *ADDRESSES], tmp_path / "run")
    desk = Desk.__new__(Desk)
    desk.runtime = tmp_path / "run"
    unit.wait_line("while on Page.Main page", seconds=20)
    assert Host(desk).state()["scenario"] == "normal-lift"
    wait_for(lambda: desk.value("OrvikLoad") == 500, "the hook block's weight")
    unit.stop()
    assert not (tmp_path / "run" / "hx7.address").exists()
    assert unit.child.returncode == 0


def test_what_is_sent_beside_a_simulator_is_told_and_can_be_held(tmp_path):
    desk = Desk.__new__(Desk)
    desk.runtime, desk.processes, desk.environment = tmp_path / "run", [], {}
    unit = Process([BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--no-orvik"], desk.runtime)
    unit.wait_line("The front panel", seconds=20)
    Host(desk)
    bus = desk.bus()

    def capacity():
        """The first two bytes of the float in the host's next message with operating values."""
        while True:
            sender, data = bus.receive_any()
            if sender == HOST_ID and data[0] == 0 and data[2:4] == b"\x02\x00":
                return data[4:6]

    capacity()  # the simulator sends
    _, errors = desk.succeed(BIN / "hx7", "send", "load=12300", "units=metric")
    assert "overwrites these values at once" in errors and "`hx7 hold load=12300` holds them" in errors
    told = "two stations send the host's frames (18FF00D0)"
    assert len(unit.wait_line(told, unit.err)) == 1
    wait_for(lambda: told in (desk.detail("j1939") or ""), "the health")
    _, out, _ = desk.run(BIN / "unit", "status")
    assert told in out
    for call, status, text in ((["lod=12300"], 2, "did you mean load?"), (["load"], 2, "load needs a value"), ([], 2, "--release"),
                               (["capacity=14400"], 0, ""), (["load=4200"], 0, "")):
        got, out, errors = desk.run(BIN / "hx7", "hold", *call)
        assert got == status and text in errors, (call, errors)
    held = struct.pack(">f", 14400)[:2]
    wait_for(lambda: capacity() == held, "the capacity that is held")
    desk.succeed(BIN / "hx7", "hold", "--release")
    wait_for(lambda: capacity() != held, "the crane's own")
    unit.stop()
    got, _, errors = desk.run(BIN / "hx7", "hold", "load=1")
    assert got == 1 and "no simulator runs" in errors


def test_by_hand_on_the_terminal_with_a_restart(desk, tmp_path):
    pipe = tmp_path / "commands"
    os.mkfifo(pipe)
    host = desk.start("sh", "-c", f"exec '{BIN}/hx7' simulate --config '{CONFIG}' --interactive < '{pipe}'")
    with os.fdopen(os.open(pipe, os.O_RDWR), "w", buffering=1) as terminal:  # O_RDWR does not wait for a reader
        wait_for(lambda: desk.screen.document()["page"] == "Main", "the operating page")
        terminal.write("laod 5000\nhelp\nload 5000\nlanguage french\nstatus\n")
        host.wait_line('"laod" is not an action', host.err)
        host.wait_line("the hook above the ground")
        host.wait_line("base tires, view operating")
        wait_for(lambda: desk.value("OrvikLoad") == 11500, "five tons and the hook block")
        wait_text(desk, "FLÈCHE PRINCIPALE")
        terminal.write("restart\nscenario overlod\n")
        host.wait_line("did you mean overload?", host.err)
        terminal.write("press 1\n")
        wait_text(desk, "INFO 1/4")
    assert host.wait_exit() == 0, "the end of the input ends it"


def test_over_http(desk):
    process = simulate(desk, "--http", "127.0.0.1:0", "--scenario", "normal-lift")
    host = Host(desk)
    wait_for(lambda: host.state()["display"]["file_id"].startswith("Rev."), "the display's answers")
    status, answer = host.request("POST", "/api/controls", json.dumps({"angle": 30, "load": 4000, "swing": -20}))
    assert status == 200, answer
    wait_for(lambda: abs(desk.value("OrvikAngle") - 30) < 0.1 and desk.value("OrvikSwing") == -20, "the boom", 30)
    assert host.state()["scenario"] == "", "who drives by hand ends the scenario"
    host.do("fault angle-sensor")
    wait_for(lambda: host.state()["faults"]["present"] == ["angle-sensor"], "the fault")
    wait_text(desk, "SENSOR FAULT")
    for path, body, headers, expected in [
            ("/api/do", '{"do":"boom angel 45"}', {}, 400), ("/api/do", "no", {}, 400),
            ("/api/do", '{"do":"scenario ../x"}', {}, 400), ("/api/controls", '{"angle":"x"}', {}, 400),
            ("/api/do", '{"do":"stop"}', {"Host": "example.org"}, 403),
            ("/api/do", '{"do":"stop"}', {"Origin": "http://example.org"}, 403),
            ("/api/do", '{"do":"' + "x" * 5000 + '"}', {}, 413), ("/api/nothing", "{}", {}, 404)]:
        status, answer = host.request("POST", path, body, **headers)
        assert status == expected and answer["error"], (path, body, status, answer)
    assert host.request("GET", "/api/state", **{"Host": "example.org"})[0] == 403
    process.stop()
    assert process.child.returncode == 0
    assert not (desk.runtime / "hx7.address").exists()


def test_two_runs_with_the_same_seed_put_the_same_bytes_on_the_bus(make_desk, tmp_path):
    def run(name, seed, orvik, frames):
        log = tmp_path / name
        desk = make_desk("--record", log, orvik=orvik)
        desk.succeed(BIN / "hx7", "simulate", "--config", CONFIG, "--speed", "max", "--seconds-of-crane", "120",
                     "--seed", seed, seconds=90)

        def sent():
            return [line.split()[2] for line in log.read_text().splitlines() if "18FF00D0#" in line]

        wait_for(lambda: len(sent()) >= frames, "the rest of the frames in the record", 30)
        desk.unit.stop()
        return sent()

    first = run("first.log", "3", False, 9000)
    assert first == run("second.log", "3", True, len(first)), "with a display that answers and without one"
    assert first != run("third.log", "4", False, 9000)


@pytest.mark.parametrize("arguments, status, text", [
    (["--list"], 0, "worst-case-traffic"), (["--help"], 0, "two-block-switch"),
    (["--scenario", "overlod"], 2, "did you mean overload?"), (["--scenario", "./none.scenario"], 2, "cannot read"),
    (["--chart", "/none"], 2, "cannot read the load chart"), (["--chart", CONFIG / "generic.xml"], 2, "generic.xml:1:"),
    (["--speed", "0"], 2, "--speed takes max or a factor"), (["--http", "0.0.0.0:80"], 2, "this machine alone"),
    (["--config", "/none"], 2, "there is no folder /none"), (["--seconds-of-crane", "-1"], 2, "--seconds-of-crane"),
    ([], 1, "unit run"),
], ids=name_call)
def test_calls_that_end_at_once(tmp_path, arguments, status, text):
    config = [] if "--config" in arguments else ["--config", CONFIG]
    process = Process([BIN / "hx7", "simulate", *config, *arguments], tmp_path / "run")
    assert process.wait_exit(20) == status, process.out + process.err
    assert text in "\n".join(process.out + process.err)
