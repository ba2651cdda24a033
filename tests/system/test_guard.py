"""Nobody else gets in: web pages, other users of the machine, and what stands in the unit's way at its start."""

import base64
import http.client
import os
import pathlib
import shutil
import socket
import subprocess
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
    wait_for(lambda: desk.get("/api/bus")["received"] == frames, "the frames of two messages")
    wait_for(lambda: desk.counters("j1939")["stations.expelled"] == 1, "the count of the refused station")
