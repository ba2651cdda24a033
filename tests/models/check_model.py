#!/usr/bin/python3
"""check_model.py MODEL...: checks Promela models exhaustively with spin, and that spin finds each built-in fault.

The opening comment of a model has these sections:

    // Code:
    //   src/core/queues.cpp: addCanPacket, getCanPackets    the functions that it models; they must exist
    // Broken:
    //   1 received == sent: the queue is copied without lock  -DBREAK=1 must violate this assertion
    // Options: -DNOREDUCE                                    for the C compiler, where a model needs some

The right model must have no error, must be searched to its end, and every statement of it must be reached.
"""

import re
import shutil
import subprocess
import sys
import tempfile
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DEPTH = "1000000"
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
UNREACHED = re.compile(r'\.pml:(\d+), state \d+, "(.*)"')
STATEMENT = re.compile(r"\.pml:(\d+) => ")


@dataclass
class Model:
    file: Path
    text: str
    code: list  # (path, name)
    broken: dict  # number → what must be violated
    options: list


def section(text, name):
    found = re.search(rf"^// {name}:\n((?://   .*\n)+)", text, re.MULTILINE)
    return [] if found is None else [line[5:] for line in found.group(1).splitlines()]


def read_model(file):
    text = file.read_text()
    code = [(path, name) for path, names in (line.split(": ", 1) for line in section(text, "Code"))
            for name in names.split(", ")]
    broken = {}
    for line in section(text, "Broken"):
        number, rest = line.split(" ", 1)
        broken[int(number)] = rest.split(": ", 1)[0]
    options = re.search(r"^// Options: (.*)$", text, re.MULTILINE)
    return Model(file, text, code, broken, options.group(1).split() if options else [])


def code_faults(model):
    """What the opening comment says that is not so."""
    if not model.code or not model.broken:
        yield "the opening comment has no section Code or no section Broken"
    for path, name in model.code:
        file = ROOT / path
        if not file.exists() or not re.search(rf"\b{name}\b", COMMENT.sub("", file.read_text())):
            yield f"{path} has no {name}; correct the section Code, and the model if the code has changed"
    used = {int(number) for number in re.findall(r"BREAK [!=]= (\d+)", model.text)} - {0}
    if used != set(model.broken):
        yield f"the faults of the model are {sorted(used)}, those of the section Broken {sorted(model.broken)}"


def run(command, folder):
    return subprocess.run(command, cwd=folder, capture_output=True, text=True).stdout


def build(model, number, folder):
    file = str(model.file.resolve())
    all_statements = [] if number else ["-o3"]  # a merged statement would not be reported as unreached
    translated = subprocess.run(["spin", *all_statements, f"-DBREAK={number}", "-a", file], cwd=folder,
                                capture_output=True, text=True)
    if translated.returncode != 0:
        sys.exit(translated.stdout)
    subprocess.run(["cc", "-O0", "-w", "-DSAFETY", "-DMEMLIM=4000", *model.options, "-o", "pan", "pan.c"],
                   cwd=folder, check=True)


def search(folder):
    return run(["./pan", f"-m{DEPTH}", "-w22"], folder)


def search_faults(model, output, statements):
    if " errors: 0" not in output:
        yield next((line for line in output.splitlines() if line.startswith("pan:1")), "spin ended: " + output[:200])
    if "too small" in output or "Search not completed" in output or "unreached in" not in output:
        yield "the search was not complete"
    yield from unreached_lines(model, output, statements)


def unreached_lines(model, output, statements):
    """The lines of which no statement is reached. An inline makes the statements of a line several times."""
    lines = model.text.splitlines()
    total = Counter(STATEMENT.findall(statements))
    for number, count in Counter(number for number, text in UNREACHED.findall(output) if text != "-end-").items():
        line = lines[int(number) - 1]
        if count >= total[number] and "BREAK" not in line:
            yield f"line {number} is never reached: {line.strip()}"


def check_right(model):
    with tempfile.TemporaryDirectory() as folder:
        build(model, 0, folder)
        begin = time.monotonic()
        output = search(folder)
        statements = run(["./pan", "-d"], folder)
    found = re.search(r"([0-9.e+]+) states, stored", output)
    print(f"  {found.group(1) if found else 'no'} states, {time.monotonic() - begin:.1f} s")
    return list(search_faults(model, output, statements))


def violated(model, number, folder):
    """The line of the assertion that the trail ends at."""
    trail = next(Path(folder).glob("*.trail"), None)
    if trail is None:
        return "nothing"
    replay = run(["spin", f"-DBREAK={number}", "-t", "-k", str(trail), str(model.file.resolve())], folder)
    line = re.search(r"\.pml:(\d+), Error: assertion violated", replay)
    return model.text.splitlines()[int(line.group(1)) - 1].strip() if line else "no assertion"


def check_broken(model, number):
    with tempfile.TemporaryDirectory() as folder:
        build(model, number, folder)
        output = search(folder)
        found = next((line for line in output.splitlines() if line.startswith("pan:1")), "nothing")
        if "assertion violated" in found:
            found = violated(model, number, folder)
    wanted = model.broken[number]
    return [] if wanted in found else [f"fault {number} must violate '{wanted}', spin found: {found}"]


def check(file):
    model = read_model(file)
    print(f"{file}:", flush=True)
    begin = time.monotonic()
    faults = list(code_faults(model))
    with ThreadPoolExecutor(2) as pool:
        right = pool.submit(check_right, model)
        for found in pool.map(lambda number: check_broken(model, number), model.broken):
            faults += found
        faults += right.result()
    print(f"  {len(model.broken)} faults; {time.monotonic() - begin:.1f} s in all")
    return faults


def main():
    files = [Path(name) for name in sys.argv[1:]]
    if not files:
        print(__doc__, file=sys.stderr)
        return 2
    if shutil.which("spin") is None:
        sys.exit("check_model.py: spin is not installed; tools/install-packages test installs it")
    faults = [f"{file}: {fault}" for file in files for fault in check(file)]
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
