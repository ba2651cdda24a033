"""The packages in a clean Debian: install, start, work, break, upgrade, stop, remove, purge. Every step is a user's own."""

import os
import pathlib
import re
import shutil
import signal

import pytest

import machine as machines

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PACKAGES = pathlib.Path(os.environ.get("ORVIK_PACKAGES", REPOSITORY / "build/packages"))
NAMES = ("orvik", "orvik-unit", "orvik-host")
PARTS = ("notify", "database", "board", "j1939", "screen", "panel", "display")


@pytest.fixture(scope="module")
def packages():
    if reason := machines.obstacle():
        pytest.fail(reason)
    return [next(PACKAGES.glob(f"{name}_*.deb")) for name in NAMES]


def upgraded(package, folder):
    """The same package with a higher version."""
    machines.run("dpkg-deb", "-R", package, folder)
    control = folder / "DEBIAN/control"
    control.write_text(re.sub(r"(\(= |^Version: )([\d.]+)", r"\1\2+1", control.read_text(), flags=re.MULTILINE))
    machines.run("dpkg-deb", "-b", folder, folder.with_suffix(".deb"))
    return folder.with_suffix(".deb")


def install(machine, packages):
    place = machine.root / "packages"
    place.mkdir()
    for package in packages:
        shutil.copy(package, place)
    machine.call("sh", "-c", "dpkg -i /packages/*.deb")
    shutil.rmtree(place)


def wait_active(machine, parts=PARTS):
    def missing():
        return [part for part in parts if machine.property(f"orvik-{part}.service", "ActiveState") != "active"]

    machine.wait(lambda: not missing(), "all services")


def wait_shown(machine, expectation):
    machine.wait(lambda: machine.call("orvik-unit", "wait", expectation, "--seconds", "2", status=None) == "", expectation)


def test_the_packages_from_installing_to_purging(packages, tmp_path):
    with machines.Machine(machines.archive_of(packages, PACKAGES.parent / "install")) as machine:
        before = machine.files()
        install(machine, packages)
        assert machine.call("systemctl", "is-active", "orvik-unit.target", status=None).strip() == "inactive"

        machine.call("systemctl", "start", "orvik-unit.target")
        wait_active(machine)
        machine.call("systemd-run", "--unit=crane", "--setenv=XDG_RUNTIME_DIR=/run/crane", "hx7", "simulate", "--http", "127.0.0.1:0")
        wait_shown(machine, "page Main")
        wait_shown(machine, "load > 0")
        machine.wait(lambda: "PNG" in machine.fetch("/screen.png"), "the picture")  # the first one takes long
        machine.call("orvik-unit", "press", "6")
        wait_shown(machine, "page Dials")
        machine.call("orvik-unit", "press", "7")
        wait_shown(machine, "page Main")

        # One that hangs is killed and started again, and the screen is right again.
        hung = int(machine.property("orvik-notify.service", "MainPID"))
        machine.call("kill", f"-{signal.SIGSTOP.value}", str(hung))
        machine.wait(lambda: machine.property("orvik-notify.service", "NRestarts") == "1", "the watchdog of the manager")
        wait_active(machine)
        wait_shown(machine, "load > 0")

        healed = machine.property("orvik-notify.service", "MainPID")
        install(machine, [upgraded(package, tmp_path / package.name.split("_")[0]) for package in packages])
        wait_active(machine)
        assert machine.property("orvik-notify.service", "MainPID") != healed
        wait_shown(machine, "load > 0")

        # The machine's own configuration comes before the installed one.
        machine.call("cp", "-r", "/usr/share/orvik/config", "/etc/orvik/config")
        machine.call("systemctl", "restart", "orvik-unit.target")
        wait_active(machine)
        assert '"config":"/etc/orvik/config"' in machine.call("cat", "/run/orvik/run.json")
        machine.call("rm", "-r", "/etc/orvik/config")

        machine.call("systemctl", "stop", "crane.service", "orvik-unit.target")
        machine.wait(lambda: not machine.call("pgrep", "-u", "orvik", status=None), "the end of all services")
        assert machine.call("sh", "-c", "ls /dev/shm") == ""
        machine.call("systemctl", "start", "orvik-unit.target")
        machine.call("dpkg", "-r", *NAMES)
        assert machine.call("pgrep", "-u", "orvik", status=1) == ""
        machine.call("dpkg", "-P", *NAMES)
        assert machine.files() == before
        assert "orvik" not in machine.call("cat", "/etc/passwd", "/etc/group")


def test_the_services_have_no_more_rights_than_they_need(packages, tmp_path):
    for package in packages:
        machines.run("dpkg", "-x", package, tmp_path)
    units = sorted((tmp_path / "lib/systemd/system").glob("*.service"))
    parts = {part for unit in units for part in re.findall(r"--only (\w+)", unit.read_text())}
    known = re.search(r"nothing \((.*?)\)", machines.run(tmp_path / "usr/bin/unit", "run", "--only", "nothing", status=2))[1].split(", ")
    assert parts == set(known) - {"hx7"}
    names = [unit.name.replace("@", "@can0") for unit in units]
    out = machines.run("systemd-analyze", "security", "--offline=true", f"--root={tmp_path}", "--threshold=20", *names)
    levels = re.findall(r"Overall exposure level for (\S+): ([\d.]+)", out)
    print(*levels, sep="\n")
    assert [name for name, _ in levels] == names and all(float(level) <= 2.0 for _, level in levels), levels
