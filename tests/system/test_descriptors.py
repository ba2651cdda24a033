"""With too few file descriptors a program says so and ends; used up, they keep nothing from stopping."""

import contextlib
import os
import pathlib
import re
import resource
import signal
import socket
import subprocess
import time

import pytest

from desk import ADDRESSES, BIN, CONFIG, PATIENCE, cmd2, wait_for

SHORT = re.compile(r"file descriptors are short: (\d+) are allowed and (\d+) are needed; raise the limit")
RUN = [BIN / "unit", "run", "--verbose", "--no-host", "--config", CONFIG, *ADDRESSES]


def limited(limit, *arguments):
    return ["prlimit", f"--nofile={limit}:{limit}", *arguments]


def shortage(desk, limit, *arguments):
    """What a program that starts with this limit says that it needs."""
    environment = dict(os.environ, ORVIK_RUNTIME_DIR=str(desk.runtime))
    ended = subprocess.run(limited(limit, *map(str, arguments)), env=environment, capture_output=True, text=True,
                           timeout=10 * PATIENCE, check=False)
    said = SHORT.search(ended.stderr)
    assert said and ended.returncode == (1 if pathlib.Path(arguments[0]).name == "orvik" else 2), (limit, ended)
    assert int(said[1]) == limit
    return int(said[2])


def use_up(process):
    """No descriptor is left: the process has the numbers up to the highest it uses, and all below are open."""
    names = [int(name) for name in os.listdir(f"/proc/{process.child.pid}/fd")]
    lowest_free = min(set(range(max(names) + 2)) - set(names))
    _, most = resource.prlimit(process.child.pid, resource.RLIMIT_NOFILE)
    return resource.prlimit(process.child.pid, resource.RLIMIT_NOFILE, (lowest_free, most))


@pytest.mark.parametrize("arguments", [[BIN / "orvik", CONFIG / "generic.xml"], RUN], ids=["orvik", "unit"])
def test_a_start_with_too_few_descriptors_says_so_and_ends(make_desk, arguments):
    desk = make_desk(apart=True, parts=(), orvik=False)
    needed = {shortage(desk, limit, *arguments) for limit in range(16, 120, 8)}
    assert len(needed) == 1
    assert shortage(desk, needed.pop() - 1, *arguments)


def test_programs_without_a_free_descriptor_stop(make_desk):
    desk = make_desk()
    desk.go_to("Main")
    for process, number in ((desk.orvik, signal.SIGUSR1), (desk.unit, signal.SIGTERM)):
        use_up(process)
        process.child.send_signal(number)
        assert process.wait_exit(8) == 0


def test_an_application_that_found_no_manager_for_want_of_descriptors_is_started_again(make_desk):
    desk = make_desk(apart=True, orvik=False)
    before = use_up(desk.parts["notify"])
    keeper = desk.start(BIN / "unit", "run", "--config", CONFIG, "--only", "orvik", "--verbose")
    keeper.wait_line("orvik has to start again", keeper.err)
    resource.prlimit(desk.parts["notify"].child.pid, resource.RLIMIT_NOFILE, before)
    desk.go_to("Main").send_message(cmd2(load=27600))
    wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 27,600", "the load", 4)


def test_without_a_descriptor_to_look_with_no_shared_object_counts_as_damaged(make_desk):
    desk = make_desk()
    desk.go_to("Main")
    before = use_up(desk.unit)
    time.sleep(1)  # four looks at each object
    resource.prlimit(desk.unit.child.pid, resource.RLIMIT_NOFILE, before)
    assert [desk.counters(service)["made"] for service in ("database", "board")] == [1, 1]


def test_connections_from_outside_leave_the_descriptors_that_the_unit_needs(make_desk):
    desk = make_desk(apart=True, parts=(), orvik=False)
    unit = desk.start(*limited(shortage(desk, 100, *RUN), *RUN))
    unit.wait_line("Orvik: System Up", seconds=20)
    bus = desk.go_to("Main")
    with contextlib.ExitStack() as stack:
        for name, count in (("http", 300), ("socketcand", 100)):
            host, port = desk.address(name).rsplit(":", 1)
            for _ in range(count):
                connection = stack.enter_context(socket.create_connection((host, int(port)), 10))
                connection.send(b"G" if name == "http" else b"")
        children = pathlib.Path(f"/proc/{unit.child.pid}/task/{unit.child.pid}/children").read_text().split()
        os.kill(int(children[0]), signal.SIGKILL)
        unit.wait_line("Orvik: System Up", count=2, seconds=20)
        wait_for(lambda: desk.request("GET", "/api/health")[0] == 200, "all to be up")
        desk.go_to("Main", bus).send_message(cmd2(load=27600))
        wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 27,600", "the load")
        unit.child.send_signal(signal.SIGTERM)
        assert unit.wait_exit(10) == 0
