"""The bus and its logs with the programs of others: python-can, can-utils and Wireshark."""

import json
import os
import pathlib
import re
import struct
import subprocess

import can
import pytest

from desk import BIN, CONFIG, DEMO_LOG, DISPLAY_ID, HOST_ID, PATIENCE, REPOSITORY, cmd2, cmd5, cut, sub_command, wait_for

DISSECTOR = REPOSITORY / "tools/wireshark/orvik.lua"
BEGIN = 1700000000.0


def run(*command):
    environment = dict(os.environ, TZ="UTC", LC_ALL="C.UTF-8")
    result = subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=60 * PATIENCE,
                            env=environment)
    assert result.returncode == 0, (command, result.stderr)
    return result.stdout


def watch(log):
    return [json.loads(line) for line in run(BIN / "hx7", "watch", "--json", log).splitlines()]


def tshark(log, *options):
    return run("tshark", "-X", f"lua_script:{DISSECTOR}", "-r", log, *options)


# ---- A log that has everything

class Log:
    """Writes candump's lines, a millisecond apart."""

    def __init__(self):
        self.lines = []
        self.time = BEGIN

    def frame(self, data, identifier=HOST_ID):
        self.lines.append(f"({self.time:.6f}) can0 {identifier:08X}#{bytes(data).hex().upper()}")
        self.time += 0.001

    def host(self, message):
        for frame in cut(message):
            self.frame(frame)

    def reply(self, *frames):
        for frame in frames:
            self.frame(bytes(frame).ljust(8, b"\xff"), DISPLAY_ID)

    def write(self, path):
        path.write_text("\n".join(self.lines) + "\n")
        return path


GOOD = [[0], [1], cmd2(), [4, 0], [4, 255], [4, 20], [7, 1, 3, 0, 0x7F, 1], [7, 1, 30] + [5] * 30, [7, 2, 1], [7, 6, 4],
        [7, 8, 1], [7, 10, 9], [7, 11, 1], cmd2(load=6350, radius=10.8, angle=-2.5, led=0x81020304, swing=-75, percent=1.07),
        [7, 12, 3], [7, 13, 4], [7, 13, 9], [7, 14, 1], [7, 15, 3], [7, 15, 2], [7, 16, 1], [7, 17, 2],
        [7, 18, 1, 2, 3, 9], [7, 19, 6], [8, 1], [9, 2], [7, 11, 0], [7, 11, 7], cmd2(piston=504, rod=-132.5),
        cmd5((17, "HELLO"), (27, "УЛОЖЕН"), (17, "配重")), [3] + list(sub_command(0, "TWO-BLOCK"))]
BAD = [[99], [7, 99], [2, 1], [3, 0, 9, 0], [5, 0, 4, 0, 2, 0, 17], [5, 1, 0] + [0] * 20, cmd5((40, "NOWHERE")),
       [5, 0, 10, 0, 3, 0, 17, 65, 0, 9, 0, 18], [3, 0, 1, 0, 0]]


def log_of_everything():
    log = Log()
    for message in GOOD + BAD:
        log.host(message)
    values = cut(cmd2(load=11100))
    for frames in (values[:2] + values[3:], [values[0]] * 2 + values[1:], [bytes(8)], [bytes([0, 0, 1])], [b"\0\1\4"]):
        for frame in frames:  # missing, repeated, no message at all, short
            log.frame(frame)
    for number in range(40):  # more frames than the display accepts
        log.frame(bytes([0, 40, 5, 0, 9] if number == 0 else [number]).ljust(8, b"\xff"))
    log.host(cmd2(load=22200))
    log.frame(values[0])  # a request between the frames of a message
    log.frame(bytes([0, 1, 6]).ljust(8, b"\xff"))
    log.reply([0, 1, 0xFF, 18, 18])
    for frame in values[1:]:
        log.frame(frame)
    for request, reply in ([[7, 3], ([0, 2, *b"Vistre"], [1, *b"l "])], [[7, 4], ([0, 2, *b"Aug 27"], [1, *b" 2013"])],
                           [[7, 5], ([0, 3, *b"Rev. 0"], [1, *b"1.003.0"], [2, *b"109"])], [[7, 7], ([0, 1, 0],)],
                           [[7, 9], ([0, 1, 3],)]):
        log.host(request)
        log.host([6])  # never answered, or by the next reply of one frame
        log.reply(*reply)
    log.host([7, 5] + [0] * 6)  # two frames: no answer
    log.time += 2
    log.reply([0, 1, 0])  # no request is open
    return log


# ---- The dissector against hx7 watch

def value_names():
    """The names of numbers, by filter: what the dissector's own tables say."""
    names = {}
    for line in run("tshark", "-G", "values", "-X", f"lua_script:{DISSECTOR}").splitlines():
        words = line.split("\t")
        if words[0] == "V" and words[1].startswith("orvik."):
            names[words[1], int(words[2], 0)] = words[3]
    return names


def layers(log):
    packets = json.loads(tshark(log, "-T", "json", "--no-duplicate-keys", "-Y", "orvik.name"))
    return [(float(packet["_source"]["layers"]["frame"]["frame.time_epoch"]), packet["_source"]["layers"])
            for packet in packets]


def flat(tree, into=None):
    into = {} if into is None else into
    for key, value in tree.items():
        if isinstance(value, dict):
            flat(value, into)
        elif key not in into:
            into[key] = value
    return into


def as_list(value):
    return value if isinstance(value, list) else [value]


def filter_of(message, name):
    command = message["name"].replace("-", "_")
    field = name.replace("-", "_")
    if message["command"] == "CMD5":
        return f"orvik.text.{field}" if not name.startswith("field-") else "orvik.text.other"
    if message["command"] == "CMD2" or name == "bytes":
        return f"orvik.{field}"
    prefix = "orvik.reply." if message["command"] == "reply" else "orvik."
    return prefix + (command if name == message["name"] else f"{command}.{field}")


def same(value, shown, key, names):
    if key == "orvik.led":
        return True  # check_message compares each lamp
    if key == "orvik.bytes":
        return bytes.fromhex(value) == bytes.fromhex(shown.replace(":", ""))
    if key == "orvik.valid_keys":
        return " ".join(value) == shown
    if isinstance(value, (int, float)):
        return float(shown) == pytest.approx(value, rel=1e-5)
    return value == shown or value == names.get((key, int(shown) if shown.lstrip("-").isdigit() else None))


def check_message(message, tree, names):
    fields = flat(tree["orvik"])
    assert (fields["orvik.from"], fields["orvik.command"], fields["orvik.name"]) == (
        message["from"], message["command"], message["name"])
    assert fields.get("orvik.problem") == message.get("problem")
    for name, value in message["values"].items():
        key = filter_of(message, name)
        assert key in fields, (key, fields)
        values = as_list(value) if message["command"] in ("CMD5", "CMD3") else [value]
        for one, shown in zip(values, as_list(fields[key]), strict=True):
            assert same(one, shown, key, names), (message, key, one, shown)
    if "led" in message["values"]:
        lit = fields.get("orvik.lamp.lit", [])
        assert as_list(lit) == as_list(message["values"]["led"] if message["values"]["led"] != "none" else [])


def check_against_watch(log):
    heard = [message for message in watch(log) if message["from"] != "other"]
    shown = layers(log)
    names = value_names()
    assert len(heard) == len(shown)
    for message, (time, tree) in zip(heard, shown):
        assert time == pytest.approx(message["time"], abs=1e-5)
        check_message(message, tree, names)
    return heard


def test_wireshark_says_of_every_message_what_watch_says(tmp_path):
    heard = check_against_watch(log_of_everything().write(tmp_path / "everything.log"))
    assert {message["command"] for message in heard} >= {f"CMD{n}" for n in (0, 1, 2, 3, 4, 5, 6, 8, 9)} | {
        f"CMD7.{n}" for n in range(1, 20)} | {"reply", "?"}


def test_wireshark_counts_broken_sequences_and_matches_replies(tmp_path):
    log = log_of_everything().write(tmp_path / "everything.log")
    summary = subprocess.run([BIN / "hx7", "watch", log], capture_output=True, text=True, timeout=60).stderr
    counted = [int(n) for n in re.search(r"broken: host (\d+).*stray frames: host (\d+).*too long: (\d+).*"
                                         r"a reply: (\d+)", summary).groups()]
    assert counted[0] == 2 and counted[2] == 1, summary
    shown = [tshark(log, "-T", "fields", "-e", f"orvik.{name}").split() for name in
             ("broken", "strays", "too_long", "unanswered")]
    assert [max(map(int, numbers)) for numbers in shown] == counted
    frames = [line.split() for line in tshark(log, "-2", "-Y", "orvik.reply_in", "-T", "fields", "-e", "frame.number", "-e",
                                              "orvik.reply_in").splitlines()]
    answered = dict((int(request), int(reply)) for request, reply in frames)
    back = [line.split() for line in tshark(log, "-Y", "orvik.request_in", "-T", "fields", "-e", "orvik.request_in", "-e",
                                            "frame.number").splitlines()]
    assert answered == {int(request): int(reply) for request, reply in back} and len(answered) >= 6


def test_wireshark_filters_by_value():
    log = DEMO_LOG
    loads = [message["values"]["load"] for message in watch(log) if message["command"] == "CMD2"]
    for limit in (1000, 10000):
        found = tshark(log, "-Y", f"orvik.load > {limit}", "-T", "fields", "-e", "orvik.load").split()
        assert len(found) == sum(load > limit for load in loads) > 0


# ---- Logs of other programs

def frames_of(log):
    return [{key: value for key, value in message.items() if key != "time"} for message in watch(log)]


def odd_messages(time):
    return [can.Message(timestamp=time, arbitration_id=7, is_extended_id=False, is_remote_frame=True, dlc=4),
            can.Message(timestamp=time, is_error_frame=True),
            can.Message(timestamp=time, arbitration_id=7, is_fd=True, data=bytes(12))]


def trc_1_0(path):
    writer = can.TRCWriter(path)
    writer.file_version = can.io.trc.TRCFileVersion.V1_0
    return writer


WRITERS = {"log": can.CanutilsLogWriter, "asc": can.ASCWriter, "csv": can.CSVWriter, "blf": can.BLFWriter,
           "stored.blf": lambda path: can.BLFWriter(path, compression_level=0),
           "small.blf": lambda path: can.BLFWriter(path, max_container_size=1000), "trc": can.TRCWriter, "1.0.trc": trc_1_0}


def test_logs_go_from_and_to_python_can_and_log2asc(tmp_path):
    log = DEMO_LOG
    messages = list(can.CanutilsLogReader(str(log)))[:2000]
    assert (messages[0].arbitration_id, messages[0].is_extended_id, messages[0].timestamp) == (HOST_ID, True, BEGIN)
    reference = tmp_path / "reference.log"
    reference.write_text("".join(open(log).readlines()[:2000]))
    expected = frames_of(reference)
    (tmp_path / "log2asc").write_text(run("log2asc", "-I", reference, "can0"))
    assert frames_of(tmp_path / "log2asc") == expected
    for name, writer in WRITERS.items():
        file = tmp_path / "copy"
        with writer(str(file)) as copy:
            for number, message in enumerate(messages):
                copy.on_message_received(message)
                for odd in odd_messages(message.timestamp) if number % 500 == 100 else ():
                    copy.on_message_received(odd)
        for pack in ([], ["gzip"], ["zstd", "-q"]):  # nothing in the name says what the file is
            packed = tmp_path / "packed"
            packed.write_bytes(subprocess.run(pack, stdin=open(file, "rb"), capture_output=True, check=True).stdout if pack
                               else file.read_bytes())
            assert frames_of(packed) == expected, (name, pack)
        if "blf" in name:
            times = [message["time"] for message in watch(file)]
            assert times == pytest.approx([message["time"] for message in watch(reference)], abs=2e-6)
            errors = subprocess.run([BIN / "hx7", "watch", file], capture_output=True, text=True, timeout=60).stderr
            assert "12 lines without a frame" in errors


@pytest.mark.parametrize("name, keep, message", [
    ("cut.blf", 0.9, "the BLF log is broken: it ends within a container"),
    ("bad.blf", None, "the BLF log is broken: "),
    ("cut.log.gz", 0.9, "its packed data end too early"), ("bad.log.zst", None, "its zstd data are broken")])
def test_a_broken_log_is_read_up_to_where_it_breaks(name, keep, message, tmp_path):
    file = tmp_path / name
    run(BIN / "hx7", "convert", DEMO_LOG, file)
    content = bytearray(file.read_bytes())
    at = len(content) * 3 // 4
    file.write_bytes(content[:int(len(content) * keep)] if keep else content[:at] + b"\xff" * 64 + content[at + 64:])
    result = subprocess.run([BIN / "hx7", "watch", "--json", file], capture_output=True, text=True, timeout=60)
    assert result.returncode == 2 and message in result.stderr, result.stderr
    lines = result.stdout.splitlines()
    sound = lines[:len(lines) if keep else len(lines) // 2]  # packed data show damage some time after it
    assert len(sound) > 100 and sound == run(BIN / "hx7", "watch", "--json", DEMO_LOG).splitlines()[:len(sound)]


# What python-can reads of each form, and whether the times count from 1970 on.
FORMS = [("a.log", can.CanutilsLogReader, True), ("a.asc", can.ASCReader, False), ("a.csv", can.CSVReader, True),
         ("a.trc", can.TRCReader, True), ("a.blf", can.BLFReader, True)]


@pytest.mark.parametrize("name, reader, is_absolute", FORMS)
def test_convert_loses_no_frame_on_the_way_there_and_back(name, reader, is_absolute, tmp_path):
    first = list(can.CanutilsLogReader(str(DEMO_LOG)))
    run(BIN / "hx7", "convert", DEMO_LOG, tmp_path / name)
    assert [(m.arbitration_id, bytes(m.data)) for m in reader(str(tmp_path / name))] == \
        [(m.arbitration_id, bytes(m.data)) for m in first]
    for there in (name, name + ".gz", name + ".zst"):
        if there.endswith(("blf.gz", "blf.zst")):
            result = subprocess.run([BIN / "hx7", "convert", DEMO_LOG, tmp_path / there], capture_output=True, text=True)
            assert result.returncode == 2 and "packed already" in result.stderr
            continue
        run(BIN / "hx7", "convert", "--force", DEMO_LOG, tmp_path / there)
        run(BIN / "hx7", "convert", "--force", tmp_path / there, tmp_path / "back.log")
        back = (tmp_path / "back.log").read_text().splitlines()
        wanted = DEMO_LOG.read_text().splitlines()
        if not is_absolute:
            wanted = [re.sub(r"\((\d+)\.", lambda stamp: f"({int(stamp[1]) - int(BEGIN)}.", line) for line in wanted]
        assert back == wanted, there


def test_convert_replaces_a_file_only_when_told_and_names_what_is_lost(tmp_path):
    out = tmp_path / "a.csv"
    out.write_text("mine")
    for command, words in ((["convert", DEMO_LOG, out], "exists already"), (["convert", out, out, "--force"], "is the log itself"),
                           (["convert", DEMO_LOG, tmp_path / "a.xyz"], "name it with --form"),
                           (["convert", out, tmp_path / "b.log"], "holds no frame")):
        result = subprocess.run([BIN / "hx7", *command], capture_output=True, text=True, timeout=60)
        assert result.returncode == 2 and words in result.stderr, result.stderr
    assert out.read_text() == "mine" and [file.name for file in tmp_path.iterdir()] == ["a.csv"]
    result = subprocess.run([BIN / "hx7", "convert", "--force", "--form", "asc", DEMO_LOG, out], capture_output=True, text=True)
    assert "lost: interface names and directions, the time since 1970 but for the heading" in result.stderr


def test_a_record_is_read_by_candumps_tools_and_by_wireshark(desk, tmp_path):
    log = tmp_path / "record.log"
    recorder = desk.start(BIN / "hx7", "record", log)
    bus = desk.go_to("Main")
    wait_for(lambda: desk.get("/api/health") and log.exists(), "the log")
    for message in (cmd2(load=12300), cmd5((17, "HELLO")), [7, 11, 1]):
        bus.send_message(message)
    assert bus.ask([7, 3])
    wait_for(lambda: log.read_text().count("18FF00D2#") >= 2, "the reply in the log")
    recorder.stop()
    lines = log.read_text().splitlines()
    assert "recorded" in recorder.err[-1]
    assert len(run("log2asc", "-I", log, "can0").splitlines()) >= len(lines)
    assert len(tshark(log, "-Y", "orvik", "-T", "fields", "-e", "frame.number").split()) == len(lines)
    assert {"units", "program-name"} <= {message["name"] for message in check_against_watch(log)}
    desk_again = subprocess.run([BIN / "hx7", "diff", log, log], capture_output=True, text=True, timeout=60)
    assert desk_again.returncode == 0, desk_again.stderr


# ---- A station of python-can

def test_python_can_sends_a_message_and_hears_the_reply(desk):
    desk.go_to("Main")
    host, port = desk.address("socketcand").rsplit(":", 1)
    with can.interface.Bus(interface="socketcand", host=host, port=int(port), channel="can0") as bus:
        def send(message):
            for frame in cut(message):
                bus.send(can.Message(arbitration_id=HOST_ID, data=frame, is_extended_id=True))

        send(cmd2(load=34500))
        wait_for(lambda: desk.widget("orvikTextWidgetLoad") == " 34,500", "the load on the screen")
        send([7, 3])
        reply = []
        while len(reply) < 2:
            frame = bus.recv(5 * PATIENCE)
            assert frame is not None, "no reply"
            if frame.arbitration_id == DISPLAY_ID:
                reply.append(bytes(frame.data).hex())
        assert reply == ["0002566973747265", "016c20ffffffffff"]


# ---- The DBC

class Dbc:
    """Reads the file strictly, with the sections that it has and no other, and decodes frames by it."""

    SECTIONS = [r'VERSION ""', r"NS_ :", r"\t[A-Z_]+", r"BS_:", r"BU_: HX7 Orvik", r'CM_ "[^"]*";', r'CM_ BO_ \d+ "[^"]*";',
                r'CM_ SG_ \d+ \w{1,32} "[^"]*";', r'VAL_ \d+ \w{1,32}( \d+ "[^"]*")+ ;', r"SIG_VALTYPE_ \d+ \w{1,32} : 1;",
                r"SG_MUL_VAL_ \d+ \w{1,32} \w{1,32} \d+-\d+;", r"BO_ \d+ \w{1,32}: 8 (HX7|Orvik)"]
    SIGNAL = re.compile(r' SG_ (\w{1,32}) (M|m\d+M?) : (\d+)\|(8|32)@([01])([+-]) \(([\d.]+),0\) \[\d+\|\d+\] "[^"]*" \w+')

    def __init__(self, path):
        self.signals, self.selectors, self.names, frame = {}, {}, {}, None
        for line in pathlib.Path(path).read_text().splitlines():
            words = line.split()
            if signal := self.SIGNAL.fullmatch(line):
                assert signal[1] not in self.signals[frame], line
                self.signals[frame][signal[1]] = signal
                continue
            assert not line or any(re.fullmatch(section, line) for section in self.SECTIONS), line
            if line.startswith("BO_ "):
                frame = int(words[1]) & 0x1FFFFFFF
                self.signals[frame] = {}
            elif line.startswith("SG_MUL_VAL_"):
                self.selectors[int(words[1]) & 0x1FFFFFFF, words[2]] = (words[3], int(words[4].split("-")[0]))
            elif line.startswith("VAL_"):
                pairs = re.findall(r'(\d+) "([^"]*)"', line)
                self.names[int(words[1]) & 0x1FFFFFFF, words[2]] = {int(number): name for number, name in pairs}

    def decode(self, frame, data):
        values = {}
        for name, signal in self.signals[frame].items():
            selector = self.selectors.get((frame, name))
            if selector and values.get(selector[0]) != selector[1]:
                continue
            byte = int(signal[3]) // 8
            if signal[4] == "32":
                values[name] = can_float(data[byte:byte + 4]) * float(signal[7])
            else:
                values[name] = data[byte]
        return {name: self.names.get((frame, name), {}).get(value, value) for name, value in values.items()
                } | {"": values}


def can_float(data):
    return struct.unpack(">f", data)[0]


def test_the_dbc_says_what_watch_says_of_messages_of_one_frame(tmp_path):
    dbc = Dbc(CONFIG / "orvik.dbc")
    log = Log()
    singles = [message for message in GOOD if len(cut(message)) == 1] + [[6]]
    for message in singles:
        log.host(message)
    checked = 0
    for message, heard in zip(singles, watch(log.write(tmp_path / "singles.log")), strict=True):
        data = cut(message)[0]
        raw = dbc.decode(HOST_ID, data)
        numbers = raw.pop("")
        assert heard["name"] in (raw["command"], raw.get("subcommand"))
        for name, value in heard["values"].items():
            signal = heard["name"] if name == heard["name"] else f"{heard['name']}_{name}"
            if signal != "valid-keys":
                assert raw[signal.replace("-", "_")] == value, (heard, raw, numbers)
                checked += 1
    assert checked >= 20
    first = cut(cmd2(capacity=14400))[0]
    assert dbc.decode(HOST_ID, first)["capacity"] == 14400
    assert dbc.decode(DISPLAY_ID, bytes([0, 1, 255, 18, 2, 255, 255, 255]))["key_state_key"] == "info"
