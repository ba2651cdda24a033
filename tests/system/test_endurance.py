"""Load and bad input: every message is counted, memory does not grow, and all processes keep running."""

import os
import socket

from desk import BIN, HOST_ID, PATIENCE, cmd2, cut, wait_for

SANITIZED = PATIENCE > 1
ROOM_OF_QUEUES = 12_000_000  # the bound of a subscriber's queue, in bytes
MESSAGES = 10_000 if SANITIZED else 50_000


def resident(process):
    with open(f"/proc/{process.child.pid}/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def write_log(path, messages):
    with open(path, "w") as log:
        for i, message in enumerate(messages):
            for frame in cut(message):
                log.write(f"({1700000000 + i * 0.01:.6f}) can0 {HOST_ID:08X}#{frame.hex().upper()}\n")


def total_commands(desk):
    return desk.value("OrvikTotalHX7Commands") or 0


def test_every_message_of_a_log_at_full_speed_is_counted(desk, tmp_path):
    desk.go_to("Main").close()
    log = tmp_path / "load.log"
    write_log(log, (cmd2(load=100 * (i % 9000)) for i in range(MESSAGES // 10)))
    sizes = []
    for _ in range(10):
        before = total_commands(desk)
        desk.succeed(BIN / "hx7", "play", log, "--speed", "max", seconds=240)
        wait_for(lambda: total_commands(desk) == before + MESSAGES // 10, f"{MESSAGES // 10} messages more than {before}", 60)
        sizes.append((resident(desk.orvik), resident(desk.unit)))
    if not SANITIZED:
        for early, late in zip(sizes[1], sizes[-1]):
            assert late < early + ROOM_OF_QUEUES, f"memory grows: {sizes}"


def test_malformed_requests_to_the_panel_are_answered(desk):
    host, port = desk.address("http").rsplit(":", 1)
    for method, path, body, headers, status in [
        ("GET", "/nothing", None, {}, 404), ("POST", "/api/keys/9", b'{"down":true}', {}, 404),
        ("POST", "/api/keys/1", b"{", {}, 400), ("POST", "/api/keys/1", b'{"down":7}', {}, 400),
        ("POST", "/api/keys/1", b'{"down":true}', {"Origin": "http://elsewhere.example"}, 403),
        ("POST", "/api/keys/1", b"x" * 3_000_000, {}, 413),
    ]:
        assert desk.request(method, path, body, headers)[0] == status, (method, path)
    for noise in [b"\0" * 100, b"GET " + b"/" * 100_000 + b" HTTP/1.1\r\n\r\n", b"POST /api/keys/1 HTTP/1.1\r\nContent-Length: -5\r\n\r\n"]:
        with socket.create_connection((host, int(port)), 5) as connection:
            connection.sendall(noise)
            connection.shutdown(socket.SHUT_WR)
            connection.settimeout(10)
            try:
                while connection.recv(65536):
                    pass
            except ConnectionResetError:
                pass
    assert desk.get("/api/screen")["page"]
