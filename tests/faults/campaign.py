#!/usr/bin/env python3
"""Injects faults into a running desk, and judges after each whether the unit kept its promises.

    campaign.py [--seed 1] [--count 1000] [--state FILE]     the long form; goes on where FILE ends
    campaign.py --seed 1 --first 137 --count 1               one fault again
    campaign.py --short                                      each kind once, in less than two minutes
    campaign.py --report FILE...                             the table of docs/reliability.md

The exit status is 1 when a promise was broken. docs/reliability.md explains.
"""

import argparse
import json
import pathlib
import random
import signal
import statistics
import sys
import time

import rig as fault_rig
from kinds import KINDS, PARTS
from rig import ALLOWED_AGE, FAKETIME, HOST, Rig, Slowness
from orvik import waiting

BLOCK = 20          # faults to a desk
RIGHT_AGAIN = 2.0
SHORT_ROOM = 2.5    # the short form runs on any machine, however slow its disk and its start of processes
WRONG = "must be"   # stands in what failed where a number was wrong
QUIET = 1.3         # so long all must stay right: what is damaged is noticed within it
SETTLED = 12.0
# A lock is held for microseconds; one that a busy machine keeps for a second must not cost a new database.
LIMITS = {"lock held": 4.0}
SHORT = [name for name in KINDS if name not in ("silence", "clock set")]
# libfaketime takes a lock that processes share: one that is stopped or killed there would stop all others.
WITH_FAKED_CLOCK = {"clock set", "cable cut", "cable held", "kill hx7", "stop hx7"}
OLD_NUMBERS = ("stop notify", "stop application")  # the short form stops these for longer than a number may be old
# Here a process may end by itself: it is started again.
MAY_END = {"no memory", "no descriptor", "disk full", "X server killed"}


def layout(seed, block):
    """Which parts share a process, and whether the clock is faked."""
    chance = random.Random(f"{seed}/{block}")
    parts = chance.sample(PARTS, len(PARTS))
    bins = {0: 1, 1: len(parts), 2: chance.randint(2, 4)}[block % 3]
    groups = [tuple(parts[first::bins]) for first in range(bins)]
    if chance.random() < 0.4:
        groups.append(("window",))
    return groups, bool(FAKETIME) and chance.random() < 0.2


class Campaign:
    def __init__(self, options):
        self.options, self.rig, self.block, self.results, self.slowness = options, None, None, [], Slowness()
        self.room = SHORT_ROOM if options.short else 1
        fault_rig.HEALTH_LIMIT *= self.room

    def plan(self, index):
        """Block, layout and kind of the fault with this number."""
        if self.options.short:  # first in processes of their own, then in one, with a window
            block = int(index < len(SHORT) // 2)
            groups, _ = layout(self.options.seed, block)
            groups = [group for group in groups if group != ("window",)] + [("window",)] * (not block)
            return block, (groups, False), SHORT[index]
        block = index // BLOCK
        groups, faked = layout(self.options.seed, block)
        possible = WITH_FAKED_CLOCK if faked else set(KINDS) - {"clock set", "X server killed" * (("window",) not in groups)}
        return block, (groups, faked), self.chance(index).choice(sorted(possible))

    def chance(self, index):
        return random.Random(f"{self.options.seed}/{index}/fault")

    def run(self):
        options, started = self.options, time.monotonic()
        state = pathlib.Path(options.state or "/dev/null")
        self.results = [json.loads(line) for line in state.read_text().splitlines()] if state.exists() else []
        first, end = options.first + len(self.results), options.first + options.count
        try:
            for done, index in enumerate(range(first, end), first + 1 - options.first):
                result = self.inject(index)
                if options.short and result["failed"] and not any(WRONG in each for each in result["failed"]):
                    print(f"  late, tried once more: {result['kind']}: {result['failed']}", flush=True)
                    result = self.inject(index)
                with state.open("a") as file:
                    file.write(json.dumps(result) + "\n")
                self.results.append(result)
                left = (time.monotonic() - started) / (len(self.results) or 1) * (options.count - done) / 60
                print(f"{done:5}/{options.count}  {result['seconds']:.2f} s  {result['kind']}: {result['what']}  "
                      f"(machine {result['slowness']:.1f} times slower; {left:.0f} min left)", flush=True)
                print_failure(result, "--short " * options.short)
        finally:
            self.close()
        return self.results

    def close(self):
        if self.rig:
            rig, self.rig = self.rig, None
            for left in rig.close() if self.results else rig.close() and ():
                self.results.append(self.results[-1] | {"failed": [left], "kind": "end of the desk"})
                print_failure(self.results[-1], "")

    def inject(self, index):
        block, wanted, kind = self.plan(index)
        if not self.rig or block != self.block:
            self.close()
            waiting.PATIENCE = 2 * self.slowness.since(time.monotonic() - 10)
            self.rig, self.block = Rig(*wanted, self.slowness), block
            self.rig.open()
        rig, chance, begin, before = self.rig, self.chance(index), time.monotonic(), self.rig.census()
        rig.watch.begin()
        rig.held_back()
        rig.health.late.clear()
        rig.ended.clear()
        low, high, fault = KINDS[kind]
        if self.options.short:
            high = min(15, 2 + ALLOWED_AGE * self.slowness.since(begin - 5)) if kind in OLD_NUMBERS else low
            low = high
        with fault(rig, chance) as what:
            time.sleep(chance.uniform(low, high))  # so long the fault lasts
        limit = LIMITS.get(kind, RIGHT_AGAIN) * self.room
        seconds, failed = self.wait_until_right(time.monotonic(), limit)
        failed += self.wait_until_settled(before)
        slowness = self.slowness.since(begin)
        failed += [f"{each.quantity} showed {each.shown!r} for {each.seconds:.2f} s, {WRONG} {each.expected!r}"
                   for each in rig.watch.wrong(slowness)] + rig.health.late
        failed += [f"{','.join(group)} ended with {process.child.poll()}" for process, group in rig.ended
                   if kind not in MAY_END and group != HOST]
        lines = rig.last_lines() if failed else []
        if failed:  # what is broken must not fail the next fault too
            self.rig = rig.close() and None
        return {"seed": self.options.seed, "index": index, "kind": kind, "what": what, "seconds": seconds, "failed": failed,
                "lines": lines, "slowness": slowness, "parts": f"{wanted[0]}{', faked clock' * wanted[1]}"}

    def wait_until_right(self, end, limit):
        """Seconds from the end of the fault, or the start of the last process, to when all was right and stayed so."""
        last, problem = 0.0, ""
        while True:
            now, slowness = time.monotonic(), self.slowness.since(end - 1)
            limit += self.rig.held_back()
            begin = max(end, *(when for group, when in self.rig.started.items() if group != HOST))
            if found := self.rig.watch.problem(slowness):
                last, problem = now, found
            self.rig.health.excused &= now - begin < limit * slowness
            seconds = max(0.0, last - begin)
            if now - max(last, begin) > QUIET * slowness or seconds > (limit + SETTLED) * slowness:
                return seconds, [f"{problem} for {seconds:.1f} s"] * (seconds > limit * slowness)
            time.sleep(0.02)

    def wait_until_settled(self, before):
        rig, begin = self.rig, time.monotonic()
        rig.health.excused = False
        while True:
            slowness, answer = self.slowness.since(begin - 1), rig.health.answer
            found = [*rig.leaks(before), rig.watch.problem(slowness)]
            found += [] if answer.get("up") else [f"/api/health: {answer.get('services')}"]
            found += ["the board does not see what the application writes"] * (rig.health.board_written < begin - QUIET / 2)
            if not any(found) or time.monotonic() - begin > SETTLED * slowness:
                return list(filter(None, found))
            time.sleep(0.1)


def print_failure(result, option):
    if result["failed"]:
        print(f"  FAILED: {result['kind']}: {result['what']}\n    parts: {result['parts']}")
        print(*("    " + each for each in result["failed"]), *result["lines"], sep="\n")
        print(f"    again: tests/faults/campaign.py {option}--seed {result['seed']} --first {result['index']} --count 1",
              flush=True)


def print_report(results):
    print("| fault | times | right again after: median | worst | failed |\n| --- | --- | --- | --- | --- |")
    for kind in (*KINDS, ""):
        of_kind = [each for each in results if kind in ("", each["kind"])]
        if of_kind:
            seconds = [each["seconds"] for each in of_kind]
            print(f"| {kind or 'all'} | {len(of_kind)} | {statistics.median(seconds):.2f} s | {max(seconds):.2f} s | "
                  f"{sum(bool(each['failed']) for each in of_kind)} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("seed", "first", "count"):
        parser.add_argument("--" + name, type=int, default=1 if name == "seed" else 0)
    parser.add_argument("--state", help="file with a line for each fault done")
    parser.add_argument("--short", action="store_true")
    parser.add_argument("--report", nargs="+", metavar="FILE")
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    if options.report:
        results = [json.loads(line) for name in options.report for line in pathlib.Path(name).read_text().splitlines()]
    else:
        options.count = options.count or (len(SHORT) - options.first if options.short else 1000)
        results = Campaign(options).run()
    print_report(results)
    return 1 if any(each["failed"] for each in results) else 0


if __name__ == "__main__":
    sys.exit(main())
