"""The package `orvik`: its expressions, and its calls on a real display."""

import re
import signal

import pytest

from conftest import REPOSITORY
from orvik import CraneError, DeskError, Expectation, ExpectationError, NotInTime, Shown
from orvik.frames import DISPLAY_ID, Joiner, cut
from orvik.names import KEYS, LAMPS, TEXTS, WORDS
from orvik.shown import expectations

SHOWN = Shown("current", "Main", "OPERATING", "heard", "english",
              {"load": "12,300", "angle": "-0.5", "swing": "---", "line1": 'A "B" C', "flash-msg": ""}, ("a2b",), "pulse",
              (3,), 60, 7)


HOLDS = [
    ("load == 12300", True), ("load==12,300", True), ("  load 12300 ", True), ("load != 12300", False),
    ("load > 12300", False), ("load>=12300", True), ("load < 12300.5", True), ("load <= 12299", False), ("angle == -.5", True),
    ("brightness < 61", True), ("swing == 0", False), ("swing < 1", False), ("swing > -1", False), ("swing != 0", True),
    ('load == "12,300"', True), ('load "12300"', False), ("load has 2,3", True), ("line1 != A", True),
    ('line1 == "A \\"B\\" C"', True), ('line1 has "\\"B"', True), ('line1 has "b"', False), ('flash-msg ""', True),
    ("page Main", True), ("page != Main", False), ("page has ai", True), ("link == lost", False), ("beeper == pulse", True),
    ("lamp a2b", True), ("lamp overload", False), ("no lamp a2b", False), ("no lamp overload", True),
]
MISTAKES = [
    ("laod == 1", "did you mean 'load'"), ("lamp a2", "did you mean 'a2b'"), ("beeper == plus", "did you mean 'pulse'"),
    ("lamp a2b now", "there is no lamp"), ("no load", "after no comes lamp"), ("load", "is no expression"),
    ("", "is no expression"), ("load = 5", "is no expression"), ("load == 12 300", "is no expression"),
    ('line1 has "AB', "is no expression"), ("load < lots", "is no number"), ('load > "1"', "is no number"),
    ("brightness full", "is no number"), ("page < Main", "compare it by =="),
]


@pytest.mark.parametrize("text, holds", HOLDS)
def test_an_expression_holds_or_not(text, holds):
    assert Expectation.parse(text).holds(SHOWN) is holds


@pytest.mark.parametrize("text, problem", MISTAKES)
def test_a_mistake_in_an_expression_is_named(text, problem):
    with pytest.raises(ExpectationError, match=re.escape(problem)):
        Expectation.parse(text)


def test_unit_wait_judges_alike(desk, screen):
    desk.send(load=12300, line1_center='A "B" C', led="a2b")
    shown = screen.wait_for(load=12300, line1_has="B", lamp="a2b")
    bus = desk.bus()
    for text, _ in HOLDS + MISTAKES:
        bus.send_message([8, 1])  # else the link is lost
        try:
            expected = 0 if Expectation.parse(text).holds(shown) else 1
        except ExpectationError:
            expected = 2
        assert desk.run(desk.programs / "unit", "wait", text, "--seconds", "0.1")[0] == expected, text


def test_keyword_arguments_are_expressions():
    named = {"load": 12300, "line1_has": '"B', "page": "Main", "lamp": ["a2b"], "no_lamp": "alarm", "flash_msg": ""}
    assert [each.text for each in expectations(("angle < 0",), named)] == [
        "angle < 0", "load == 12300", 'line1 has "\\"B"', 'page == "Main"', "lamp a2b", "no lamp alarm", 'flash-msg == ""']
    with pytest.raises(ExpectationError, match="nothing to wait for"):
        expectations((), {})


def test_the_names_are_those_of_the_programs():
    header = (REPOSITORY / "expect/shown_names.h").read_text()
    named = {name: re.findall(r'"([\w-]+)"', body) for name, body in re.findall(r" (\w+) =\s+([^;]*\"[^;]*);", header)}
    constants = [name for values in named.values() for name in values]
    assert list(TEXTS) == named["TEXT_NAMES"]
    assert list(LAMPS) == named["LAMP_NAMES"] + named["LINK_LOST_LAMP"]
    assert list(WORDS["language"]) == named["LANGUAGE_NAMES"]
    assert {word for name in ("state", "link", "beeper") for word in WORDS[name]} <= set(constants)
    keys = (REPOSITORY / "docs/host-protocol.md").read_text().split("### Keys")[1].split("###")[0]
    assert dict(enumerate(KEYS)) == {int(number): name for number, name in re.findall(r"\| (\d+) \| `([a-z0-9-]+)`", keys)}


def test_frames_are_joined_and_a_broken_message_is_dropped():
    joiner, message = Joiner(), bytes(range(20))
    whole = [joiner.take(frame) for frame in cut(message)]
    assert whole[:-1] == [b"", b""] and whole[-1].rstrip(b"\xff") == message
    assert [joiner.take(cut(message)[at]) for at in (0, 2, 2)] == [b"", b"", b""]
    assert joiner.take(cut(b"\7\3")[0])[:2] == b"\7\3"


def test_a_display_is_told_values_and_tells_its_keys(desk, screen):
    desk.send(load=12300, line1_center="HELLO", led="overload,a2b")
    shown = screen.wait_for("load > 12000", "no lamp stowed", load="12,300", line1_has="ELL", lamp=("a2b", "overload"), within=2)
    assert (shown.page, shown.link, screen.page, "a2b" in screen.lamps) == ("Main", "heard", "Main", True)
    with pytest.raises(NotInTime, match=r"(?s)load == 1 was not shown within .* s: load is '12,300'\nshown are page Main"):
        screen.wait_for(load=1, within=0.2)
    with desk.bus() as bus:
        with desk.bus() as other:
            bus.send_message([7, 4])  # nobody waits for this reply on the bus that asked
            other.wait_for(lambda frame: frame.arbitration_id == DISPLAY_ID and frame.data[0] == 1, "its last frame", 5)
        assert bus.ask([7, 3])[:8] == b"Vistrel "
        desk.press(1)
        assert bus.wait_for_key("info", 3).last == "info"
        assert bus.key_state().key == "none"
        with pytest.raises(ValueError, match="did you mean 'info'"):
            bus.wait_for_key("inof")
        with pytest.raises(NotInTime, match="18FF00AA"):
            bus.receive(0.2, 0x18FF00AA)
        desk.unit.stop()
        with pytest.raises(ConnectionError):
            bus.receive()
    with pytest.raises(NotInTime, match="the screen does not answer"):
        screen.wait_for(load=12300, within=0.2)
    with pytest.raises(DeskError, match="unit has ended"):
        desk.check()
    desk.unit = None  # else the fixture says so too


def test_a_crane_moves_and_refuses_mistakes(crane, screen):
    crane.do("boom angle 8")
    crane.wait_for(angle=8, within=30)
    screen.wait_for("angle > 7.8", "angle < 8.2", within=5)
    with pytest.raises(CraneError, match="angel"):
        crane.do("boom angel 60")
    with pytest.raises(NotInTime, match="angle is [78]"):
        crane.wait_for(angle=-60, within=0.1)
    with pytest.raises(CraneError, match="there are"):
        crane.wait_for(angel=3)
    crane.hold(load=12300, radius=35.4)
    screen.wait_for(load=12300, radius=35.4, within=2)
    crane.release()
    screen.wait_for("load < 1000", within=2)
    crane.stop()
    screen.wait_for(link="lost", lamp="link-lost", state="old", within=15)


def test_a_green_test_fails_when_the_application_has_ended(pytester, request):
    pytester.makepyfile("""
        import pytest
        def test_green(desk):
            desk.orvik.stop(%d)
        @pytest.mark.desk(page=None)
        def test_from_the_start(desk, screen):
            assert screen.page in ("Splash", "Slate")
    """ % signal.SIGSEGV)
    result = pytester.runpytest_inprocess("-p", "orvik.pytest_plugin", "--orvik-keep", *(["--orvik-bin", given] if (
        given := request.config.getoption("orvik_bin")) else []))
    result.assert_outcomes(passed=2, errors=1)
    result.stdout.fnmatch_lines(["*DeskError: orvik has ended with status -11"])
    kept = {path.name for path in pytester.path.glob("orvik-failures/*test_from_the_start/*")}
    notes = [section for report in result.reprec.getreports("pytest_runtest_logreport") for section in report.sections]
    assert kept == {"screen.png", "report.tar.gz", "processes.txt"}, notes
