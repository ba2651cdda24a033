"""A display unit from power to picture: Debian's kernel, systemd, KMS, evdev and a CAN controller, in QEMU.

Run by `./test boot`. The processor is emulated, some thirty times slower than a real one: time limits are long, and
the times that the tests print say how long it took here, not on a unit.
"""

import base64
import os
import pathlib
import random
import subprocess

import pytest

from controller import Bridge, Controller
from desk import BIN, CONFIG, Bus, Desk, cmd2, wait_for
from emulated_unit import REPOSITORY, EmulatedUnit

IMAGE = pathlib.Path(os.environ.get("ORVIK_IMAGE", REPOSITORY / "build/unit-image"))
GOLDEN = REPOSITORY / "tests/golden"
SERVICES = ("notify", "database", "board", "j1939", "screen", "panel", "display", "window")
BOOT_SECONDS = 1200
SETTLE_SECONDS = 600
POWER_CUTS = int(os.environ.get("ORVIK_POWER_CUTS", "20"))


def note(text):
    """A line for the log of the run."""
    print(f"boot: {text}")
    with open(IMAGE / "times.txt", "a", encoding="utf-8") as log:
        log.write(text + "\n")


@pytest.fixture(scope="session")
def waiting_picture():
    """The picture of a unit that has heard no host, as a desk of this machine draws it."""
    with Desk(FONTCONFIG_FILE=str(GOLDEN / "fonts.conf")) as desk:
        wait_for(lambda: desk.screen.document()["page"] == "Slate", "the page of a unit without a host", 30)
        wait_for(lambda: desk.screen.document()["variables"]["Screen.DataState"] == 2, "the lost link", 30)
        return desk.screen.picture()


@pytest.fixture(scope="module")
def machine(tmp_path_factory):
    machine = EmulatedUnit(tmp_path_factory.mktemp("machine"), IMAGE)
    try:
        yield machine
    finally:
        machine.cut_power()


@pytest.fixture(scope="module")
def cable(machine):
    """A local bus of this machine that is joined to the other end of the unit's cable."""
    with Desk(orvik=False) as desk:
        controller = Controller(machine.folder / "cards.socket", machine.outside_port())
        bridge = Bridge(controller, desk.address("socketcand"))
        try:
            yield bridge
        finally:
            bridge.close()
            controller.close()
            note(f"frames through the controller, by identifier: { {f'{name:08X}': n for name, n in bridge.passed.items()} }")


@pytest.fixture
def bus(cable):
    bus = Bus(cable.address)
    yield bus
    bus.close()


def show_load(machine, bus, load):
    """Sends a load until the unit shows it."""
    wait_for(lambda: bus.send_message(cmd2(load=load)) or
             machine.says(f"orvik-unit wait 'load == {load}' --seconds 5 >/dev/null 2>&1; echo $?") == "0",
             f"the load {load} on the unit", SETTLE_SECONDS)


def test_shows_its_first_picture_after_power_up(machine, waiting_picture):
    seconds = machine.wait_picture(waiting_picture, "a unit without a host", BOOT_SECONDS)
    note(f"from power to the first picture: {seconds:.0f} s")
    assert machine.says("systemctl is-system-running --wait") == "running", machine.run("systemctl --failed --no-pager")
    note("the unit's own clock: " + machine.says("systemd-analyze time | head -n 1"))
    assert "ro" in machine.says("findmnt -no options /").split(",")


@pytest.mark.parametrize("moment, scenario, seconds", [("overload", "overload", 45), ("link-lost", "normal-lift", 50)])
def test_shows_the_golden_picture_of_frames_from_outside(machine, bus, cable, moment, scenario, seconds):
    subprocess.run([BIN / "hx7", "simulate", "--config", CONFIG, "--bus", f"socketcand:{cable.address}", "--scenario", scenario,
                    "--seed", "7", "--ignore-expectations", "--seconds-of-crane", str(seconds)], check=True, timeout=600)
    # The picture may come late on an emulated processor: the host repeats its last values until then.
    repeat = (lambda: None) if moment == "link-lost" else lambda: bus.send_message(cable.values)
    machine.wait_picture((GOLDEN / f"{moment}.png").read_bytes(), moment, SETTLE_SECONDS, repeat)


def test_reports_a_key_of_the_keyboard_on_the_bus(machine, bus):
    show_load(machine, bus, 12300)
    with machine.held("1"):
        assert bus.wait_for_key("info", SETTLE_SECONDS).key == "info"
    assert bus.key_state(SETTLE_SECONDS).key == "none"


def service_picture(machine):
    """The picture that the screen service draws, or nothing where drawing took it longer than its client waits."""
    coded = machine.run("cd /run/orvik; orvik-unit screen --png /run/orvik/now.png >/dev/null 2>&1 && base64 now.png || true")
    return base64.b64decode("".join(coded.split()))


@pytest.mark.parametrize("service", SERVICES)
def test_comes_back_when_a_service_is_killed(machine, bus, service):
    unit = f"orvik-{service}.service"
    before = machine.says(f"systemctl show -P MainPID {unit}")
    machine.run(f"kill -KILL {before}")
    wait_for(lambda: machine.says(f"systemctl show -P ActiveState {unit}") == "active" and
             machine.says(f"systemctl show -P MainPID {unit}") not in ("0", before), f"{unit} again", SETTLE_SECONDS)
    load = 20000 + 100 * SERVICES.index(service)
    show_load(machine, bus, load)
    picture = wait_for(lambda: bus.send_message(cmd2(load=load)) or service_picture(machine), "the screen service's picture", SETTLE_SECONDS)
    machine.wait_picture(picture, "the screen service", SETTLE_SECONDS, lambda: bus.send_message(cmd2(load=load)))


def test_reports_a_bus_that_is_gone_and_shows_its_data_again(machine, bus):
    def wait_link(state):
        wait_for(lambda: f'"link":"{state}"' in machine.says("orvik-unit screen --json"), f"the link {state}",
                 SETTLE_SECONDS)

    show_load(machine, bus, 31000)
    for pull, restore in [(lambda: machine.run("ip link set can0 down"),
                           lambda: machine.run("ip link set can0 up")),
                          (lambda: machine.monitor("device_del", id="controller"),
                           lambda: machine.monitor("device_add", driver="kvaser_pci", id="controller", canbus="cable"))]:
        pull()
        wait_link("lost")
        restore()
        show_load(machine, bus, 32000)


def test_survives_power_cuts_while_it_writes(tmp_path, waiting_picture):
    """A process of the unit rewrites the settings and a large file all the time; power goes at random moments."""
    disk = tmp_path / "image"
    disk.mkdir()
    for name in ("vmlinuz", "initrd"):
        (disk / name).symlink_to(IMAGE / name)
    subprocess.run(["cp", "--sparse=always", IMAGE / "unit.img", disk / "unit.img"], check=True)
    moments = random.Random(1)
    writer = ("cd /etc/orvik; n=0; while :; do n=$((n + 1)); { grep -v '^#' unit.conf; echo \"# version $n\"; } >new; "
              "md5sum <new >>new.sum; sync new; mv new unit.conf; dd if=/dev/urandom of=/var/noise bs=64k count=8 2>/dev/null; done")
    settings = None
    for cut in range(POWER_CUTS + 1):
        machine = EmulatedUnit(tmp_path, disk, keep_disk=True)
        try:
            machine.wait_picture(waiting_picture, f"a unit after {cut} power cuts", BOOT_SECONDS)
            now = machine.run("grep -v '^#' /etc/orvik/unit.conf")
            settings = settings or now
            assert now == settings
            assert machine.says("systemctl is-system-running --wait") == "running", machine.run("systemctl --failed --no-pager")
            fsck = machine.run("journalctl --no-pager -b -u 'systemd-fsck*'")
            assert "UNEXPECTED INCONSISTENCY" not in fsck and "FILE SYSTEM WAS MODIFIED" not in fsck, fsck
            machine.run(f"({writer}) >/dev/null 2>&1 & sleep {moments.uniform(1, 5):.1f}")
        finally:
            machine.cut_power()
    note(f"power cuts survived: {POWER_CUTS}")
