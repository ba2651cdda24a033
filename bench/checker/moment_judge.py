"""Decides for every moment of every quantity: right, late, marked unknown, or wrong."""

import bisect
import collections

from desk import PATIENCE
from host_model import ANYTHING, DASHES, NOTHING, START_PATTERN
from live_screen import LiveScreen

EARLY = 0.5 * PATIENCE     # this process may read a frame later than the display
MOST_AGE = 3.0 * PATIENCE  # an application that stops is noticed after two seconds; older numbers are wrong
NEW_PAGE = 0.25 * PATIENCE # a page begins with the texts that its widgets had when they were last sent one
SILENCE = 11.0   # after the last frame
PATTERN = "(eights of the start)"
Wrong = collections.namedtuple("Wrong", "quantity since seconds shown expected")


def spans(history, end):
    """The history as (from, to, value)."""
    for (since, value), (until, _) in zip(history, history[1:] + [(end, None)]):
        yield since, until, value


def agrees(expected, shown):
    if expected is ANYTHING:
        return True
    if expected is NOTHING:
        return shown == DASHES
    return expected == shown


class Report:
    def __init__(self):
        self.wrong = []
        self.late = []          # seconds from the last frame of a message to its number
        self.silence = []       # seconds from the last frame to the mark
        self.back = []          # seconds from the first frame after a silence to the number
        self.old_pages = []     # seconds for which a new page showed an old number
        self.judged = collections.Counter()  # seconds by verdict
        self.changes = 0
        self.superseded = 0

    def add(self, other):
        for name in ("wrong", "late", "silence", "back", "old_pages"):
            getattr(self, name).extend(getattr(other, name))
        self.judged += other.judged
        self.changes += other.changes
        self.superseded += other.superseded


def uncovered(since, until, ranges):
    """The parts of since..until that no range covers."""
    at = since
    for low, high in sorted(ranges):
        if low > at:
            yield at, min(low, until)
        at = max(at, high)
        if at >= until:
            return
    if at < until:
        yield at, until


def is_old_page(expected, value, low, high, pages):
    """Whether a page that has just come shows a number of the past."""
    at = bisect.bisect_right(pages, low) - 1
    if at < 0 or high > pages[at] + NEW_PAGE:
        return False
    return any(agrees(wanted, value) for since, wanted in expected if since < low)


def judge_quantity(quantity, expected, shown, end, report, allowed_age, pages):
    starts = [since for since, _ in expected]
    for since, until, value in spans(shown, end):
        seconds = until - since
        if value in (LiveScreen.MARKED, LiveScreen.ABSENT):
            report.judged[value] += seconds
            continue
        first = max(0, bisect.bisect_right(starts, since - allowed_age) - 1)
        last = bisect.bisect_right(starts, until + EARLY)
        near = list(spans(expected[first:last], expected[last][0] if last < len(expected) else end))
        now = [(low, high) for low, high, wanted in near if agrees(wanted, value)]
        old = [(low - EARLY, high + allowed_age) for low, high in now]
        if not near or near[0][0] > since:  # before anything was known of it
            old.append((since, near[0][0] if near else until))
        if value == DASHES:
            report.judged["dashes"] += seconds  # right or not, no number is claimed
            continue
        if value == START_PATTERN.get(quantity):
            unsaid = [(low, high + allowed_age) for low, high, wanted in near if wanted is NOTHING]
            report.judged[PATTERN] += seconds
            if not list(uncovered(since, until, unsaid)):
                continue
        bad = 0
        for low, high in uncovered(since, until, old):
            if is_old_page(expected, value, low, high, pages):
                report.old_pages.append(high - low)
                continue
            bad += high - low
            wanted = next((wanted for a, b, wanted in near if a <= low < b), None)
            report.wrong.append(Wrong(quantity, low, high - low, value, wanted))
        right = sum(max(0, min(high, until) - max(low, since)) for low, high in now)
        report.judged["right"] += right
        report.judged["wrong"] += bad
        report.judged["late"] += max(0, seconds - right - bad)


def first_shown(shown, starts, value, since, until):
    """When the value stood there first from `since` on; None when it did not."""
    first, last = max(0, bisect.bisect_right(starts, since) - 1), bisect.bisect_right(starts, until)
    for low, high, text in spans(shown[first:last], shown[last][0] if last < len(shown) else until):
        if low >= until:
            return None
        if high > since and text not in (LiveScreen.MARKED, LiveScreen.ABSENT) and agrees(value, text):
            return max(low, since)
    return None


def measure_lateness(expected, shown, end, report):
    starts = [since for since, _ in shown]
    for since, until, value in spans(expected, end):
        if value in (ANYTHING, NOTHING) or not starts or since < starts[0]:
            continue
        at = bisect.bisect_right(starts, since) - 1
        if shown[at][1] in (LiveScreen.MARKED, LiveScreen.ABSENT) or agrees(value, shown[at][1]):
            continue  # nothing to wait for, or not because of this message
        report.changes += 1
        seen = first_shown(shown, starts, value, since, until + 1.0)
        if seen is None:
            report.superseded += 1
        else:
            report.late.append(seen - since)


def judge(model, screen, end, allowed_age=MOST_AGE):
    report = Report()
    for quantity, expected in model.expected.items():
        shown = screen.shown.get(quantity)
        if shown:
            judge_quantity(quantity, expected, shown, end, report, allowed_age, screen.pages)
            measure_lateness(expected, shown, end, report)
    return report


def judge_silences(silences, screen, end, report, allowed=MOST_AGE):
    """`silences`: (last frame, next frame). In each the load must become marked, and be a number again after it."""
    shown = screen.shown.get("load", [])
    for last, following in silences:
        if following - last < SILENCE + 0.2:
            continue
        marks = [max(since, last) for since, until, value in spans(shown, end)
                 if until > last and since < following and value in (LiveScreen.MARKED, DASHES)]
        if not marks or marks[0] > last + SILENCE + allowed:
            report.wrong.append(Wrong("silence", last, following - last, "a number", "unknown"))
            continue
        report.silence.append(marks[0] - last)
        numbers = [since for since, until, value in spans(shown, end)
                   if since > following and isinstance(value, float)]
        if numbers:
            report.back.append(numbers[0] - following)


def episodes(wrong, pause=0.5):
    """The wrong moments of all quantities, those that follow one another within `pause` seconds as one."""
    found = []
    for each in sorted(wrong, key=lambda moment: moment.since):
        if found and each.since - max(moment.since + moment.seconds for moment in found[-1]) <= pause:
            found[-1].append(each)
        else:
            found.append([each])
    return found


def distribution(seconds):
    if not seconds:
        return "none"
    ordered = sorted(seconds)

    def part(p):
        return ordered[min(len(ordered) - 1, int(p * len(ordered)))] * 1000

    return (f"{len(ordered)}, median {part(.5):.0f} ms, 90 % {part(.9):.0f}, 99 % {part(.99):.0f}, "
            f"99.9 % {part(.999):.0f}, most {ordered[-1] * 1000:.0f}")
