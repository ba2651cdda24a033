#!/usr/bin/python3
"""check_model.py MODEL...: checks Promela models exhaustively with spin, and that spin finds each built-in fault.

The opening comment of a model has these sections:

    // Code:
    //   src/core/queues.cpp: addCanPacket, getCanPackets    the functions that it models; they must exist
    // Broken:
    //   1 received == sent: the queue is copied without lock  -DBREAK=1 must violate this assertion or LTL claim
    // Options: -DNOREDUCE                                    for the C compiler, where a model needs some

The right model must have no error, must be searched to its end, and every statement of it must be reached.
"""

import re
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DEPTH = "1000000"
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)
UNREACHED = re.compile(r'\.pml:(\d+), state \d+, "(.*)"')


@dataclass
class Model:
    file: Path
    text: str
    code: list  # (path, name)
    broken: dict  # number → what must be violated
    options: list
    claims: list  # names of the LTL claims


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
    claims = re.findall(r"^ltl (\w+)", text, re.MULTILINE)
    return Model(file, text, code, broken, options.group(1).split() if options else [], claims)


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
    kind = [] if model.claims else ["-DSAFETY"]
    translated = subprocess.run(["spin", f"-DBREAK={number}", "-a", file], cwd=folder, capture_output=True, text=True)
    if translated.returncode != 0:
        sys.exit(translated.stdout)
    optimise = "-O0" if number else "-O1"
    subprocess.run(["cc", optimise, "-w", "-DMEMLIM=4000", *kind, *model.options, "-o", "pan", "pan.c"], cwd=folder,
                   check=True)


def search(claim, folder):
    return run(["./pan", f"-m{DEPTH}", "-w22", *(["-a", "-f", "-N", claim] if claim else ["-noclaim"])], folder)


def search_faults(model, output, is_claim):
    if " errors: 0" not in output:
        yield next((line for line in output.splitlines() if line.startswith("pan:1")), "spin ended: " + output[:200])
    if "too small" in output or "Search not completed" in output:
        yield "the search was not complete"
    lines = model.text.splitlines()
    for number, statement in UNREACHED.findall("" if is_claim else output):
        if statement != "-end-" and "BREAK" not in lines[int(number) - 1]:
            yield f"line {number} is never reached: {statement}"


def check_right(model):
    with tempfile.TemporaryDirectory() as folder:
        build(model, 0, folder)
        for claim in [None, *model.claims]:
            begin = time.monotonic()
            output = search(claim, folder)
            found = re.search(r"(\d+(?:\.\d+e\+\d+)?) states, stored", output)
            print(f"  {claim or 'assertions, end states'}: {found.group(1) if found else 'no'} states, "
                  f"{time.monotonic() - begin:.1f} s")
            yield from search_faults(model, output, bool(claim))


def violated(model, number, folder):
    """The line of the assertion that the trail ends at."""
    trail = next(Path(folder).glob("*.trail"), None)
    if trail is None:
        return "nothing"
    replay = run(["spin", f"-DBREAK={number}", "-t", "-k", str(trail), str(model.file.resolve())], folder)
    line = re.search(r"\.pml:(\d+), Error: assertion violated", replay)
    return model.text.splitlines()[int(line.group(1)) - 1].strip() if line else "no assertion"


def check_broken(model, number):
    wanted = model.broken[number]
    claim = wanted if wanted in model.claims else None
    with tempfile.TemporaryDirectory() as folder:
        build(model, number, folder)
        output = search(claim, folder)
        found = next((line for line in output.splitlines() if line.startswith("pan:1")), "nothing")
        if "assertion violated" in found and not claim:
            found = violated(model, number, folder)
    expected = "acceptance cycle" if claim else wanted
    return [] if expected in found else [f"fault {number} must violate '{wanted}', spin found: {found}"]


def check(file):
    model = read_model(file)
    print(f"{file}:", flush=True)
    begin = time.monotonic()
    faults = list(code_faults(model)) + list(check_right(model))
    with ThreadPoolExecutor(2) as pool:
        for found in pool.map(lambda number: check_broken(model, number), model.broken):
            faults += found
    print(f"  {len(model.broken)} faults; {time.monotonic() - begin:.1f} s in all")
    return faults


def main():
    files = [Path(name) for name in sys.argv[1:]]
    if not files:
        print(__doc__, file=sys.stderr)
        return 2
    faults = [f"{file}: {fault}" for file in files for fault in check(file)]
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
