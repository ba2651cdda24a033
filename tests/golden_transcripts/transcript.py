"""transcript.py PROGRAM NAME [--rewrite]: compares what the application does in a scenario with the stored transcript.

NAME.log is both: its lines with "-----" are what happens to the application, all others what it does. PROGRAM is
golden_transcript; it runs the scenario and prints the events. This script makes them readable and compares them with
the file, or replaces what the application does. The exit status is 1 where they differ.
"""
import collections
import difflib
import itertools
import pathlib
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree as xml

FOLDER = pathlib.Path(__file__).resolve().parent
CONFIG = FOLDER.parents[1] / "config"
WIDEST = 112
FEWEST_REPEATS = 4
LONGEST_PERIOD_US = 2_000_000
NOISE = 0.03  # of a load computer's measurements
SHOWN = 40
FIXED_DATE = "Aug 27 2013"

Event = collections.namedtuple("Event", "time kind subject detail", defaults=("",))
CHANNELS = {"1": "events", "2": "bus", "4": "screen"}  # of the notification manager
ALIGNMENTS = ("", " centre", " right")
OPERATIONS = {1: "translate", 3: "pop", 5: "rotate", 12: "start"}


def names(file, element, key, prefix):
    return {int(node.get(key)): node.get("name").removeprefix(prefix)
            for node in xml.parse(CONFIG / file).iter(element)}


EVENTS = names("generic.xml", "Event", "id", "orvik.")
WIDGETS = names("generic.xml", "Object", "id", "orvikTextWidget")
PARAMETERS = names("parameters.xml", "Parameter", "handle", "Orvik")


def quote(text):
    return '"' + text.replace("\n", "\\n").replace("\u00a0", "·") + '"'


def read_screen(message):
    target, operation = struct.unpack_from("<iI", message)
    widget = WIDGETS.get(target, str(target))
    if operation == 0:
        end = message.index(0, 12)
        return widget, quote(message[12:end].decode()) + ALIGNMENTS[message[8]] + message[end + 1:].hex()
    if operation == 1:
        return widget, "at %d %d" % struct.unpack_from("<ii", message, 8)
    return ("apply", "") if operation == 4 and len(message) == 8 else (widget, message.hex(" "))


def read_bus(message):
    kind, length, port, identifier, size = struct.unpack_from("<5I", message)
    if kind == 2 and len(message) == 1808:
        return f"{identifier:08X}", f"{message[20:28].hex(' ').upper()} port {port} length {length}/{size}"
    return (f"filter {identifier:08X}",
            f"type {kind} mask {size:08X} port {port} length {length}, to {message[1808:].decode()}")


def read_layer(message):
    parts, at = [], 0
    while at < len(message):
        marker, zero, command, first, layer, second, length = struct.unpack_from("<7I", message, at)
        data = message[at + 28:at + 28 + length]
        name = OPERATIONS.get(first, f"operation {first}") if command == 4 else f"command {command}/{first}"
        if command == 6:
            words = struct.unpack_from("<II", data) + (data[8:data.index(0, 8)].decode(), f"object {second}")
        else:
            words = struct.unpack(f"<{len(data) // 4}" + ("I" if first == 12 else "f"), data)
        faults = "" if (marker, zero) == (0x55AA55AA, 0) else f"marker {marker:08X} {zero:08X} "
        parts.append(f"{faults}{name} " + " ".join(w if isinstance(w, str) else f"{w:g}" for w in words))
        at += 28 + (length + 3) // 4 * 4
    return f"{layer}: " + ", ".join(part.strip() for part in parts), ""


class Noise:
    """Writes that are left out: most of the commands' count, and small changes of measured values."""

    def __init__(self, measures):
        self.measures, self.last = measures, {}

    def leaves_out(self, name, value):
        if name == "TotalHX7Commands":
            return value % 100 != 0
        last = self.last.get(name, 0.0)
        if self.measures and abs(value - last) < NOISE * (1 + abs(last)):
            return True
        self.last[name] = value
        return False


def readable(time, kind, text, noise):
    """The event in words; none where it is left out."""
    if kind in ("out", "err", "handler"):
        return Event(time, kind, quote(text))
    if kind == "layer":
        return Event(time, kind, *read_layer(bytes.fromhex(text)))
    if kind == "write":
        handle, code, value = text.split()
        name = PARAMETERS[int(handle)]
        detail = f"{float(value):g}" + ("" if code == "0" else f" pulse {code}")
        return None if noise.leaves_out(name, float(value)) else Event(time, kind, name, detail)
    if kind != "message":
        return Event(time, kind, text)
    channel, message = text.split()
    message = bytes.fromhex(message)
    if channel == "1":
        return Event(time, "event", EVENTS.get(struct.unpack("<I", message)[0], message.hex()))
    if channel == "2":
        return Event(time, "bus", *read_bus(message))
    return Event(time, "screen", *read_screen(message)) if channel == "4" else None


def read_events(output):
    noise = Noise("----\tcomputer" in output or "----\tplay" in output)
    shown, events = True, []
    for record in output.split("\x1e")[:-1]:
        time, kind, text = record.split("\t", 2)
        if kind == "-----" and text in ("quiet", "record"):
            shown = text == "record"
        event = readable(int(time), kind, text, noise)
        if event is not None and (shown or kind == "-----"):
            events.append(event)
        if (kind, text) == ("-----", "end"):
            break
    return events


def fold(events):
    """Of events that repeat at an even pace the first one stays, with their number and period."""
    places, endings = collections.defaultdict(list), {}
    for place, event in enumerate(events):
        places[event[1:]].append(place)
    for same in places.values():
        while same:
            steps = [events[b].time - events[a].time for a, b in zip(same, same[1:])]
            count = 1 + sum(1 for _ in itertools.takewhile(lambda step: step == steps[0], steps))
            if count < FEWEST_REPEATS or steps[0] > LONGEST_PERIOD_US:
                count = 1
            elif events[same[0]].kind != "-----":
                endings[same[0]] = f"x{count}" + (f" every {steps[0] / 1e6:.3f}" if steps[0] else "")
                endings.update((place, None) for place in same[1:count])
            same = same[count:]
    kept = [(event, endings.get(place, "")) for place, event in enumerate(events)]
    return [event._replace(detail=f"{event.detail} {ending}".strip()) for event, ending in kept if ending is not None]


def join(events):
    """Neighbours that differ only in their subject share a line."""
    lines = []
    for (time, kind, detail), group in itertools.groupby(events, lambda event: (event.time, event.kind, event.detail)):
        start, ending = f"{time / 1e6:.3f} {kind} ", f" {detail}".rstrip()
        line = ""
        for event in group:
            if line and (not detail or len(start + line + event.subject + ending) > WIDEST):
                lines.append((start + line + ending).rstrip())
                line = ""
            line += ", " + event.subject if line else event.subject
        lines.append((start + line + ending).rstrip())
    return lines


def hide_build_time(output):
    """The date of the build stands in the banner and in the reply to the host."""
    found = re.search(r"Compile Date: (.{11})  ..:..:..", output)
    if found is None:
        return output
    date = [found[1], found[1].replace("  ", " 0")]
    pairs = [(date[1][:6], FIXED_DATE[:6]), (date[1][6:], FIXED_DATE[6:])]
    for old, new in pairs:
        output = output.replace(old.encode().hex().upper(), new.encode().hex().upper())
    return re.sub(re.escape(date[0]) + "  ..:..:..", FIXED_DATE, output)


def transcript(program, stored):
    scenario = [re.match(r"(\d+)\.(\d{3}) ----- (.*)", line) for line in stored]
    lines = "".join(f"{found[1]}{found[2]} {found[3]}\n" for found in scenario if found)
    output = subprocess.run([program], input=lines.encode(), stdout=subprocess.PIPE, check=True).stdout.decode()
    root = re.search(r"\tcp '(.*?)/fs/", output)
    output = hide_build_time(output.replace(root[1], "") if root else output)
    comments = [line for line in stored if line.startswith("#")]
    return comments + [line + "\n" for line in join(fold(read_events(output)))]


def main(program, name, rewrite=""):
    file = FOLDER / f"{name}.log"
    stored = file.read_text().splitlines(keepends=True)
    now = transcript(program, stored)
    difference = list(difflib.unified_diff(stored, now, file.name, "now", n=3))
    if rewrite:
        file.write_text("".join(now))
    elif difference:
        sys.stdout.writelines(difference[:SHOWN])
        print(f"{len(difference)} lines of difference. Where it is intended: tools/rewrite-transcripts {name}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
