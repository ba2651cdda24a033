"""Nobody else gets in: web pages, other users of the machine, and what stands in the unit's way at its start."""

import base64
import contextlib
import http.client
import os
import pathlib
import re
import shutil
import signal
import socket
import tempfile

import pytest

from desk import ADDRESSES, BIN, CONFIG, Process, cmd2, cut, wait_for

DOWN = '{"down":true}'
ELSEWHERE = "http://elsewhere.example"
PARTS = (b"--x\r\nContent-Disposition: form-data; name=\"down\"\r\n\r\ntrue\r\n--x--\r\n",
         {"Content-Type": "multipart/form-data; boundary=x"})


def answer(desk, method, path, body=None, headers=None):
    """Status and headers of an answer; its body is not read, because that of a stream has no end."""
    connection = http.client.HTTPConnection(desk.address("http"), timeout=20)
    try:
        connection.request(method, path, body, headers or {})
        response = connection.getresponse()
        return response.status, {name.lower() for name, _ in response.getheaders()}
    finally:
        connection.close()


def test_the_panel_serves_programs_and_its_own_pages_alone(make_desk):
    desk = make_desk(orvik=False)
    own = f"http://{desk.address('http')}"
    foreign = [{"Host": "elsewhere.example"}, {"Host": "127.0.0.1.elsewhere.example:8740"}, {"Origin": ELSEWHERE},
               {"Origin": "null"}, {"Sec-Fetch-Site": "cross-site"}, {"Sec-Fetch-Site": "same-site"},
               {"Origin": own, "Sec-Fetch-Site": "cross-site"}]
    cases = [(method, path, DOWN if method == "POST" else None, headers, 403) for headers in foreign
             for method, path in [("GET", "/api/screen"), ("GET", "/api/stream"), ("GET", "/screen.png"), ("HEAD", "/"),
                                  ("OPTIONS", "/api/keys/1"), ("POST", "/api/keys/1"), ("POST", "/api/host/do")]]
    cases += [("GET", "/api/stream", None, {"Sec-Fetch-Site": "cross-site", "Sec-Fetch-Mode": "navigate"}, 403),
              ("GET", "/", None, {"Sec-Fetch-Site": "cross-site", "Sec-Fetch-Mode": "navigate"}, 200),
              ("POST", "/api/keys/1", *PARTS, 415), ("POST", "/api/host/do", *PARTS, 415),
              ("GET", "/api/stream", None, {"Sec-Fetch-Site": "same-origin"}, 200), ("GET", "/api/screen", None, {}, 200)]
    for method, path, body, headers, status in cases:
        got, names = answer(desk, method, path, body, headers)
        assert got == status, (method, path, headers)
        assert not any(name.startswith("access-control") for name in names), (method, path, headers)
        assert "cross-origin-resource-policy" in names, (method, path, headers)
    desk.wait_keys()
    assert answer(desk, "POST", "/api/keys/1", DOWN, {"Origin": own, "Sec-Fetch-Site": "same-origin"})[0] == 200
    desk.wait_keys(1)


def test_a_bus_with_a_token_serves_its_holders_and_this_users_tools(make_desk, tmp_path):
    token = tmp_path / "bus.token"
    token.write_text(base64.b64encode(os.urandom(24)).decode() + "\n")
    token.chmod(0o644)
    refused = Process([BIN / "unit", "run", "--no-orvik", "--no-host", "--config", CONFIG, *ADDRESSES, "--bus-token", token],
                      tmp_path / "run")
    assert refused.wait_exit() == 1 and "open to other users" in refused.err[-1]
    token.chmod(0o600)
    desk = make_desk("--bus-token", token, orvik=False)
    send = [BIN / "hx7", "send", "load=12300", "--bus"]
    over_tcp = "socketcand:" + desk.address("socketcand")
    assert (desk.runtime / "bus.socket").stat().st_mode & 0o777 == 0o600
    desk.succeed(*send, "local")
    status, _, errors = desk.run(*send, over_tcp)
    assert status == 1 and "ORVIK_BUS_TOKEN" in errors
    desk.environment["ORVIK_BUS_TOKEN"] = str(token)
    desk.succeed(*send, over_tcp)
    frames = 2 * len(cut(cmd2()))
    wait_for(lambda: desk.get("/api/bus").get("received") == frames, "the frames of two messages")
    wait_for(lambda: desk.counters("j1939")["stations.expelled"] == 1, "the count of the refused station")


# ---- Other users of the machine

NOBODY = 65534
# A superuser may remove what others made; so another user runs the unit where the tests run as the superuser.
AS_USER = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"] if os.geteuid() == 0 else []


def run_unit(runtime, *options, prefix=()):
    return Process([*prefix, BIN / "unit", "run", "--no-orvik", "--no-host", "--config", CONFIG, *ADDRESSES, *options], runtime)


@pytest.fixture
def folder():
    """A folder of the user who runs the unit."""
    path = pathlib.Path(tempfile.mkdtemp(prefix="orvik-guard-"))
    if AS_USER:
        os.chown(path, NOBODY, NOBODY)
    yield path
    shutil.rmtree(path)


def give_away(path):
    if AS_USER:
        path.mkdir(0o700)
        os.chown(path, 1, 1)
        return path
    return pathlib.Path("/usr")


def within(path, mode):
    path.mkdir()
    path.chmod(mode)
    (path / "run").mkdir(0o700)
    return path / "run"


def make_folder(path, mode):
    path.mkdir()
    path.chmod(mode)
    return path


def make_link(path):
    (path.parent / "behind").mkdir(0o700)
    path.symlink_to(path.parent / "behind")
    return path


@pytest.mark.parametrize("make, text", [
    (lambda path: make_folder(path, 0o777), "open to other users (mode 0777)"),
    (lambda path: make_folder(path, 0o750), "chmod 0700"),
    (make_link, "is a symbolic link"), (lambda path: pathlib.Path(f"{make_link(path)}/"), "is a symbolic link"),
    (lambda path: path.write_text("") and path or path, "is not a directory"),
    (give_away, "belongs to another user"), (lambda path: within(path, 0o777), "can be replaced by other users"),
    (lambda path: within(path, 0o1777), None),
], ids=["open", "readable", "link", "link/", "file", "foreign", "in an open folder", "in a sticky folder"])
def test_a_runtime_directory_that_others_could_reach_is_refused(tmp_path, make, text):
    runtime = make(tmp_path / "run")
    unit = run_unit(runtime, "--only", "notify")
    if text is None:
        unit.wait_line("notify is up")
        assert unit.stop() == 0
        return
    assert unit.wait_exit() == 2
    assert text in unit.err[-1] and "ORVIK_RUNTIME_DIR" in unit.err[-1]
    for call in (["unit", "status"], ["unit", "screen"], ["hx7", "send", "load=1"]):
        refused = Process([BIN / call[0], *call[1:]], runtime)
        assert refused.wait_exit() == 2 and text in refused.err[-1], (call, refused.err)


def shared_object(runtime, name):
    value = 0xCBF29CE484222325
    for byte in str(runtime.resolve()).encode():
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return pathlib.Path(f"/dev/shm/orvik-{value:016x}-{name}")


@pytest.mark.parametrize("name", ["DBSHM", "OrvikBoard"])
def test_a_name_in_shared_memory_that_another_user_took_is_reported(folder, name):
    taken = shared_object(folder, name)
    if AS_USER:
        taken.write_bytes(b"x" * 100_000)
        taken.chmod(0o666)
    else:
        taken.mkdir()
    try:
        unit = run_unit(folder, "--only", "notify,database,board", prefix=AS_USER)
        assert unit.wait_exit() == 1
        assert str(taken) in unit.err[-1] and "in the way" in unit.err[-1], unit.err
    finally:
        taken.unlink() if AS_USER else taken.rmdir()
    taken.write_bytes(b"x" * 100_000)  # of the same user, as a unit that was killed leaves it
    if AS_USER:
        os.chown(taken, NOBODY, NOBODY)
    unit = run_unit(folder, "--only", "notify,database,board", prefix=AS_USER)
    unit.wait_line("board is up")
    assert unit.stop() == 0 and not taken.exists()


def test_what_the_programs_make_is_for_this_user_alone(make_desk):
    desk = make_desk()
    recorder = desk.start(BIN / "hx7", "record", desk.runtime / "bus.log")
    wait_for(lambda: (desk.runtime / "bus.log").exists(), "the log")
    for process in (desk.unit, desk.orvik, recorder):
        status = pathlib.Path(f"/proc/{process.child.pid}/status").read_text()
        assert "NoNewPrivs:\t1" in status, process.name
        assert ("Seccomp:\t2" in status) == (process is not desk.orvik), process.name  # it has that of the unit that starts it
    made = [*desk.runtime.iterdir(), *map(lambda name: shared_object(desk.runtime, name), ("DBSHM", "OrvikBoard"))]
    assert len(made) > 10
    open_to_others = [str(path) for path in made if path.lstat().st_mode & 0o077]
    assert not open_to_others


def seccomp_of(process):
    with contextlib.suppress(FileNotFoundError):
        status = pathlib.Path(f"/proc/{process}/status").read_text()
        return [int(each) for each in re.findall(r"^Seccomp(?:_filters)?:\t(\d+)$", status, re.MULTILINE)]
    return None


def test_readers_of_foreign_files_have_given_up_their_rights(tmp_path):
    fifo = tmp_path / "foreign"
    os.mkfifo(fifo)
    for command in (["unit", "replay", fifo], ["hx7", "diff", fifo, fifo], ["hx7", "watch", fifo]):
        process = Process([BIN / command[0], *command[1:]], tmp_path / "run")
        reader = process.child.pid
        if command[1] == "replay":
            children = pathlib.Path(f"/proc/{reader}/task/{reader}/children")
            reader = wait_for(lambda: children.read_text().split(), "the reader of the bundle")[0]
        filters = 1 + (command[1] == "replay")
        wait_for(lambda: seccomp_of(reader) == [2, filters], f"{command[1]} with its filter")
        process.child.send_signal(signal.SIGTERM)
        process.wait_exit(2)
        wait_for(lambda: seccomp_of(reader) is None, "the end of the reader")


def test_the_display_runs_while_another_program_holds_the_panels_port(tmp_path):
    with socket.create_server(("127.0.0.1", 0)) as holder:
        address = "127.0.0.1:%d" % holder.getsockname()[1]
        unit = Process([BIN / "unit", "run", "--verbose", "--no-host", "--config", CONFIG, *ADDRESSES[2:], "--http", address], tmp_path / "run")
        unit.wait_line("Orvik: System Up", seconds=20)
        said = [line for line in unit.err if address in line]
        assert len(said) == 1 and "trying again" in said[0], unit.err

        def down():
            status = Process([BIN / "unit", "status"], tmp_path / "run")
            assert status.wait_exit() == 1
            states = {line.split()[0]: line.split()[1] for line in status.out}
            return states if "panel" in states and "screen" in states else None

        states = wait_for(down, "the states of the services")
        assert (states["panel"], states["screen"]) == ("DOWN", "up"), states
    unit.wait_line(f"panel: listens now at http://{address}/")
    connection = http.client.HTTPConnection(address, timeout=20)
    connection.request("GET", "/api/screen")
    assert connection.getresponse().status == 200
    assert unit.stop() == 0
