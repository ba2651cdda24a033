"""The bundle that an engineer attaches to a report, and its replay."""

import io
import json
import signal
import tarfile

import pytest

from desk import ADDRESSES, BIN, CONFIG, REPOSITORY, cmd2, cmd5, wait_for

MOVING = REPOSITORY / "tests/faults/moving.scenario"


def read(path):
    with tarfile.open(path) as archive:
        return {member.name: archive.extractfile(member).read() for member in archive}


def write(path, content, **attributes):
    with tarfile.open(path, "w:gz") as archive:
        for name, data in content.items():
            member = tarfile.TarInfo(name)
            member.size = len(data)
            for key, value in attributes.items():
                setattr(member, key, value)
            archive.addfile(member, io.BytesIO(data))


@pytest.fixture
def report(make_desk, tmp_path):
    desk = make_desk()
    bus = desk.go_to("Main")
    bus.send_message([7, 13, 4])
    bus.send_message(cmd2(load=45600, radius=12.3, led=6, percent=1.02))
    bus.send_message(cmd5((17, "ОПОРЫ")))
    wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 45,600", "the load")
    wait_for(lambda: "ОПОРЫ" in (desk.widget("orvikTextWidgetLine1Std") or ""), "the text")
    desk.press(6)
    wait_for(lambda: desk.screen.document()["page"] == "Dials", "the page that the operator chose")
    path = tmp_path / "report.tar.gz"
    status, out, errors = desk.run(BIN / "unit", "bundle", path)
    assert status == 0 and errors == "" and "without state/host.json" not in out, (out, errors)
    status, _, errors = desk.run(BIN / "unit", "bundle", path)
    assert status == 2 and "exists already; name another file, or replace it with --force" in errors
    return desk, path


def test_a_bundle_holds_what_a_report_needs(report):
    desk, path = report
    content = read(path)
    assert json.loads(content["state/screen.json"])["widgets"]["orvikTextWidgetLoad"] == " 45,600"
    assert content["state/screen.png"].startswith(b"\x89PNG")
    assert b"18FF00D0#0006020046" in content["bus.log"]
    assert [line.split()[1:] for line in content["keys.log"].splitlines()] == [[b"key", b"6", b"down"], [b"key", b"6", b"up"]]
    assert b" unit unit: screen is up" in content["lines.log"]
    assert {"about.json", "config/generic.xml", "config/screen/main.svg", "state/database.json", "state/board.json",
            "state/health.json"} <= set(content)
    assert json.loads(content["about.json"])["by"].startswith("unit ")
    desk.orvik.stop(signal.SIGKILL)
    desk.unit.stop(signal.SIGKILL)
    status, out, _ = desk.run(BIN / "unit", "bundle", path, "--force")
    assert status == 0 and "without state" in out, "what happened before a crash can still be asked for"
    assert b"18FF00D0#0006020046" in read(path)["bus.log"]


def test_a_replay_ends_with_the_recorded_screen_or_says_what_differs(report, make_desk):
    path = report[1]
    content = read(path)
    screen = json.loads(content["state/screen.json"])
    screen["widgets"]["orvikTextWidgetLoad"] = " 45,700"
    other = path.with_name("other.tar.gz")
    write(other, dict(content, **{"state/screen.json": json.dumps(screen).encode()}))
    desk = make_desk(orvik=False)
    desk.unit.stop()
    status, out, errors = desk.run(BIN / "unit", "replay", path, "--check", *ADDRESSES, seconds=60)
    assert status == 0 and "the screen shows what was recorded" in out, errors
    status, _, errors = desk.run(BIN / "unit", "replay", other, "--check", "--speed", "max", *ADDRESSES, seconds=60)
    assert status == 1
    assert 'orvikTextWidgetLoad: recorded " 45,700", now " 45,600"' in errors


def test_a_bundle_of_a_moving_crane_is_of_one_moment(make_desk, tmp_path):
    desk = make_desk(orvik=False)
    desk.unit.stop()
    live = desk.start(BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--scenario", MOVING)
    live.wait_line("The front panel", seconds=20)
    for number, extension in enumerate((1, 3, 5)):
        wait_for(lambda: float(desk.widget("orvikTextWidgetExtension") or 0) > extension, "a boom that is longer")
        desk.succeed(BIN / "unit", "bundle", tmp_path / f"{number}.tar.gz")
    live.stop()
    loads = {json.loads(read(path)["state/screen.json"])["widgets"]["orvikTextWidgetRadius"] for path in tmp_path.glob("*.gz")}
    assert len(loads) == 3, "the crane moved"
    for path in tmp_path.glob("*.gz"):
        out, _ = desk.succeed(BIN / "unit", "replay", path, "--check", *ADDRESSES, seconds=90)
        assert "the screen shows what was recorded" in out
    replay = desk.start(BIN / "unit", "replay", path, "--check", *ADDRESSES)
    replay.wait_line("The front panel", seconds=20)
    assert replay.stop(signal.SIGINT) == 3
    assert "unit replay: interrupted before the end; it says nothing of the rest" in replay.err


def test_what_is_no_bundle_is_refused(make_desk, tmp_path):
    desk = make_desk(orvik=False)
    desk.unit.stop()
    path = tmp_path / "bad.tar.gz"
    whole = {"bus.log": b"(1.0) can0 18FF00D0#00\n", "config/generic.xml": b"<orvik-generic/>"}
    cases = [
        (lambda: path.write_bytes(b"no archive"), "Unrecognized archive format"),
        (lambda: write(path, {"about.json": b"{}"}), "the bundle has no log of the bus"),
        (lambda: write(path, {"bus.log": b"x"}), "the bundle has no configuration"),
        (lambda: write(path, dict(whole, **{"../../outside": b"x"})), "a path in it leads elsewhere"),
        (lambda: write(path, whole, type=tarfile.SYMTYPE, linkname="/etc/passwd"), "is no bundle"),
        (lambda: write(path, whole), "parameters.xml"),
    ]
    for make, text in cases:
        make()
        status, _, errors = desk.run(BIN / "unit", "replay", path, *ADDRESSES)
        assert status == 2 and text in errors, (text, errors)
    assert not (tmp_path / "outside").exists()
