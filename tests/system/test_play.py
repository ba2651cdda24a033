"""`hx7 play` on a whole desk: the screen after a log at any speed, and the pause key."""

import os
import pty
import select
import sys

from desk import BIN, DEMO_LOG, REPOSITORY, wait_for, wait_steady

sys.path.insert(0, str(REPOSITORY / "bench"))
from replay_pace import make_log  # noqa: E402

MINUTES = 10


def received(desk):
    return desk.counters("j1939")["received"]


def shown_on(desk):
    screen = desk.screen.document()
    return screen["page"], screen["widgets"], {name: value for name, value in screen["variables"].items()
                                               if name.startswith("Orvik")}


def test_a_log_at_full_speed_leaves_the_same_screen_as_at_its_own_pace(make_desk, tmp_path):
    log = tmp_path / "ten-minutes.log"
    frames = len(make_log(DEMO_LOG, log, MINUTES * 60))
    shown = []
    for speed in ("60", "max"):
        desk = make_desk()
        _, errors = desk.succeed(BIN / "hx7", "play", "--speed", speed, log, seconds=60)
        assert f"played {frames} frames, 600.0 s" in errors
        wait_for(lambda: received(desk) == frames, "every frame", 30)
        shown.append(wait_steady(lambda: shown_on(desk), "the screen", 0.5))
    assert shown[0] == shown[1]
    assert shown[0][0] == "Main"


class Terminal:
    """hx7 on a terminal of its own."""

    def __init__(self, *arguments):
        self.child, self.screen = pty.fork()
        if self.child == 0:
            os.execv(arguments[0], [str(argument) for argument in arguments])
        self.text = ""

    def shows(self, words, what):
        def read():
            if select.select([self.screen], [], [], 0)[0]:
                self.text += os.read(self.screen, 4096).decode("utf-8", "replace")
            return words in self.text
        wait_for(read, what)
        self.text = ""

    def type(self, keys):
        os.write(self.screen, keys.encode())

    def wait_exit(self, cause):
        def status():
            child, number = os.waitpid(self.child, os.WNOHANG)
            return (number,) if child else None
        return wait_for(status, f"hx7 to end after {cause}", 2)[0]


def is_silent(bus):
    """Whether no frame comes for 0.3 s, in which the log has 24."""
    bus.pass_over()
    return bus.can.recv(0.3) is None


def test_space_halts_a_log_and_goes_on_and_the_progress_says_where_it_is(desk, monkeypatch):
    monkeypatch.setenv("ORVIK_RUNTIME_DIR", str(desk.runtime))
    bus = desk.bus()
    terminal = Terminal(BIN / "hx7", "play", DEMO_LOG)
    terminal.shows(" %  ", "the share of the file")
    terminal.type(" ")
    terminal.shows("paused", "the pause")
    wait_for(lambda: is_silent(bus), "silence in the pause", 2)
    terminal.type(" ")
    terminal.shows(" frames", "the progress again")
    bus.receive_any()
    terminal.type("\x03")
    assert os.waitstatus_to_exitcode(terminal.wait_exit("Control-C")) == 0
