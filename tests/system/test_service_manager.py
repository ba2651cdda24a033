"""What systemd is told by a part that it has started: that it is ready, that it lives, and which of its threads hangs."""

import contextlib
import socket

from desk import ADDRESSES, BIN, CONFIG, PATIENCE, Process, frozen_thread


def test_the_watchdog_is_fed_until_a_thread_hangs_and_again_when_it_goes_on(tmp_path):
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as systemd:
        systemd.bind(str(tmp_path / "notify"))

        def wait_told(text):
            systemd.settimeout(20 * PATIENCE)
            while not (told := systemd.recv(4096).decode()).startswith(text):
                pass
            return told

        panel = Process([BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--only", "panel"], tmp_path / "run",
                        NOTIFY_SOCKET=str(tmp_path / "notify"), WATCHDOG_USEC="1000000")
        wait_told("READY=1")
        wait_told("WATCHDOG=1")
        with frozen_thread(panel, "panel pace"):
            assert "panel pace" in wait_told("STATUS=no sign of life")
            systemd.settimeout(1)
            with contextlib.suppress(TimeoutError):
                assert not systemd.recv(4096), "the watchdog was fed although a thread hangs"
        wait_told("WATCHDOG=1")
        panel.stop()
        wait_told("STOPPING=1")
