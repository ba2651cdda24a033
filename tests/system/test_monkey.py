"""Random keys, frames and page changes at the same time: no key is lost, doubled or stuck."""

import http.client
import json
import os
import random
import signal
import threading
import time

from desk import BIN, CONFIG, DISPLAY_ID, PATIENCE, cmd2, cmd5, wait_for

# Page, key: the host key code, 0 for none.
KEYS = {
    "Main": {1: 18, 3: 9, 4: 19, 5: 21},
    "Wad": {1: 6, 3: 18, 4: 19, 5: 8, 6: 14, 7: 17, 8: 15},
    "Config": {2: 12, 3: 9, 6: 2, 8: 19},
    "Slate": {},
    "Dials": {},
}

SECONDS = float(os.environ.get("ORVIK_MONKEY_SECONDS", "15"))
SEED = int(os.environ.get("ORVIK_MONKEY_SEED", str(random.SystemRandom().randrange(1 << 32))))
PACE = 1.0 if PATIENCE == 1 else 2.5  # a sanitizer build takes longer to see a key


class Monkey:
    """Actors on threads of their own. An exception of one of them ends all, and run raises it."""

    def __init__(self, desk):
        self.desk = desk
        self.over = threading.Event()
        self.failures = []
        self.made = []      # in order: the lines of `watch` before each press, its keys, and whether it must count
        self.received = []  # the host key codes that the display reported
        self.watch = desk.start(BIN / "unit", "events", "--config", CONFIG, "watch")
        self.watch.wait_line("watching", self.watch.err)

    def run(self, seconds):
        threads = [threading.Thread(target=self._act, args=(actor, random.Random(SEED + number)))
                   for number, actor in enumerate([self.press_keys, self.send_frames, self.change_pages, self.ask_keys])]
        for thread in threads:
            thread.start()
        self.over.wait(seconds)
        self.over.set()
        for thread in threads:
            thread.join(60)
            assert not thread.is_alive(), "timed out waiting for an actor to end"
        if self.failures:
            raise self.failures[0]

    def _act(self, actor, chance):
        try:
            actor(chance)
        except Exception as failure:  # raised by run
            self.failures.append(failure)
            self.over.set()

    def press_keys(self, chance):
        panel = http.client.HTTPConnection(self.desk.address("http"), timeout=20)  # one connection for quick presses

        def move(key, down):
            panel.request("POST", f"/api/keys/{key}", json.dumps({"down": down}))
            panel.getresponse().read()

        while not self.over.is_set():
            lines = len(self.watch.out)
            keys = chance.sample(range(1, 9), chance.choice([1, 1, 1, 1, 2]))
            short = chance.random() < 0.1
            for key in keys:
                move(key, True)
            # These two are the lengths of a press and of a release.
            time.sleep(0.001 if short else PACE * chance.uniform(0.1, 0.25))
            for key in keys:
                move(key, False)
            time.sleep(PACE * chance.uniform(0.12, 0.25))
            self.made.append((lines, keys, len(keys) == 1 and not short))

    def presses(self):
        """In order: the host key codes that each press may have given, 0 for none."""
        possible = []
        for number, (_, keys, certain) in enumerate(self.made):
            # The page may have changed shortly before or after the press, and a busy machine tells it late.
            first = self.made[max(0, number - 1)][0]
            last = self.made[number + 4][0] if number + 4 < len(self.made) else len(self.watch.out)
            for key in keys:
                codes = {KEYS.get(page, {}).get(key, 0) for page in self.pages_of(first, last)}
                possible.append(codes if certain else codes | {0})
        return possible

    def pages_of(self, first, last):
        def pages(part):
            names = [line.removeprefix("action Page.") for line in part]
            return [name for name in names if name in KEYS or name == "Splash"]

        lines = list(self.watch.out)
        return set((pages(lines[:first])[-1:] or ["Main"]) + pages(lines[first:last]))

    def send_frames(self, chance):
        bus = self.desk.bus()
        while not self.over.wait(0.005):
            bus.pass_over()
            kind = chance.randrange(8)
            if kind == 0:
                bus.send(0x18FF00D0, chance.randbytes(chance.randrange(9)))
            elif kind == 1:
                bus.send(chance.randrange(1 << 29), chance.randbytes(8))
            elif kind == 2:
                bus.send_message(cmd5((chance.randrange(1, 31), chance.choice(["LOAD", "ЛЕБЁДКА", "主臂", "É"]) * 3)))
            elif kind == 3:
                bus.send_message([4, chance.choice([0, 1, 5, 255])])
            elif kind == 4:
                bus.send_message([7, 13, chance.randrange(6)])
            elif kind == 5:
                bus.send_message(bytes([chance.choice([1, 3, 5, 8, 9, 200])]) + chance.randbytes(chance.randrange(245)))
            else:
                bus.send_message(cmd2(load=100 * chance.randrange(9000), led=chance.randrange(1 << 32)))

    def change_pages(self, chance):
        bus = self.desk.bus()
        while not self.over.wait(chance.uniform(0.2, 1.5)):
            bus.pass_over()
            if chance.random() < 0.7:
                bus.send_message([7, 15, chance.randrange(9)])
            elif chance.random() < 0.5:
                bus.send_message([7, 14, chance.randrange(2)])
            else:
                self.desk.post(chance.choice(["orvik.MainToSplash", "orvik.MainToConfig", "orvik.DialsToMain",
                                              "orvik.ConfigToMain", "orvik.WadToMain", "Page.Dials.Refresh",
                                              "IgnitionOn"]))

    def ask_keys(self, _):
        bus = self.desk.bus()
        while not self.over.wait(0.05):
            self.take_keys(bus)

    def take_keys(self, bus):
        bus.send_message([6])
        while True:
            reply = bus.receive(10, DISPLAY_ID).data
            if reply[:2] == b"\0\1" and reply[5:] == b"\xff\xff\xff":
                break
        if reply[3]:
            self.received.append(reply[3])
        return reply[3]


def is_explained(received, presses):
    """Whether each press gave one of its codes, in order, and nothing else was received."""
    places = {0}
    for codes in presses:
        places = {place + 1 for place in places if place < len(received) and received[place] in codes} | (
            places if 0 in codes else set())
    return len(received) in places


def test_a_monkey_at_keys_and_bus(desk):
    print(f"ORVIK_MONKEY_SEED={SEED} ORVIK_MONKEY_SECONDS={SECONDS:g}")
    desk.go_to("Main").close()
    monkey = Monkey(desk)
    monkey.run(SECONDS)
    bus = desk.bus()
    while monkey.take_keys(bus):
        pass
    presses = monkey.presses()
    assert is_explained(monkey.received, presses), f"{monkey.received} are not of {presses}"
    assert len(presses) >= SECONDS / PACE / 5, "the monkey hardly pressed a key"
    for page in ("Slate", "Wad", "Dials", "Config", "Main"):
        desk.move_to(page, bus)
    bus.send_message([7, 13, 0])
    bus.send_message(cmd2(load=77700))
    wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 77,700", "the load after all that")
    desk.orvik.child.send_signal(signal.SIGUSR1)
    assert desk.orvik.wait_exit() == 0
    assert "Orvik: Main timed out!" not in desk.orvik.out
