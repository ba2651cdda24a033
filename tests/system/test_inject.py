"""Injected faults of the host: the display shows the next good message after each of them."""

import re

from desk import BIN, CONFIG, cmd2, cmd5, wait_for, wait_steady

# Fault: stream and line of the message about it. Broken sequences are dropped without a message.
FAULTS = {
    "missing-frame": None,
    "repeated-frame": None,
    "wrong-sequence": None,
    "oversize": ("err", "Orvik: ERROR!  Message of 40 frames exceeds maximum of 36"),
    "bad-length": ("err", "***** ERROR!  Cmd5 length.  min=5, max=802, subLen="),
    "broken-utf8": None,
    "unknown-command": ("err", "***** ERROR! Unrecognized command ( "),
    "babble": None,
}


def inject(desk, fault, rate):
    return desk.succeed(BIN / "hx7", "simulate", "--config", CONFIG, "--seed", "5", "--speed",
                        "max", "--seconds-of-crane", "30", "--inject", fault, "--inject-rate", str(rate), seconds=60)[1]


def check_recovery(desk, fault):
    desk.go_to("Main").close()
    errors = inject(desk, fault, 0.2)
    count = int(re.search(rf"injected (\d+) faults: {fault} (\d+)\n?$", errors)[1])
    assert count > 20
    if FAULTS[fault]:
        stream, line = FAULTS[fault]
        desk.orvik.wait_line(line, getattr(desk.orvik, stream))
    bus = desk.bus()
    bus.send_message([8, 1])  # may be lost, because it ends a message that the last fault left incomplete
    bus.send_message([7, 13, 0])
    bus.send_message(cmd2(load=77700, radius=12.3))
    bus.send_message(cmd5((17, "ALL IS WELL")))
    wait_for(lambda: desk.widgets("Load", "Radius") == [" 77,700", " 12.3"], "the values")
    wait_for(lambda: "ALL" in (desk.widget("orvikTextWidgetLine1Std") or ""), "the text")
    bus.close()


def test_the_display_recovers_within_one_message(desk):
    for fault in FAULTS:
        check_recovery(desk, fault)


def test_faults_follow_their_seed_and_are_called_by_name(desk):
    def frames():
        lines = (desk.runtime / "blackbox" / "bus.log").read_text().splitlines()
        return [line.split()[2] for line in lines if "18FF00D2" not in line]

    desk.go_to("Main").close()
    logs = []
    for _ in range(2):
        start = len(wait_steady(frames, "the log of the bus", 0.3))
        inject(desk, "all", 0.05)
        logs.append(wait_steady(frames, "the log of the bus", 0.3)[start:])
    assert len(logs[0]) > 1000 and logs[0] == logs[1]
    status, _, errors = desk.run(BIN / "hx7", "simulate", "--config", CONFIG, "--inject", "bable")
    assert status == 2 and 'there is no fault "bable"; did you mean babble?' in errors
