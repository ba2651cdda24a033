"""The front panel answers, and its keys work, whatever its clients and the services that it asks do."""

import concurrent.futures
import contextlib
import json
import shutil
import signal
import socket
import threading
import time

import pytest

import desk as desks
from desk import PATIENCE, wait_for

WAITING = b"8 requests wait for the screen service already"
HANGS = b"the screen service does not answer"


@pytest.fixture
def apart(make_desk):
    return make_desk(apart=True, orvik=False, parts=("notify", "database", "board,j1939", "screen", "panel"))


def connect(desk):
    host, port = desk.address("http").rsplit(":", 1)
    return socket.create_connection((host, int(port)), 10)


@contextlib.contextmanager
def connections(desk, count, dribble=False):
    """Open connections without a whole request. With `dribble`, each sends a byte now and then."""
    with contextlib.ExitStack() as stack:
        sockets = [stack.enter_context(connect(desk)) for _ in range(count)]
        ended = threading.Event()

        def send_bytes():
            while not ended.wait(0.2):
                for each in sockets:
                    with contextlib.suppress(OSError):
                        each.send(b"G")

        if dribble:
            thread = threading.Thread(target=send_bytes)
            thread.start()
            stack.callback(thread.join)
            stack.callback(ended.set)
        yield sockets


@contextlib.contextmanager
def hanging(process):
    process.child.send_signal(signal.SIGSTOP)
    try:
        yield
    finally:
        process.child.send_signal(signal.SIGCONT)


def assert_reachable(desk, rounds=5):
    """Health, and a press and release of a key, each within a second."""
    for _ in range(rounds):
        for method, path, body, statuses in (("GET", "/api/health", None, (200, 503)),
                                             ("POST", "/api/keys/4", '{"down":true}', (200,)),
                                             ("POST", "/api/keys/4", '{"down":false}', (200,))):
            start = time.monotonic()
            status, _ = desk.request(method, path, body)
            assert status in statuses and time.monotonic() - start < PATIENCE, (path, time.monotonic() - start)


@pytest.mark.parametrize("count, dribble", [(40, False), (100, False), (40, True), (100, True)])
def test_connections_without_a_request_hold_nobody_up(apart, count, dribble):
    with connections(apart, count, dribble) as sockets:
        assert_reachable(apart)
        sockets[-1].settimeout(4 * PATIENCE)
        with contextlib.suppress(ConnectionResetError):
            while sockets[-1].recv(1000):  # an answer to half a request may come first
                pass
        assert_reachable(apart, 1)


def test_a_screen_service_that_hangs_holds_up_no_other_request(apart):
    panel = apart.parts["panel"]
    with hanging(apart.parts["screen"]), connections(apart, 40), concurrent.futures.ThreadPoolExecutor(30) as pool:
        answers = [pool.submit(apart.request, "GET", "/api/screen") for _ in range(30)]
        assert_reachable(apart)
        bodies = [answer.result() for answer in answers]
        assert {status for status, _ in bodies} == {503}
        assert all(HANGS in body or WAITING in body for _, body in bodies), bodies
        assert any(HANGS in body for _, body in bodies)
        start = time.monotonic()
        assert all(HANGS in apart.request("GET", path)[1] for path in ("/api/screen", "/screen.png", "/screen.svg") * 7)
        assert time.monotonic() - start < 5 * PATIENCE, "requests wait although the service is known to hang"
    wait_for(lambda: apart.request("GET", "/api/screen")[0] == 200, "the screen", 2)
    with hanging(apart.parts["screen"]), connections(apart, 40), concurrent.futures.ThreadPoolExecutor(8) as pool:
        answers = [pool.submit(apart.request, "GET", "/api/screen") for _ in range(8)]
        panel.child.send_signal(signal.SIGTERM)
        assert panel.wait_exit(2) == 0
        for answer in answers:
            with contextlib.suppress(OSError, desks.http.client.HTTPException):
                answer.result()


def test_a_key_on_a_lease_goes_up_unless_it_is_renewed(apart):
    def post(key, **wanted):
        return apart.request("POST", f"/api/keys/{key}", json.dumps(wanted))[0]

    assert [post(3, down=True, lease=True), post(5, down=True)] == [200, 200]
    start = time.monotonic()
    while time.monotonic() - start < 2.5:  # longer than a lease
        assert post(3, renew=True) == 200
        assert [apart.get("/api/board")["keys"][key - 1] for key in (3, 5)] == [True, True]
    wait_for(lambda: not apart.get("/api/board")["keys"][2], "the key to go up", 2)
    assert [post(3, renew=True), post(5, renew=True)] == [409, 409]
    apart.wait_keys(5)


PARTS = "".join(f'<g id="p{n}">' + f'<g data-part="p{n + 1}"/>' * 10 + "</g>" for n in range(6)) + '<g id="p6"><g/></g>'


@pytest.mark.parametrize("content, parts, problem", [
    ("<g/>" * 200_000, "", "bytes; at most"), ("<g>" * 6_000 + "</g>" * 6_000, "", "more than 5000 elements"),
    ('<g data-part="p0"/>', PARTS, "more than 5000 elements"),
    ("".join(f'<g data-part="p" a="{"x" * 60_000}"/>' for _ in range(3)), '<g id="p"><g class="$a"/><g class="$a"/></g>',
     "with its parts the page has more than"),
], ids=["bytes", "nested", "parts", "values"])
def test_an_oversized_page_is_refused(make_desk, monkeypatch, tmp_path, content, parts, problem):
    folder = tmp_path / "config"
    shutil.copytree(desks.CONFIG, folder)
    monkeypatch.setattr(desks, "CONFIG", folder)
    desk = make_desk(orvik=False)
    for name, more in (("parts", parts), ("engine", content)):
        file = folder / "screen" / f"{name}.svg"
        file.write_text(file.read_text().replace("</svg>", f"{more}</svg>"))
    desk.unit.wait_line(problem, desk.unit.err)
    assert [line for line in desk.unit.err if problem in line and "engine.svg: " in line]
    assert desk.screen()["page"]
    assert desk.unit.stop() == 0
