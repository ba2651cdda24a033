"""Runs test programs directly, nearest first, each with a time limit and bounds on memory and files."""

import dataclasses
import math
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time

from workshop import PROGRAM

GOOGLE_TEST = [([PROGRAM, "--gtest_brief=1", "--gtest_fail_fast"], None)]
BYTES_OF_MEMORY = 8 << 30
BYTES_OF_FILE = 64 << 20
# A run may use this much more processor time than without a fault before it counts as hanging. One that waits instead
# is stopped by the clock, much later, because the machine may be busy.
TIMES_LONGER = 4
SECONDS_MORE = 4
SECONDS_OF_WAITING = 25
SECONDS_WITHOUT_FAULT = 300


@dataclasses.dataclass
class TestCall:
    """A test program, or one call of a program that has several."""
    output: str  # as the build names the program
    folder: str  # tests/unit/text
    command: list
    working_folder: str
    seconds: float = 0  # without a fault
    catches: int = 0  # in this run

    @property
    def level(self):
        top, *below = self.folder.split("/")
        return ("unit", "component", "contract").index(below[0]) if top == "tests" else 3

    @property
    def name(self):
        program = pathlib.Path(self.output).name
        return program if self.command == GOOGLE_TEST[0][0] else f"{program} {self.command[-1]}"


def bound(seconds):
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
    resource.setrlimit(resource.RLIMIT_AS, (BYTES_OF_MEMORY, BYTES_OF_MEMORY))
    resource.setrlimit(resource.RLIMIT_FSIZE, (BYTES_OF_FILE, BYTES_OF_FILE))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run_bounded(command, seconds, environment, folder=None):
    """Runs the command with all its children. Returns the seconds that it took, and, where it failed, its output or
    'hangs'."""
    scratch = tempfile.mkdtemp(prefix="mutate-")
    begin = time.monotonic()
    try:
        with open(os.path.join(scratch, "output"), "w+b") as output:
            running = subprocess.Popen(command, cwd=folder or scratch, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                       env=os.environ | environment | {"TMPDIR": scratch}, start_new_session=True,
                                       preexec_fn=lambda: bound(math.ceil(seconds)))
            try:
                code = running.wait(seconds + SECONDS_OF_WAITING * max(1, os.getloadavg()[0] / (os.cpu_count() or 1)))
            except subprocess.TimeoutExpired:
                code = None
            finally:
                try:
                    os.killpg(running.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                running.wait()
            output.seek(0)
            text = output.read(1 << 20).decode(errors="replace")
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    hangs = code is None or code == -signal.SIGKILL
    problem = None if code == 0 else "hangs" if hangs else text or "failed without a word"
    return time.monotonic() - begin, problem


def failed_case(problem):
    match = re.search(r"\[  FAILED  \] ([\w./]+)", problem)
    return match.group(1) if match else "hangs" if problem == "hangs" else "ends"


class Tests:
    def __init__(self, workshop, system):
        self.shop, self.system = workshop, system
        found, calls = workshop.test_programs(), workshop.test_calls()
        self.calls = [TestCall(output, folder, command, working_folder)
                      for output, folder in sorted(found.items()) if output in workshop.built
                      for command, working_folder in calls.get(output, GOOGLE_TEST)]

    def run_without_fault(self):
        """Takes the time of each call, and leaves out those that fail without a fault."""
        kept = []
        for call in self.calls:
            call.seconds, problem = self._run(call, self.shop.build / call.output, SECONDS_WITHOUT_FAULT, {})
            if problem:
                print(f"mutate: {call.name} fails without a fault ({failed_case(problem)}) and is left out", flush=True)
            else:
                kept.append(call)
        self.calls = kept

    def nearest_first(self, file, changed):
        """The calls that load something changed: those of the file's folder, then those that catch most in their time."""
        area = pathlib.PurePath(file).parent.name
        reached = [call for call in self.calls if changed & (self.shop.loads[call.output] | {call.output})]

        def distance(call):
            if call.folder.split("/")[-1] == area or (file.startswith("platform/") and call.level == 2):
                return 0, call.level, call.seconds
            return 1, call.level >= 2, call.seconds / (1 + call.catches)
        return sorted(reached, key=distance)

    def first_failure(self, bench, file, changed):
        """The first test that fails with the fault of the bench, or None."""
        environment = {"LD_LIBRARY_PATH": str(bench.folder / "lib")}
        for call in self.nearest_first(file, changed):
            path = bench.program(call.output)
            if path is None:
                return f"{call.name}: does not compile"
            _, problem = self._run(call, path, SECONDS_MORE + TIMES_LONGER * call.seconds, environment)
            if problem:
                call.catches += 1
                return f"{call.name}: {failed_case(problem)}"
        for name in self.system:
            if self._system_test(name, bench, environment):
                return f"system.{name}"
        return None

    @staticmethod
    def _run(call, path, seconds, environment):
        command = [str(path) if word == PROGRAM else word for word in call.command]
        return run_bounded(command, seconds, environment, call.working_folder)

    def _system_test(self, name, bench, environment):
        programs = bench.folder / "bin"
        for program in (self.shop.build / "bin").iterdir():
            if not (programs / program.name).exists():
                (programs / program.name).symlink_to(program)
        command = ["/usr/bin/python3", "-m", "pytest", "-q", "-x", "-p", "no:cacheprovider",
                   str(self.shop.tree / "tests" / "system" / f"test_{name}.py")]
        _, problem = run_bounded(command, SECONDS_WITHOUT_FAULT, environment | {
            "ORVIK_BIN": str(programs), "PYTHONDONTWRITEBYTECODE": "1"})
        return problem
