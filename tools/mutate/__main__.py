"""Builds faults into a copy of the code, one at a time, and reports which of them no test notices."""

import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import queue
import signal
import sys
import threading
import time

from operators import KINDS, list_mutants, one_line, read_enumerations
from report import CAUGHT, EQUAL, SURVIVED, UNCOMPILED, read_results, report
from test_runs import Tests
from workshop import Bench, BuildError, Workshop

ROOT = pathlib.Path(__file__).resolve().parents[2]
HELP = """\
Each fault changes one place: a number, a row of a table, a comparison, a call left out. The tool builds it into a copy
of the tree (in build/mutate), runs the tests of the same folder, then the other unit and component tests that load the
changed library, and stops at the first that fails. A fault that no test notices "survives": add a test, or find out why
the fault changes nothing. Faults that do not compile, or leave the object code as it was, are not counted. A test that
takes far longer than without the fault is stopped and counts as failed. Headers that more than 12 sources include are
left out, unless --folder names them: each of their faults takes minutes to build.

kinds of faults:
""" + "\n".join(f"  {kind:12}{text}" for kind, text in KINDS.items()) + """

examples:
  ./test mutate --sample 60
  ./test mutate --folder src/text --kind rows --sample 30
  ./test mutate --sample 600 --resume results.jsonl      may be stopped (Ctrl-C) and started again
  ./test mutate --resume results.jsonl --again           tries the survivors again, after tests were added
  ./test mutate --resume results.jsonl --report          prints the report of a results file
"""


def read_arguments():
    parser = argparse.ArgumentParser(prog="test mutate", description=__doc__, epilog=HELP,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    add = parser.add_argument
    add("--folder", action="append", metavar="FOLDER", help="a folder or file of the code; may be repeated (src)")
    add("--sample", type=int, default=60, metavar="N", help="the number of faults that count (60); 0 takes all")
    add("--seed", type=int, default=1, metavar="N", help="another seed draws other faults (1)")
    add("--kind", action="append", choices=KINDS, metavar="KIND", help="only faults of this kind; may be repeated")
    add("--tests", default="", metavar="REGEX", help="only test programs whose names match (all that load the library)")
    add("--jobs", type=int, default=1, metavar="N", help="faults tried at the same time (1)")
    add("--system", action="append", default=[], metavar="NAME",
        help="run tests/system/test_NAME.py too, if no other test notices the fault; may be repeated")
    add("--resume", type=pathlib.Path, metavar="FILE",
        help="keep the results of this file, go on where they end, and append to it")
    add("--again", action="store_true", help="try the survivors of the results file again")
    add("--report", action="store_true", help="print the report of the results file and end")
    add("--list", action="store_true", help="print the faults of the sample without trying them")
    add("--root", type=pathlib.Path, default=ROOT, help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    arguments.folder = [folder.rstrip("/") for folder in arguments.folder or ["src"]]
    if (arguments.again or arguments.report) and not arguments.resume:
        parser.error("--again and --report need --resume FILE")
    return arguments


def read_faults(arguments):
    """The faults of the folders, in the order of the seed. Each line of code gives one before any gives a second."""
    root = arguments.root
    names = [path for top in ("src", "platform", "unit", "host", "base", "bus", "http", "expect")
             for path in sorted((root / top).rglob("*")) if path.suffix in (".cpp", ".h")]
    following = read_enumerations(path.read_text() for path in names)
    lines = {}
    for path in names:
        file = path.relative_to(root).as_posix()
        if not any(file == folder or file.startswith(folder + "/") for folder in arguments.folder):
            continue
        for mutant in list_mutants(file, path.read_text(), following):
            if not arguments.kind or mutant.kind in arguments.kind:
                lines.setdefault((file, mutant.line), []).append(mutant)

    def drawn(mutant):
        return hashlib.sha256(f"{arguments.seed}|{mutant.key}".encode()).digest()
    order = [(number, drawn(mutant), mutant) for mutants in lines.values()
             for number, mutant in enumerate(sorted(mutants, key=drawn))]
    return [mutant for _, _, mutant in sorted(order, key=lambda entry: entry[:2])]


def change(mutant, text):
    replaced = one_line(text[mutant.start:mutant.end])
    return f"{replaced}  →  {one_line(mutant.replacement) or '(nothing)'}"


class Campaign:
    """Tries the faults of the sample, some at a time, and notes each result."""

    def __init__(self, arguments, shop, tests, file, results):
        self.arguments, self.shop, self.tests, self.file = arguments, shop, tests, file
        self.results, self.lock, self.begin = results, threading.Lock(), time.monotonic()
        self.benches = queue.SimpleQueue()
        for number in range(arguments.jobs):
            self.benches.put(Bench(shop, number))
        self.tried = 0
        self.stopped = False

    def run(self, faults):
        if self.arguments.again:
            self.counted = 0
            faults = [fault for fault in faults if self.state(fault) == SURVIVED]
            self.goal = len(faults)
        else:
            self.counted = sum(self.state(fault) in (CAUGHT, SURVIVED) for fault in faults)
            faults = [fault for fault in faults if not self.state(fault)]
            self.goal = min(self.arguments.sample or len(faults), self.counted + len(faults))
        self.counted_before = self.counted
        print(f"mutate: {len(faults)} faults to draw from, {len(self.tests.calls)} test programs and transcripts", flush=True)
        pool = concurrent.futures.ThreadPoolExecutor(self.arguments.jobs)
        try:
            for _ in pool.map(self._try, faults):
                pass
        except KeyboardInterrupt:
            print("\nmutate: stopped; the results so far:")
        finally:
            self.stopped = True
            pool.shutdown(cancel_futures=True)

    def state(self, fault):
        return self.results.get(fault.key, {}).get("state")

    def _try(self, fault):
        if self.stopped or (self.counted >= self.goal and not self.arguments.again):
            return
        begin = time.monotonic()
        bench = self.benches.get()
        try:
            state, by, text = self._outcome(bench, fault)
        finally:
            self.benches.put(bench)
        if self.stopped:  # the tests may have been stopped with the tool
            return
        result = {"key": fault.key, "state": state, "by": by, "file": fault.file, "line": fault.line, "kind": fault.kind,
                  "before": fault.before, "change": change(fault, text), "seed": self.arguments.seed,
                  "seconds": round(time.monotonic() - begin, 1)}
        with self.lock:
            self._note(result)

    def _outcome(self, bench, fault):
        text = self.shop.source(fault.file).read_text()
        built = bench.build_in(fault.file, text[:fault.start] + fault.replacement + text[fault.end:])
        if built in (EQUAL, UNCOMPILED):
            return built, None, text
        by = self.tests.first_failure(bench, fault.file, built)
        return (CAUGHT if by else SURVIVED), by, text

    def _note(self, result):
        self.results[result["key"]] = result
        with open(self.file, "a") as output:
            output.write(json.dumps(result, ensure_ascii=False) + "\n")
        self.tried += 1
        if result["state"] not in (CAUGHT, SURVIVED) and not self.arguments.again:
            return
        self.counted += 1
        each = (time.monotonic() - self.begin) / (self.counted - self.counted_before)
        left = each * max(0, self.goal - self.counted)
        where = f"{result['file']}:{result['line']} {result['kind']}"
        told = f"by {result['by']}" if result["by"] else one_line(result["change"], 70)
        print(f"[{self.counted}/{self.goal}] {result['state']:9}{where}  {told}"
              f"  ({each:.1f} s each, {left / 60:.0f} min left)", flush=True)


def main():
    arguments = read_arguments()
    folder = arguments.root / "build" / "mutate"
    file = arguments.resume or folder / "results.jsonl"
    if not arguments.resume:
        file.unlink(missing_ok=True)
    results = read_results(file)
    if arguments.report:
        print(report(results.values()))
        return 0
    faults = read_faults(arguments)
    if not faults:
        print(f"mutate: no code to change in {', '.join(arguments.folder)}", file=sys.stderr)
        return 2
    if arguments.list:
        for fault in faults[:arguments.sample or None]:
            text = (arguments.root / fault.file).read_text()
            print(f"{fault.file}:{fault.line}  {fault.kind}  {change(fault, text)}")
        return 0
    shop = Workshop(arguments.root, folder, max(arguments.jobs, os.cpu_count() or 1))
    shop.lock()
    shop.prepare(sorted({fault.file.rsplit("/", 1)[0] for fault in faults}), arguments.tests)
    tests = Tests(shop, arguments.system)
    tests.run_without_fault()
    wide = {name for name in {fault.file for fault in faults} - set(arguments.folder) if shop.is_wide(name)}
    Campaign(arguments, shop, tests, file, results).run([fault for fault in faults if fault.file not in wide])
    print(report(results.values()))
    return 0


if __name__ == "__main__":
    for number in (signal.SIGINT, signal.SIGTERM):  # a shell starts background programs with SIGINT ignored
        signal.signal(number, signal.default_int_handler)
    try:
        sys.exit(main())
    except BuildError as error:
        print(f"mutate: {error}", file=sys.stderr)
        sys.exit(1)
    except KeyboardInterrupt:
        sys.exit(130)
