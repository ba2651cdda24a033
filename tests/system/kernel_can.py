"""The unit on a kernel's CAN interface together with the tools of can-utils. Runs inside the user-mode kernel."""

import socket
import subprocess

import pytest

from desk import BIN, DEMO_LOG, cmd2, cut, wait_for, wait_steady

FRAMES = 3000  # of the demonstration log: 40 seconds of it, played faster than that


@pytest.fixture
def desk(make_desk):
    return make_desk("--bus", "socketcan:vcan0")


def cansend(message):
    for frame in cut(message):
        subprocess.run(["cansend", "vcan0", f"18FF00D0#{frame.hex()}"], check=True, timeout=30)


def test_frames_of_cansend_reach_the_screen_and_candump_sees_the_reply(desk):
    cansend(cmd2(load=34500, radius=7.5))
    wait_for(lambda: desk.value("OrvikLoad") == 34500, "the load", 20)
    dump = desk.start("candump", "-L", "vcan0,18FF00D2:1FFFFFFF", "-n", "2")
    wait_for(lambda: "candump" in open(f"/proc/{dump.child.pid}/cmdline").read(), "candump", 10)
    wait_for(lambda: cansend([7, 3]) or len(dump.out) >= 2, "the reply", 20)
    frames = [line.split()[-1] for line in dump.out[:2]]
    assert frames == ["18FF00D2#0002566973747265", "18FF00D2#016C20FFFFFFFFFF"]

    subprocess.run(["ip", "link", "set", "vcan0", "down"], check=True)
    wait_for(lambda: desk.get("/api/bus")["state"] == "down", "the interface to be missed", 20)
    subprocess.run(["ip", "link", "set", "vcan0", "up"], check=True)
    wait_for(lambda: desk.get("/api/bus")["state"] == "up", "the interface to be back", 20)
    cansend(cmd2(load=56700))
    wait_for(lambda: desk.value("OrvikLoad") == 56700, "the load after the break", 20)


def test_noise_of_cangen_changes_nothing_on_the_screen(desk):
    cansend(cmd2(load=11100))
    wait_for(lambda: desk.value("OrvikLoad") == 11100, "the load", 20)
    for identifiers in (["-e"], []):  # 29 and 11 bits
        noise = desk.start("cangen", "vcan0", "-g", "2", *identifiers)
        for load in range(12000, 12300, 100):
            cansend(cmd2(load=load))
            wait_for(lambda: desk.value("OrvikLoad") == load, "the load beside the noise", 20)
        noise.stop()
    wait_for(lambda: desk.request("GET", "/api/health")[0] == 200, "a unit that is well", 20)


COUNTER = "OrvikTotalHX7Commands"  # counts on while commands are left to be shown


def screen_of(desk):
    def state():
        screen = desk.screen.document()
        return screen["widgets"] | {name: value for name, value in screen["variables"].items()
                                    if name.startswith("Orvik")}

    shown = wait_steady(state, "the screen", 2, 60)
    del shown[COUNTER]
    return shown


def received(desk):
    return desk.counters("j1939")["received"]


def test_canplayer_and_hx7_leave_the_same_screen_of_the_same_log(desk, tmp_path):
    log = tmp_path / "demo.log"
    log.write_text("".join(open(DEMO_LOG).readlines()[:FRAMES]))
    recorded = tmp_path / "recorded.log"
    before = received(desk)
    recorder = desk.start(BIN / "hx7", "record", "--bus", "socketcan:vcan0", recorded)
    wait_for(lambda: recorded.exists() and cansend([1]) is None and recorded.stat().st_size, "the recorder", 20)
    subprocess.run(["canplayer", "-t", "-g", "1", "-I", log, "vcan0=can0"], check=True, timeout=120)
    wait_for(lambda: received(desk) > before + FRAMES, "all of it at the unit", 60)
    of_canplayer = screen_of(desk)
    wait_for(lambda: recorded.read_text().count("18FF00D0#") > FRAMES, "all of it in the record", 20)
    recorder.stop()
    # After another screen, hx7 plays the recording that it made of canplayer's frames.
    status, differences, errors = desk.run(BIN / "hx7", "diff", log, recorded)
    assert status == 0, (differences, errors, recorder.err)
    cansend([7, 13, 4])
    cansend(cmd2(load=77700))
    wait_for(lambda: desk.value("OrvikLoad") == 77700 and desk.value("OrvikLanguage") == 4, "another screen", 20)
    cansend([7, 13, 0])
    desk.succeed(BIN / "hx7", "play", "--bus", "socketcan:vcan0", "--speed", "20", recorded, seconds=60)
    of_hx7 = screen_of(desk)
    assert {name: (value, of_hx7[name]) for name, value in of_canplayer.items() if of_hx7[name] != value} == {}


def test_multi_packet_messages_go_through_the_kernels_j1939_and_past_the_display(desk):
    """A broadcast of 100 bytes each way, with a station of the kernel's own."""
    peer = socket.socket(socket.PF_CAN, socket.SOCK_DGRAM, socket.CAN_J1939)
    peer.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
    peer.bind(("vcan0", socket.J1939_NO_NAME, socket.J1939_NO_PGN, 0x80))
    peer.settimeout(30)
    cansend(cmd2(load=22200))
    data = bytes(range(100))
    listener = desk.start(BIN / "j1939_client", "listen", "18FF4180")
    listener.wait_line("listening", seconds=20)
    peer.sendto(data, ("vcan0", socket.J1939_NO_NAME, 0xFF41, socket.J1939_NO_ADDR))
    listener.wait_line(data.hex(), seconds=20)
    assert desk.run(BIN / "j1939_client", "send", "18FF42D2", data[::-1].hex())[0] == 0
    address = ()
    while address[3:] != (0xD2,):  # the socket also receives its own broadcast
        received, address = peer.recvfrom(2000)
    assert (received, address[2]) == (data[::-1], 0xFF42)
    assert desk.value("OrvikLoad") == 22200
    peer.close()
