"""`hx7 check --logs`: which logs a display shows differently than before."""

import gzip
import os
import re
import shutil
import signal
import subprocess
import xml.etree.ElementTree

import pytest

from desk import BIN, CONFIG, DEMO_LOG, PATIENCE, wait_for

LINES = DEMO_LOG.read_text().splitlines(keepends=True)
OVERLOAD_AT = next(number for number, line in enumerate(LINES) if line > "(1700000052.8")
WORD = ('key="overload">OVERLOAD<', 'key="overload">TOO HEAVY<')  # stands on the screen during an overload alone


@pytest.fixture
def logs(tmp_path):
    """A log without an overload, one with, and one that begins in the middle of the lift."""
    folder = tmp_path / "logs"
    (folder / "deeper").mkdir(parents=True)
    (folder / "calm.log").write_text("".join(LINES[:300]))
    with gzip.open(folder / "deeper/lift.log.gz", "wt") as file:
        file.write("".join(LINES[:OVERLOAD_AT + 200]))
    (folder / "middle.log").write_text("".join(LINES[OVERLOAD_AT - 200:OVERLOAD_AT + 200]))
    return folder


@pytest.fixture
def other(tmp_path):
    """The configuration of a display with another word."""
    folder = shutil.copytree(CONFIG, tmp_path / "config")
    words = (folder / "words/en.xml").read_text()
    assert WORD[0] in words
    (folder / "words/en.xml").write_text(words.replace(*WORD))
    return folder


def check(logs, *options, status=0):
    done = subprocess.run([BIN / "hx7", "check", "--logs", logs, *options], capture_output=True, text=True,
                          timeout=120 * PATIENCE)
    assert done.returncode == status, (done.stdout, done.stderr)
    return done.stdout, done.stderr


def results(folder):
    return {str(file.relative_to(folder)): (file.stat().st_mtime_ns, file.read_bytes()) for file in folder.rglob("*.zst")}


def test_logs_that_another_display_shows_differently_are_named(logs, other, tmp_path):
    baseline = tmp_path / "baseline"
    check(logs, "--write", baseline)
    assert sorted(results(baseline)) == ["calm.log.film.zst", "deeper/lift.log.gz.film.zst", "middle.log.film.zst"]
    assert "hold" in check(logs, "--write", baseline, status=2)[1]
    out, errors = check(logs, "--against", baseline)
    assert out == "" and "3 the same" in errors

    out, errors = check(logs, "--against", baseline, "--config", other, "--junit", tmp_path / "junit.xml", status=1)
    assert sorted(re.findall(r"^(\S+) is shown differently", out, re.M)) == ["deeper/lift.log.gz", "middle.log"]
    assert 'from 0:52.730 on:\n    page Main: overload: "OVERLOAD" before, "TOO HEAVY" now' in out and "2 differ" in errors
    cases = {case.get("name"): [child.tag for child in case]
             for case in xml.etree.ElementTree.parse(tmp_path / "junit.xml").iter("testcase")}
    assert cases == {"calm.log": [], "deeper/lift.log.gz": ["failure"], "middle.log": ["failure"]}


def test_a_check_goes_on_with_what_is_there_and_whole(logs, other, tmp_path):
    baseline = tmp_path / "baseline"
    check(logs, "--write", baseline)
    before = results(baseline)
    (baseline / "middle.log.film.zst").write_bytes(before["middle.log.film.zst"][1][:-40])  # not whole
    (logs / "calm.log").write_text("".join(LINES[:301]))  # changed
    os.utime(logs / "deeper/lift.log.gz")  # another time, the same bytes
    assert "1 from results that were there" in check(logs, "--write", baseline, "--resume")[1]
    after = results(baseline)
    assert [name for name in before if before[name][0] == after[name][0]] == ["deeper/lift.log.gz.film.zst"]
    assert after["middle.log.film.zst"][1] == before["middle.log.film.zst"][1]
    assert "from results" not in check(logs, "--write", baseline, "--resume", "--config", other)[1]


def test_a_stopped_check_leaves_whole_results_and_its_status(logs, tmp_path):
    baseline = tmp_path / "baseline"
    for number in range(20):
        shutil.copy(logs / "deeper/lift.log.gz", logs / f"{number}.gz")
    checking = subprocess.Popen([BIN / "hx7", "check", "--logs", logs, "--write", baseline, "--jobs", "2"],
                                stderr=subprocess.PIPE, text=True)
    wait_for(lambda: baseline.exists() and results(baseline), "the first result", 60)
    checking.send_signal(signal.SIGINT)
    errors = checking.communicate(timeout=30)[1]
    assert checking.returncode == 3 and "--resume continues" in errors
    there = results(baseline)
    assert 0 < len(there) < 23 and not list(baseline.rglob("*.part"))
    assert f", {len(there)} from results that were there" in check(logs, "--write", baseline, "--resume")[1]


def test_a_log_that_cannot_be_shown_fails_the_check(logs, tmp_path):
    (logs / "broken.gz").write_bytes(b"\x1f\x8b\x08\x00" + b"x" * 50)
    (logs / "notes.txt").write_text("a note\n")
    out, _ = check(logs, "--write", tmp_path / "baseline", status=1)
    assert "broken.gz cannot be shown" in out and "notes.txt holds no frame" in out
    (logs / "broken.gz").unlink()
    (logs / "calm.log").rename(logs / "new.log")
    assert "new.log has no result to compare with" in check(logs, "--against", tmp_path / "baseline", status=1)[0]
    for options in ([], ["--against", tmp_path / "none"], ["--write", tmp_path / "b", "--film", "/none"],
                    ["--against", tmp_path / "baseline", "--results", tmp_path / "baseline"]):
        check(logs, *options, status=2)
