"""The programs as a user calls them."""

import os
import pathlib
import re
import shutil
import signal
import struct
import zlib

import pytest

from desk import ADDRESSES, BIN, CONFIG, DEMO_LOG, Desk, Process, name_call, wait_for


def is_whole_png(data):
    at, kinds = 8, []
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        assert zlib.crc32(data[at + 4:at + 8 + length]) == struct.unpack(">I", data[at + 8 + length:at + 12 + length])[0]
        kinds.append(kind)
        at += 12 + length
    return data[:8] == b"\x89PNG\r\n\x1a\n" and kinds[0] == b"IHDR" and kinds[-1] == b"IEND"


def test_a_run_with_application_and_host_shows_a_lift_and_stops_in_order(tmp_path):
    picture, log = tmp_path / "out.png", tmp_path / "bus.log"
    unit = Process([BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--play", DEMO_LOG, "--loop",
                    "--seconds", "8", "--snapshot", picture, "--record", log, "--verbose"], tmp_path / "run")
    unit.wait_line("orvik | Orvik: System Up", seconds=20)
    unit.wait_line("while on Page.Main page", seconds=20)
    assert unit.wait_exit(60) == 0, unit.err
    assert is_whole_png(picture.read_bytes())
    assert "orvik | Orvik: Main EXIT" in unit.out
    lines = log.read_text().splitlines()
    assert len(lines) > 100 and all(re.fullmatch(r"\([0-9]+\.[0-9]{6}\) can0 [0-9A-F]{8}#[0-9A-F]{16}", line) for line in lines)
    assert any("18FF00D2#" in line for line in lines), "the display's replies are recorded too"


@pytest.mark.parametrize("call, status, text", [
    (["unit", "--version"], 0, "1.3"), (["hx7", "--version"], 0, "1.3"), (["unit", "run", "--help"], 0, "--snapshot"),
    (["unit", "run", "--only", "panle"], 2, "did you mean panel?"), (["unit", "run", "--bus", "token"], 2, "token"),
    (["unit", "run", "--http", "0.0.0.0:0", *ADDRESSES[2:], "--no-orvik"], 2, "this machine alone"),
    (["unit", "status"], 1, "run"), (["unit", "db", "list"], 1, "unit run"),
    (["hx7", "simulte"], 2, 'hx7: no command "simulte"; did you mean simulate?'), (["unit", "db", "gt"], 2, "did you mean get?"),
    (["unit", "run", "--secnds", "4"], 2, "no option --secnds; did you mean --seconds?"),
    (["hx7", "send", "radiu=12"], 2, "radius"), (["hx7", "send", "load=12"], 1, "unit run"),
    (["hx7", "play", "/nonexistent.log"], 2, "/nonexistent.log"), (["hx7", "play", ""], 2, "is empty"),
    (["hx7", "watch", "--bus", "can0"], 2, "is not a bus"),
    (["unit", "run", "--socketcand", "here"], 2, "--socketcand here: it has no port"),
    (["unit", "run", "--scenario", "overlod"], 2, "did you mean overload?"),
    (["unit", "run", "--play", CONFIG / "generic.xml"], 2, "holds no frame"),
    (["unit", "run", "--play", "/dev/null"], 2, "holds no frame"), (["unit", "run", "--config", "/etc"], 2, "/etc/generic.xml"),
    (["unit", "run", "--until-done"], 2, "the scenario normal-lift repeats"),
], ids=name_call)
def test_calls_that_end_at_once(tmp_path, call, status, text):
    process = Process([BIN / call[0], *call[1:]], tmp_path / "run")
    assert process.wait_exit(20) == status, process.out + process.err
    assert text in "\n".join(process.out + process.err)


def fake(folder, name, script):
    """The unit with another program beside it, which does what the script says."""
    folder.mkdir()
    for program in ("unit", "orvik", "hx7"):
        if program != name:
            shutil.copy(BIN / program, folder)
    (folder / name).write_text("#!/bin/sh\n" + script)
    (folder / name).chmod(0o755)
    return folder / "unit"


CHECK = 'case "$*" in *--check) exit 0;; esac\n'


@pytest.mark.parametrize("name, script, options, status, reason", [
    ("orvik", "echo going down; kill -SEGV $$", ["--no-host", "--seconds", "60", "--tries", "3"], 1,
     'orvik was killed by signal 11 (Segmentation fault), 3 times, and was given up.*its last lines: "going down"'),
    ("orvik", "exec sleep 60", ["--no-host", "--seconds", "2"], 1, "orvik never came up"),
    ("hx7", CHECK + "sleep 1; echo load is wrong; exit 1", ["--seconds", "60", "--until-done"], 1,
     'hx7 ended with status 1; its last lines: "load is wrong"'),
    ("hx7", CHECK + "sleep 1", ["--until-done"], 0, None),
    ("hx7", CHECK + "kill -INT $PPID; exec sleep 60", ["--seconds", "60"], 3, "interrupted before the end"),
], ids=["crash loop", "never up", "host failed", "host done", "interrupted"])
def test_a_run_with_an_end_says_whether_all_went_well(tmp_path, name, script, options, status, reason):
    program = fake(tmp_path / "bin", name, script)
    unit = Process([program, "run", "--config", CONFIG, *ADDRESSES, *options], tmp_path / "run")
    assert unit.wait_exit(50) == status, unit.err
    assert reason is None or re.search(f"^unit run: {reason}".replace("(Seg", "[(]Seg").replace("fault)", "fault[)]"), unit.err[-1])


def test_a_worker_that_was_silent_fails_the_run(tmp_path):
    program = fake(tmp_path / "bin", "hx7", CHECK + f"while [ ! -e {tmp_path}/done ]; do sleep 0.1; done")
    unit = Process([program, "run", "--config", CONFIG, *ADDRESSES, "--until-done", "--verbose"], tmp_path / "run")

    def all_beat():
        asked = Process([BIN / "unit", "status"], tmp_path / "run")
        return asked.wait_exit(20) == 0 and any("worker Dispatch" in line for line in asked.out)

    wait_for(all_beat, "the heartbeats")
    children = pathlib.Path(f"/proc/{unit.child.pid}/task/{unit.child.pid}/children").read_text().split()
    orvik = next(int(child) for child in children if pathlib.Path(f"/proc/{child}/comm").read_text() == "orvik\n")
    os.kill(orvik, signal.SIGSTOP)
    unit.wait_line("notify: no heartbeat of the application's", unit.err)
    os.kill(orvik, signal.SIGCONT)
    (tmp_path / "done").touch()
    assert unit.wait_exit(50) == 1
    assert unit.err[-1].startswith("unit run: no heartbeat came for a while from the worker ")


def test_the_database_from_the_shell(make_desk):
    desk = make_desk(orvik=False)
    for call, status, text in [(["set", "OrvikLoad", "4200"], 0, ""), (["get", "OrvikLoa"], 0, "4200"),
                               (["get", "OrvikA"], 2, "OrvikAngle"), (["get", "OrvikLaod"], 2, "did you mean OrvikLoad?")]:
        got, out, errors = desk.run(BIN / "unit", "db", *call)
        assert got == status and text in out + errors, (call, out, errors)
    assert desk.value("OrvikLoad") == 4200
    # A service is listed when it has published its state.
    def all_up():
        status, out, _ = desk.run(BIN / "unit", "status")
        return status == 0 and "notify" in out

    wait_for(all_up, "the state of all services")


def test_services_run_in_processes_of_their_own_and_follow_a_new_database(tmp_path):
    desk = Desk.__new__(Desk)
    desk.runtime, processes = tmp_path / "run", {}

    def run(part, line):
        processes[part] = Process([BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--only", part, "--verbose"], desk.runtime)
        processes[part].wait_line(line, seconds=20)

    def send(load):
        sent = Process([BIN / "hx7", "send", f"load={load}"], desk.runtime)
        assert sent.wait_exit() == 0, sent.err
        wait_for(lambda: desk.value("OrvikLoad") == load and desk.screen.document()["variables"]["OrvikLoad"] == load, f"load {load}")

    for services in ["notify", "database", "board,j1939", "screen,panel"]:
        run(services, f"unit: {services.split(',')[-1]} is up")
    run("orvik", "Orvik: System Up")
    send(8800)
    processes["database"].stop(signal.SIGKILL)
    run("database", "unit: database is up")
    processes["orvik"].wait_line("orvik has to start again", processes["orvik"].err)
    processes["orvik"].wait_line("Orvik: System Up", count=2, seconds=20)
    send(9900)


def policies(process):
    """The scheduling policy of each thread, by its name."""
    tasks = pathlib.Path(f"/proc/{process.child.pid}/task").iterdir()
    return {(task / "comm").read_text().strip(): os.sched_getscheduler(int(task.name)) for task in tasks}


def test_real_time_is_set_where_one_line_does_not_say_that_it_is_refused(make_desk):
    desk = make_desk("--realtime", orvik=False, ORVIK_REALTIME="1")
    desk.orvik = desk.start_orvik()
    said = [line for line in desk.unit.err if "--realtime" in line]
    assert len(said) <= 1
    refused = "".join(said)
    raised = os.SCHED_OTHER if "real-time priority" in refused else os.SCHED_FIFO
    for process, urgent, ordinary in ((desk.unit, "notify", "line writer"), (desk.orvik, "Dispatch", "Console")):
        assert (policies(process)[urgent], policies(process)[ordinary]) == (raised, os.SCHED_OTHER), refused
        locked = (pathlib.Path(f"/proc/{process.child.pid}/status")).read_text().split("VmLck:")[1].split()[0]
        assert (int(locked) > 0) == ("locked memory" not in refused)
    slack = pathlib.Path(f"/proc/{desk.unit.child.pid}/timerslack_ns").read_text()
    assert (int(slack) == 1000) == ("exact timers" not in refused)
