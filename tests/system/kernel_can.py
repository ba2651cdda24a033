"""The unit on a kernel's CAN interface, beside candump and cansend. Runs inside the user-mode kernel."""

import subprocess

from desk import Desk, cmd2, cut, wait_for


def cansend(message):
    for frame in cut(message):
        subprocess.run(["cansend", "vcan0", f"18FF00D0#{frame.hex()}"], check=True)


def test_frames_of_cansend_reach_the_screen_and_candump_sees_the_reply():
    desk = Desk("--bus", "socketcan:vcan0")
    try:
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
    except BaseException:
        desk.close(show=True)
        raise
    desk.close()
