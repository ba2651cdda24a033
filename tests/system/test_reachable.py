"""The front panel answers, and its keys work, whatever its clients and the services that it asks do."""

import concurrent.futures
import contextlib
import http.client
import json
import os
import shutil
import signal
import socket
import struct
import threading
import time
import zlib

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


@pytest.mark.parametrize("dribble", [False, True])
def test_connections_without_a_request_hold_nobody_up(apart, dribble):
    with connections(apart, 100, dribble) as sockets:
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
            with contextlib.suppress(OSError, http.client.HTTPException):
                answer.result()


def test_a_host_simulator_that_hangs_does_not_hold_up_the_stop(apart):
    host = apart.start(desks.BIN / "hx7", "simulate", "--http", "127.0.0.1:0")
    wait_for(lambda: apart.request("GET", "/api/host/state")[0] == 200, "the host simulator")
    with hanging(host), concurrent.futures.ThreadPoolExecutor(9) as pool:
        answers = [pool.submit(apart.request, "GET", "/api/host/state") for _ in range(9)]
        wait_for(lambda: any(answer.done() and b"wait for the host" in answer.result()[1] for answer in answers),
                 "8 requests to wait, and the ninth to be refused")
        apart.parts["panel"].child.send_signal(signal.SIGTERM)
        assert apart.parts["panel"].wait_exit(1) == 0
        for answer in answers:
            with contextlib.suppress(OSError, http.client.HTTPException):
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
LONG = "x" * 60_000


ENGINE, PALETTE, WORDS = ("screen/engine.svg", "</svg>"), ("screen/palette.xml", "</palette>"), ("words/en.xml", "</words>")


@pytest.mark.parametrize("file, content, parts, problem", [
    (ENGINE, "<g/>" * 10_000_000, "", "bytes; at most"), (ENGINE, "<text>1</text>" * 10_000, "", "more than 5000 elements"),
    (ENGINE, "<g>" * 6_000 + "</g>" * 6_000, "", "more than 5000 elements"),
    (ENGINE, '<g data-part="p0"/>', PARTS, "more than 5000 elements"),
    (ENGINE, "".join(f'<g data-part="p" a="{LONG}"/>' for _ in range(3)),
     '<g id="p"><g class="$a"/><g class="$a"/></g>', "with its parts the page has more than"),
    (PALETTE, f'<colour name="long" day="{LONG}" night="{LONG}"/>', "", "the colour long has more than"),
    (WORDS, f'<word key="panel.long">{LONG}</word>', "", "the word panel.long has more than"),
], ids=["bytes", "texts", "nested", "parts", "values", "colour", "word"])
def test_an_oversized_design_is_refused(make_desk, monkeypatch, tmp_path, file, content, parts, problem):
    folder = tmp_path / "config"
    shutil.copytree(desks.CONFIG, folder)
    monkeypatch.setattr(desks, "CONFIG", folder)
    desk = make_desk(orvik=False)
    os.mkfifo(folder / "screen/fifo.svg")
    for name, end, more in (("screen/parts.svg", "</svg>", parts), (*file, content)):
        changed = folder / name
        changed.write_text(changed.read_text().replace(end, f"{more}{end}"))
    desk.unit.wait_line(problem, desk.unit.err)
    assert [line for line in desk.unit.err if problem in line and file[0] in line]
    assert_reachable(desk, 1)
    assert desk.screen.document()["page"]
    desk.unit.child.send_signal(signal.SIGTERM)
    assert desk.unit.wait_exit(3) == 0


def test_a_page_that_takes_long_to_be_drawn_holds_up_the_picture_alone(make_desk, monkeypatch, tmp_path):
    folder = tmp_path / "config"
    shutil.copytree(desks.CONFIG, folder)
    monkeypatch.setattr(desks, "CONFIG", folder)
    slow = '<g id="u0"><rect width="600" height="400" opacity="0.1"/></g>' + "".join(
        f'<g id="u{n + 1}">' + f'<use href="#u{n}"/>' * 10 + "</g>" for n in range(5))
    splash = folder / "screen/splash.svg"
    splash.write_text(splash.read_text().replace("</svg>", f"{slow}</svg>"))
    desk = make_desk(orvik=False)
    assert desk.request("GET", "/screen.png")[0] == 503
    assert_reachable(desk, 1)
    assert desk.screen.document()["page"] == "Splash"
    desk.unit.child.send_signal(signal.SIGTERM)
    assert desk.unit.wait_exit(3) == 0


def png(width, height, size):
    """A picture whose file has `size` bytes."""
    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    picture = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)) +
               chunk(b"IDAT", zlib.compress((b"\0" + b"\xff" * width) * height)) + chunk(b"IEND", b""))
    return picture[:-12] + chunk(b"teSt", bytes(size - len(picture) - 12)) + picture[-12:]


@pytest.mark.parametrize("width, size", [(40, 380_000), (4096, 100_000)], ids=["bytes", "pixels"])
def test_oversized_pictures_are_left_out(make_desk, width, size):
    desk = make_desk(orvik=False)
    folder = desk.runtime / "root/fs/etfs/app/orvik"
    for name in ("Boom", "Swing"):
        (folder / f"{name}.png").write_bytes(png(width, 1000, size))
    desk.orvik = desk.start_orvik()
    bus = desk.go_to("Main")
    desk.move_to("Dials", bus)
    desk.unit.wait_line(".png is left out", desk.unit.err)
    assert_reachable(desk, 1)
    wait_for(lambda: b"picture-1" in desk.request("GET", "/screen.svg")[1], "one of the pictures")
    desk.unit.child.send_signal(signal.SIGTERM)
    assert desk.unit.wait_exit(3) == 0
