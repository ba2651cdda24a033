"""Expectations of scenarios, and `hx7 check`: what holds passes, a display with a fault is found, and nothing stays behind."""

import os
import pathlib
import shutil
import signal
from xml.etree import ElementTree

import pytest

from desk import ADDRESSES, BIN, CONFIG, Process, name_call, wait_for

HERE = pathlib.Path(__file__).parent


def check(tmp_path, *arguments, programs=BIN):
    """Runs hx7 check; its desks stand below tmp_path."""
    (tmp_path / "tmp").mkdir(exist_ok=True)
    return Process([programs / "hx7", "check", "--config", CONFIG, "--junit", tmp_path / "junit.xml", "--keep", tmp_path / "kept",
                    *arguments], tmp_path / "run", TMPDIR=str(tmp_path / "tmp"))


def failures(tmp_path):
    return [failure.get("message") for failure in ElementTree.parse(tmp_path / "junit.xml").iter("failure")]


def processes_below(folder):
    """Pid and name of each process whose runtime directory is below the folder."""
    found = []
    for process in pathlib.Path("/proc").iterdir():
        try:
            if f"ORVIK_RUNTIME_DIR={folder}/".encode() in (process / "environ").read_bytes():
                found.append((int(process.name), (process / "comm").read_text().strip()))
        except (OSError, ValueError):
            pass  # no process, or one that has ended
    return found


def test_the_good_display_passes(tmp_path):
    process = check(tmp_path, HERE / "moments.scenario")
    assert process.wait_exit(300) == 0, process.out + process.err
    assert failures(tmp_path) == [] and not (tmp_path / "kept").exists()
    assert "1 of 1 runs passed" in process.out[-1]


def test_a_display_with_one_fault_is_found(tmp_path):
    programs = tmp_path / "bin"
    programs.mkdir()
    for program, name in [("hx7", "hx7"), ("unit", "unit"), ("orvik_without_overload", "orvik")]:
        shutil.copy(BIN / program, programs / name)
    process = check(tmp_path, HERE / "moments.scenario", programs=programs)
    assert process.wait_exit(300) == 1, process.out + process.err
    assert len(failures(tmp_path)) == 1
    assert failures(tmp_path)[0].startswith(
        "moments.scenario:12: expected lamp overload within 3 s: the lamp overload was dark; lit: alarm, ")
    kept = {file.name for file in (tmp_path / "kept/moments-seed1").iterdir()}
    assert kept >= {"line-12.png", "end.png", "bundle.tar.gz", "unit.log", "simulate.log", "results.jsonl"}
    assert any(f"again: hx7 check {HERE / 'moments.scenario'} --seed 1 --speed 1" in line for line in process.out)


def test_a_display_that_dies_fails_though_it_comes_back(tmp_path):
    (tmp_path / "calm.scenario").write_text("# Nothing\n0 expect page Main within 20\n12 stop\n")
    process = check(tmp_path, tmp_path / "calm.scenario")
    wait_for(lambda: next(tmp_path.glob("tmp/*/0/simulate.log"), None), "the simulator", 30)
    os.kill(next(pid for pid, name in processes_below(tmp_path / "tmp") if name == "orvik"), signal.SIGKILL)
    assert process.wait_exit(300) == 1, process.out + process.err
    assert "the application ended 1 times" in failures(tmp_path)[0]


def test_an_interrupted_check_ends_its_desks_and_says_so(tmp_path):
    process = check(tmp_path, "normal-lift", "overload", "--jobs", "2")
    wait_for(lambda: [name for _, name in processes_below(tmp_path / "tmp")].count("orvik") == 2, "two desks", 30)
    process.child.send_signal(signal.SIGINT)
    assert process.wait_exit(40) == 3, process.out + process.err
    assert processes_below(tmp_path / "tmp") == [] and list((tmp_path / "tmp").iterdir()) == []
    assert not (tmp_path / "junit.xml").exists()


# The scenario's lines, the options, the status, and a part of what is printed.
CASES = [
    ("0 expect page Main\n0 expect percent \"--\"\n0 expect no lamp overload", [], 0, ""),
    ("0 expect page Wad within 0", [], 1, "a.scenario:1: expected page Wad within 0 s: page was Main"),
    ("1 expect reply key-state key=info within 1", [], 1, "the last one was key-state: status 0, key none, last-key none"),
    ("0 expect page Wad within 0\n1 expect page Wad within 0", ["--ignore-expectations"], 0, ""),
    ("0 expect picture none.png within 0", [], 1, "--write-pictures makes it"),
    ("0 expect picture main.png within 1", ["--write-pictures"], 0, ""),
    ("0 expect picture main.png within 3", [], 0, ""),
    ("0 language russian\n1 expect picture main.png within 1", [], 1, "the picture differs by"),
    ("0 expect page Main", ["--speed", "2"], 2, "choose a lower one, or give --ignore-expectations"),
    ("0 expect page Main", ["--speed", "max"], 2, "choose a lower one, or give --ignore-expectations"),
    ("speed 4\n0 expect page Main", ["--speed", "4"], 0, ""),
]


def simulate(desk, folder, text, *options):
    (folder / "a.scenario").write_text(text + "\n")
    return desk.run(BIN / "hx7", "simulate", "--config", CONFIG, "--scenario", folder / "a.scenario", *options)


def test_a_simulator_judges_on_the_running_desk(desk, tmp_path):
    desk.go_to("Main").close()
    for text, options, status, told in CASES:
        ended, out, errors = simulate(desk, tmp_path, text, "--once", *options)
        assert (ended, told in errors) == (status, True), (text, ended, out, errors)
    ended, _, errors = simulate(desk, tmp_path, "1 expect page Wad within 0\n2 repeat", "--seconds-of-crane", "5")
    assert (ended, errors.count("expected page Wad")) == (0, 2), "a scenario that repeats only tells"


@pytest.mark.parametrize("arguments, status, text", [
    (["check", "overlod"], 2, "did you mean overload?"),
    (["check", "overload", "--jobs", "0"], 2, "--jobs"),
    (["simulate", "--scenario", "overload", "--once"], 1, "start one with `unit run --no-host`"),
], ids=name_call)
def test_what_cannot_be_judged_is_refused(tmp_path, arguments, status, text):
    bus = start_bus(tmp_path)
    process = Process([BIN / "hx7", *arguments, "--config", CONFIG], tmp_path / "run")
    assert process.wait_exit(30) == status, process.out + process.err
    assert text in "\n".join(process.err)
    bus.stop()


def start_bus(tmp_path):
    """A unit without a panel."""
    bus = Process([BIN / "unit", "run", "--config", CONFIG, *ADDRESSES, "--only", "notify,database,board,j1939"], tmp_path / "run")
    bus.wait_line("unit: j1939 is up", seconds=20)
    return bus
