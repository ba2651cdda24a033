"""The screen goes on while a console is not read, and while the log of the bus cannot be written."""

import contextlib
import fcntl
import os
import pathlib
import re
import resource
import signal
import struct
import subprocess
import time

import pytest

from desk import ADDRESSES, BIN, CONFIG, PATIENCE, cmd2, wait_for

SMALLEST_PIPE = 4096
BAD_FRAMES = 600
LOG_LINE = re.compile(r"\(\d+\.\d{6}\) \S+ [0-9A-F]{8}#[0-9A-F]*")


@contextlib.contextmanager
def full_pipe():
    """A pipe that holds little and is never read."""
    reading, writing = os.pipe()
    fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, SMALLEST_PIPE)
    yield writing
    os.close(reading)


@contextlib.contextmanager
def halted_terminal():
    """A terminal in which somebody has pressed Ctrl-S."""
    keyboard, terminal = os.openpty()
    os.write(keyboard, b"\x13")
    yield terminal
    os.close(keyboard)


@contextlib.contextmanager
def unread(console, runtime, *arguments):
    """A process that prints to a console which nobody reads."""
    env = dict(os.environ, ORVIK_RUNTIME_DIR=str(runtime), ORVIK_ROOT=str(runtime / "root"))
    with console() as descriptor:
        child = subprocess.Popen([str(a) for a in arguments], stdin=subprocess.DEVNULL, stdout=descriptor,
                                 stderr=descriptor, env=env)
        os.close(descriptor)
        try:
            yield child
        finally:
            child.kill()
            child.wait()


def start_unread(desk, program, console):
    if program == "orvik":
        desk.start_unit()
        return unread(console, desk.runtime, BIN / "orvik", CONFIG / "generic.xml")
    return unread(console, desk.runtime, BIN / "unit", "run", "--no-host", "--config", CONFIG, *ADDRESSES)


def wait_load(desk, load, seconds=10):
    wait_for(lambda: desk.widget("orvikTextWidgetLoad") == f"{load:7,}", f"the load {load}", seconds)


@pytest.mark.parametrize("console", [full_pipe, halted_terminal])
@pytest.mark.parametrize("program,request_to_end", [("orvik", signal.SIGUSR1), ("unit", signal.SIGTERM)])
def test_a_console_that_nobody_reads_stops_nothing(make_desk, program, request_to_end, console):
    desk = make_desk(orvik=False, apart=True, parts=())
    with start_unread(desk, program, console) as child:
        wait_for(lambda: (desk.runtime / "http.address").exists() and desk.request("GET", "/api/screen")[0] == 200,
                 "the panel", 20)
        bus = desk.go_to("Main")
        for step in range(BAD_FRAMES):
            bus.send_message([7, 15, 200 - step % 50])  # each prints a line
        bus.send_message(cmd2(load=23500))
        wait_load(desk, 23500, 2)
        child.send_signal(request_to_end)
        assert child.wait(20 * PATIENCE) == 0


def send_loads(desk, bus, load, frames=300):
    for step in range(frames):
        bus.send_message(cmd2(load=100 * step))
        bus.pass_over()
    bus.send_message(cmd2(load=load))
    wait_load(desk, load)


def test_a_record_goes_to_a_fifo_when_it_is_read_and_holds_up_nothing_before(make_desk, tmp_path):
    fifo = tmp_path / "record"
    os.mkfifo(fifo)
    desk = make_desk("--record", fifo)
    bus = desk.go_to("Main")
    send_loads(desk, bus, 23500)
    wait_for(lambda: desk.detail("j1939") == f"the record {fifo} is not written: nobody reads it", "the detail")
    with open(fifo) as record:
        assert LOG_LINE.fullmatch(record.readline().rstrip("\n"))
        send_loads(desk, bus, 27600)  # more than the pipe holds
        desk.unit.child.send_signal(signal.SIGTERM)
        assert desk.unit.wait_exit() == 0


def test_a_record_on_a_full_disk_goes_on_when_there_is_room_again(make_desk, tmp_path):
    file = tmp_path / "bus.log"
    desk = make_desk("--record", file)
    bus = desk.go_to("Main")
    process = desk.unit.child.pid
    before = resource.prlimit(process, resource.RLIMIT_FSIZE)
    # The kernel writes a part of the line that reaches the limit.
    resource.prlimit(process, resource.RLIMIT_FSIZE, (file.stat().st_size + 1000, before[1]))
    send_loads(desk, bus, 23500)
    wait_for(lambda: (desk.detail("j1939") or "").startswith(f"the record {file} is not written: "), "the detail")
    assert desk.get("/api/health")["up"]
    resource.prlimit(process, resource.RLIMIT_FSIZE, before)
    desk.unit.wait_line(f"the record {file} is written again; 0 lines are lost", desk.unit.err)
    wait_for(lambda: desk.detail("j1939") == "", "no problem")
    desk.orvik.stop(signal.SIGKILL)
    desk.unit.stop()
    lines = file.read_text().splitlines()
    assert [line for line in lines if not LOG_LINE.fullmatch(line)] == []
    assert sum(" 18FF00D0#" in line for line in lines) >= 300 * 5


def test_a_database_lock_that_is_never_given_back_stops_nothing(make_desk):
    desk = make_desk(apart=True)
    desk.go_to("Main")
    database = desk.parts["database"]
    mapped = pathlib.Path(f"/proc/{database.child.pid}/maps").read_text().split()
    database.child.send_signal(signal.SIGSTOP)  # it would make the database anew
    with open(next(word for word in mapped if word.endswith("-DBSHM")), "r+b") as file:
        file.write(struct.pack("<I", os.getpid()))  # the holder lives
    for path in ("/api/database", "/api/screen", "/api/health"):
        start = time.monotonic()
        assert desk.request("GET", path)[0] in (200, 503) and time.monotonic() - start < 2 * PATIENCE, path
    status, _, errors = desk.run(BIN / "unit", "db", "set", "OrvikLoad", "5")
    assert status == 1 and "unit db: OrvikLoad is not written: a process keeps the database's lock" in errors
    desk.orvik.child.send_signal(signal.SIGUSR1)
    assert desk.orvik.wait_exit(8) == 0
    database.child.send_signal(signal.SIGCONT)
    for part in reversed(desk.parts.values()):
        part.child.send_signal(signal.SIGTERM)
        assert part.wait_exit(4) == 0, part.name


def test_files_that_cannot_be_written_hold_up_no_values(make_desk):
    desk = make_desk(apart=True, parts=(), orvik=False)
    desk.runtime.mkdir(0o700)
    for name in ("j1939.filters", "screen.page"):
        for fifo in (name, name + ".new"):  # opened for writing, it stalls as a disk that does not answer
            os.mkfifo(desk.runtime / fifo, 0o600)
    unit = desk.start_unit()
    desk.start_orvik()
    desk.go_to("Main").send_message(cmd2(load=27600))
    wait_load(desk, 27600)
    unit.child.send_signal(signal.SIGTERM)
    assert unit.wait_exit(4) == 0
