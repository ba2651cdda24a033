"""What the display must show for the frames on the bus, by docs/host-protocol.md alone.

Nothing of the display's or the host's sources is used. A quantity is one thing that an operator can read: a number, a
unit, a line of text, a lamp. The model keeps for each quantity the value that it must have since when.
"""

import math
import re
import struct
import unicodedata

HOST = 0x18FF00D0
MOST_FRAMES = 36
IMMEDIATE = ((6,), (7, 3), (7, 4), (7, 5), (7, 7), (7, 9))
SILENCE = 11.0  # ten seconds without a frame, and one more until the display says so

ANYTHING = object()  # the protocol does not say
NOTHING = object()   # no message has said anything yet: no number may stand there
DASHES = "-"
# What the display shows before the first operating values: eights in every place, and 85 %.
START_PATTERN = {"percent": 85, "capacity": 888800, "load": 888900, "radius": 888.8, "angle": 888.8,
                 "extension": 888.8, "parts": 88}

LAMPS = ("PreAlarm", "Overload", "A2B", "JibLongFly0", "JibShortFly0", "JibLongFly15", "JibShortFly15", "JibLongFly30",
         "JibShortFly30", "RearWinch", "FrontWinch", "Counterweight", "Stowed", "BoomMode", "AuxHead", "AlarmSet", "Tires",
         "OutriggerRetracted", "OutriggerHalf", "OutriggerExtended", "PickMainBoom", "PickAux", "PickFly", "ManBasket",
         "AngleAlarmSet", "AngleAlarmTripped", "RadiusAlarmSet", "RadiusAlarmTripped", "ExtensionAlarmSet",
         "ExtensionAlarmTripped", "SwingAlarmSet", "SwingAlarmTripped")
COLOURED = ("Tires", "OutriggerRetracted", "OutriggerHalf", "OutriggerExtended")
SWING_WORDS = {1: "FRONT", 2: "REAR", 3: "SIDE", 4: 360, 5: "-N/A-", 6: "F-ARC"}
WEIGHTS = (("lbs", "libras", "libras", "lbs", "lbs", "livres"), ("kgs", "kilos", "kilos", "kgs", "kgs", "kilos"))
DISTANCES = (("feet", "pies", "pies", "feet", "feet", "pieds"),
             ("meters", "metros", "metros", "meters", "meters", "meters"))
CHINESE = 3

# Field to line and place, in the order in which they are laid over one another: left, centre, right, and the higher
# number on top.
PLACES = {1: (0, "l"), 2: (1, "l"), 3: (3, "r"), 4: (2, "l"), 5: (0, "r"), 6: (1, "r"), 7: (2, "r"), 8: (0, "l"),
          9: (1, "l"), 10: (2, "l"), 11: (3, "l"), 12: (0, "r"), 13: (1, "r"), 14: (2, "r"), 15: (3, "r"), 16: (0, "l"),
          17: (0, "c"), 18: (0, "r"), 19: (1, "l"), 20: (1, "c"), 21: (1, "r"), 22: (2, "l"), 23: (2, "c"), 24: (2, "r"),
          25: (3, "l"), 26: (3, "c"), 27: (3, "r")}
VALUES = ("capacity", "load", "radius", "angle", "extension", "percent", "parts", "swing")


class Joiner:
    """Frames into messages. A sequence that is not kept is given up, with the frame that broke it."""

    def __init__(self):
        self.frames, self.count = [], 0

    def take(self, data):
        """The message that this frame completes, or None."""
        if data[0] == 0 and data[1] == 1 and any(bytes(data[2:2 + len(each)]) == bytes(each) for each in IMMEDIATE):
            return None  # answered at once; other frames do not notice
        if data[0] != len(self.frames):
            self.frames, self.count = [], 0
            return None
        if data[0] == 0:
            self.count = data[1]
            if self.count == 0:
                return None
        self.frames.append(bytes(data[2:] if data[0] == 0 else data[1:]))
        if len(self.frames) < self.count:
            return None
        message = b"".join(self.frames) if self.count <= MOST_FRAMES else None
        self.frames = []
        return message


def hundreds(value, offset):
    if math.isnan(value):
        return DASHES
    if math.isinf(value):
        return DASHES if value > 0 else 0
    stored = 100 * math.trunc((value + offset) / 100)
    shown = max(0, math.trunc(stored / 100)) * 100
    return shown if shown < 1000000 else DASHES


def tenths(value, lowest):
    if math.isnan(value) or math.isinf(value):
        return 0.0 if value < 0 and lowest == 0 else DASHES
    count = math.trunc((value + 0.05) / 0.1)
    if lowest == 0:
        count = max(0, count)
    return count / 10 if lowest * 10 <= count < 10000 else DASHES


def percent(value):
    if not math.isfinite(value):
        return DASHES
    share = float(f"{value:.5e}")  # six digits are what the float carries
    if share >= 10 or share < -1:  # beyond these a share has no meaning for the operator
        return ">999" if share >= 10 else DASHES
    return math.trunc(float(f"{value * 100:.5e}")) + 0


def narrow(text):
    """Wide forms as their ASCII characters, every kind of blank as one."""
    return "".join(" " if c in "\u00a0\u3000" else chr(ord(c) - 0xFEE0) if "\uff01" <= c <= "\uff5e" else c for c in text)


def is_plain(raw):
    """Whether the text's cells are known: it is UTF-8, and every character can be shown."""
    try:
        text = raw.decode()
    except UnicodeDecodeError:
        return False
    return not any(unicodedata.category(c) in ("Cc", "Cn", "Co", "Cs") for c in text)


def loose(text):
    """For text with bytes that cannot be shown: marks count once, and blanks do not count."""
    return re.sub(r"[?�]+", "?", re.sub(r"\s+", "", narrow(text)))


class Line(str):
    """A line of the grid; `exact` says whether its cells are known."""

    exact = True

    def __eq__(self, other):
        if not isinstance(other, str):
            return False
        if self.exact:
            return str(self).rstrip() == other.rstrip()
        return loose(self) == loose(other)

    def __ne__(self, other):
        return not self == other

    __hash__ = None


class HostModel:
    def __init__(self):
        self.joiner = Joiner()
        self.expected = {}  # quantity: [(since, value)]
        self.messages = 0
        self.last_frame = None
        self.silent = False
        self.silences = []  # (last frame, next frame)
        self.language = 0
        self.units = ANYTHING
        self.swing_mode = ANYTHING
        self.colours = ANYTHING
        self.lamp_word = None
        self.swing = None
        for quantity in VALUES:
            self.expected[quantity] = [(0.0, NOTHING)]

    def must(self, quantity, value, when):
        history = self.expected.setdefault(quantity, [(0.0, ANYTHING)])
        if type(history[-1][1]) is type(value) and history[-1][1] == value:
            return
        history.append((when, value))

    def forget(self, when):
        """The display begins anew: it knows nothing of what the host has said before."""
        self.joiner = Joiner()
        for quantity in VALUES:
            self.must(quantity, NOTHING, when)
        for quantity in list(self.expected):
            if quantity not in VALUES:
                self.must(quantity, ANYTHING, when)
        self.language = self.units = self.swing_mode = self.colours = ANYTHING
        self.lamp_word = self.swing = None

    def take_frame(self, identifier, data, when):
        if identifier != HOST or len(data) != 8:
            return
        self.tick(when)
        if self.silent:
            self.silences.append((self.last_frame, when))
        self.last_frame, self.silent = when, False
        message = self.joiner.take(data)
        if message:
            self.messages += 1
            self.take_message(message, when)

    def tick(self, when):
        """Time passes: after a long silence no value is known."""
        if self.silent or self.last_frame is None or when - self.last_frame < SILENCE:
            return
        self.silent = True
        for quantity in VALUES:
            self.must(quantity, NOTHING, self.last_frame + SILENCE)

    def take_message(self, message, when):
        command = message[0]
        if command == 2 and len(message) >= 41:
            self.take_values(message, when)
        elif command == 5:
            self.take_texts(message, when)
        elif command == 7:
            self.take_extended(message, when)

    def take_values(self, message, when):
        capacity, load, radius, angle, extension, part = struct.unpack(">6f", message[2:26])
        self.must("capacity", hundreds(capacity, 0), when)
        self.must("load", hundreds(load, 50), when)
        self.must("radius", tenths(radius, 0), when)
        self.must("angle", tenths(angle, -20), when)
        self.must("extension", tenths(extension, 0), when)
        self.must("percent", percent(part), when)
        self.must("parts", message[26], when)
        self.lamp_word = int.from_bytes(message[27:30], "little") | message[32] << 24
        self.swing = struct.unpack(">h", message[30:32])[0]
        self.show_lamps(when)
        self.show_swing(when)

    def show_lamps(self, when):
        if self.lamp_word is None:
            return
        for bit, lamp in enumerate(LAMPS):
            value = self.lamp_word >> bit & 1
            if value and lamp in COLOURED:
                value = ANYTHING if self.colours is ANYTHING else self.colours[COLOURED.index(lamp)]
            self.must("lamp " + lamp, value, when)
        self.must("lamp AlarmLED", self.lamp_word >> 15 & 1, when)

    def show_swing(self, when):
        if self.swing is None:
            return
        if self.swing_mode is ANYTHING:
            self.must("swing", ANYTHING, when)
        elif self.swing_mode:
            self.must("swing", SWING_WORDS.get(self.swing_mode, "ERROR"), when)
        else:
            degrees = 0 if abs(self.swing) == 360 else self.swing
            self.must("swing", degrees if abs(degrees) < 360 else DASHES, when)

    def show_units(self, when):
        known = self.units is not ANYTHING and self.language is not ANYTHING
        self.must("weight unit", WEIGHTS[self.units][self.language] if known else ANYTHING, when)
        self.must("distance unit", DISTANCES[self.units][self.language] if known else ANYTHING, when)

    def take_extended(self, message, when):
        sub, value = message[1], message[2] if len(message) > 2 else 0
        if sub == 11 and value < 2:
            self.units = value
            self.show_units(when)
        elif sub == 13 and value < 6:
            if (self.language == CHINESE) != (value == CHINESE) or self.language is ANYTHING:
                for line in range(4):  # until the next text command lays them out anew
                    self.must(f"line {line + 1}", ANYTHING, when)
            self.language = value
            self.show_units(when)
        elif sub == 18 and len(message) >= 6:
            self.colours = tuple(message[2:6])
            self.show_lamps(when)
        elif sub == 19:
            self.swing_mode = value
            self.show_swing(when)

    def take_texts(self, message, when):
        columns = 24 if self.language == CHINESE else 40
        length = int.from_bytes(message[1:3], "big")
        if not 5 <= length <= columns * 4 * 5 + 2:
            return
        if self.language is ANYTHING:
            for line in range(4):
                self.must(f"line {line + 1}", ANYTHING, when)
            return
        for line, text in enumerate(self.lay_out(self.read_fields(message[3:3 + length], columns), columns)):
            self.must(f"line {line + 1}", text, when)

    def read_fields(self, body, columns):
        """Field to its text and whether every cell of it is known. A wrong length ends the message there."""
        fields, at = {}, 0
        while at + 4 <= len(body):
            length = int.from_bytes(body[at:at + 2], "big")
            if not 3 <= length <= columns * 4 * 5:
                break
            raw, field = body[at + 4:at + 2 + length], body[at + 3]
            plain = is_plain(raw) and len(raw) == length - 2
            text, known = narrow(raw.decode("utf-8", "replace")), plain
            if field in fields:
                text, known = fields[field][0] + " " + text, plain and fields[field][1]
            fields[field] = (text, known)
            at += 2 + length
        return fields

    def lay_out(self, fields, columns):
        cells, exact = [[" "] * columns for _ in range(4)], [True] * 4
        for side in "lcr":
            for field in sorted(fields):
                line, place = PLACES.get(field, (0, ""))
                if place != side:
                    continue
                text, known = fields[field]
                exact[line] = exact[line] and known and len(text) <= columns
                start = {"l": 0, "c": (columns - len(text)) // 2, "r": columns - len(text)}[side]
                start = max(0, start)
                cells[line][start:start + len(text)] = text[:columns - start]
        overlay, known = fields.get(0, ("", True))
        for i, c in enumerate(overlay[:4 * columns]):
            cells[i // columns][i % columns] = c
        lines = []
        for line in range(4):
            text = Line("".join(cells[line]))
            # A long or unreadable text may leave its line; what it covers is not known either.
            overflow = any(not known or len(text) > columns for text, known in fields.values())
            text.exact = exact[line] and not overflow and known
            lines.append(text if text.exact or not overflow else ANYTHING)
        return lines
