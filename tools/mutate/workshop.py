"""A copy of the tree with a build of its own, where faults are built in: the user's files and builds stay as they are.

Every library of the copy is a shared object. A faulty source is compiled and linked into a folder of its own, and the
test programs load the faulty library from there (LD_LIBRARY_PATH), so that nothing has to be put right afterwards.
"""

import fcntl
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

# What most sources include, compiled once. System headers only: a fault in a header of the repository must be seen.
STANDARD_HEADERS = ("algorithm array atomic chrono functional map memory mutex optional set span sstream string "
                    "string_view thread vector")
COMPILE_SECONDS = 300
# Optimised, because a surviving fault costs a run of all tests, and because the optimiser makes the same object code of
# some faults that change nothing.
FLAGS = "-fPIC -O2"
PROGRAM = "{program}"
# A fault in a header that more objects include takes minutes to build in.
MOST_OBJECTS = 12
# The short fuzz runs and the samples of bench/exhaustive are tests too.
TESTS = ("tests/", "fuzz/", "bench/")
TEST_FOLDERS = re.compile(r"(tests/(?:unit|component)/\w+|tests/contract|fuzz|bench/exhaustive)/CMakeFiles")
LINK_RULE = re.compile(r"^build (\S+)[^:\n]*: CXX_(?:SHARED_LIBRARY|EXECUTABLE)_LINKER__\w+_Mutate (.*)$", re.M)


class BuildError(Exception):
    pass


def run(command, folder, log, message):
    with open(log, "w") as output:
        done = subprocess.run(command, cwd=folder, stdout=output, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        tail = "\n".join(log.read_text(errors="replace").splitlines()[-30:])
        raise BuildError(f"{tail}\n{message}; the whole output is in {log}")


class Workshop:
    def __init__(self, root, folder, jobs):
        self.root, self.folder, self.jobs = root, folder, jobs
        self.tree = folder / "tree"
        self.build = self.tree / "build" / "mutate"
        self.folder.mkdir(parents=True, exist_ok=True)

    def lock(self):
        """Two runs at a time would build into the same folder. The lock ends with the process."""
        self.held = open(self.folder / "lock", "w")
        try:
            fcntl.flock(self.held, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise BuildError(f"another run uses {self.folder}; wait for it or stop it") from None

    def prepare(self, folders, chosen):
        """Copies what has changed, and builds the tests that are `chosen` by name. Later runs build only what is new."""
        print("mutate: copying and building; the first time takes some minutes ...", flush=True)
        self._copy()
        standard = self._compile_standard_headers()
        run(["cmake", "--preset", "mutate", f"-DCMAKE_CXX_FLAGS={FLAGS} -include {standard}"], self.tree,
            self.folder / "configure.log", "the copy could not be configured")
        self._read_rules()
        self._build(self._targets(folders, chosen))
        self._read_commands()
        self._read_dependents()

    def source(self, file):
        return self.tree / file

    def objects_of(self, file):
        """The objects that a source or header goes into, of what is built."""
        items = {self.objects[file]} if file in self.objects else self.dependents.get(file, set())
        return {item for item in items if self.holders.get(item) in self.built}

    def is_wide(self, file):
        return sum(not item.startswith(TESTS) for item in self.objects_of(file)) > MOST_OBJECTS

    # --- The copy

    def _files(self):
        command = "git ls-files -z --cached --others --exclude-standard".split()
        listed = subprocess.run(command, cwd=self.root, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        if listed.returncode == 0 and listed.stdout:
            return {name for name in os.fsdecode(listed.stdout).split("\0") if name and (self.root / name).is_file()}
        skipped = self.folder.resolve()
        return {path.relative_to(self.root).as_posix() for path in self.root.rglob("*")
                if path.is_file() and skipped not in path.resolve().parents}

    def _copy(self):
        files = self._files()
        noted = self.folder / "files"
        for name in set(noted.read_text().splitlines() if noted.exists() else ()) - files:
            (self.tree / name).unlink(missing_ok=True)
        for name in files:
            origin, copy = self.root / name, self.tree / name
            if not copy.exists() or copy.read_bytes() != origin.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                copy.unlink(missing_ok=True)
                shutil.copy(origin, copy)  # with the time of now, so that the build sees the change
        noted.write_text("\n".join(sorted(files)))

    def _compile_standard_headers(self):
        header = self.folder / "headers" / "standard.h"
        if not header.with_suffix(".h.gch").exists():
            header.parent.mkdir(exist_ok=True)
            header.write_text("".join(f"#include <{name}>\n" for name in STANDARD_HEADERS.split()))
            run(["c++", *FLAGS.split(), "-std=c++20", "-x", "c++-header", "-o", f"{header}.gch.new", header], self.folder,
                self.folder / "headers.log", "the standard headers could not be compiled")
            os.replace(f"{header}.gch.new", f"{header}.gch")
        return header

    # --- The build

    def _read_rules(self):
        """The libraries and programs of the build: what each is made of, and what it loads."""
        self.inputs, self.spawned = {}, {}
        for output, rest in LINK_RULE.findall((self.build / "build.ninja").read_text()):
            needed, _, first = rest.partition("||")
            self.inputs[output] = [word for word in needed.split() if word != "|"]
            self.spawned[output] = [word for word in first.split() if word.startswith("bin/")]
        self.programs = {output for output in self.inputs if output.startswith("bin/")}
        self.loads = {output: self._closure(output) for output in self.inputs}

    def _closure(self, output, known=None):
        known = set() if known is None else known
        for word in self.inputs.get(output, []) + self.spawned.get(output, []):
            if (word.endswith(".so") or word in self.programs) and word in self.inputs and word not in known:
                known.add(word)
                self._closure(word, known)
        return known

    def _own_objects(self, output):
        return [word for word in self.inputs[output] if word.endswith(".o")]

    def test_programs(self):
        """The programs of TEST_FOLDERS: output → folder."""
        found = {}
        for output in self.programs:
            for item in self._own_objects(output):
                match = TEST_FOLDERS.match(item)
                if match:
                    found[output] = match.group(1)
        return found

    def test_calls(self):
        """How CTest runs the test programs that are not GoogleTest's: output → list of (command, folder to run in), where
        PROGRAM stands for the program."""
        shown = subprocess.run(["ctest", "--show-only=json-v1"], cwd=self.build, stdout=subprocess.PIPE, text=True,
                               check=True).stdout
        calls = {}
        for test in json.loads(shown)["tests"]:
            words = test.get("command", [])
            folders = [each["value"] for each in test["properties"] if each["name"] == "WORKING_DIRECTORY"]
            for word in words:
                output = os.path.relpath(word, self.build) if os.path.isabs(word) else ""
                if output in self.programs and not any(each.startswith("--gtest_filter=") for each in words):
                    command = [PROGRAM if each == word else each for each in words]
                    calls.setdefault(output, []).append((command, folders[0] if folders else str(self.build)))
        return calls

    def _targets(self, folders, chosen):
        """The test programs that load a library of the folders, with the libraries and the programs that they start."""
        wanted = {output for output in self.inputs
                  if any(item.startswith(folder + "/") for folder in folders for item in self._own_objects(output))}
        tests = [test for test in self.test_programs()
                 if re.search(chosen, pathlib.Path(test).name) and wanted & (self.loads[test] | {test})]
        return sorted(wanted | set(tests) | {load for test in tests for load in self.loads[test]})

    def _build(self, targets):
        if not targets:
            raise BuildError("no library and no program is made of these folders")
        command = ["nice", "ninja", f"-j{self.jobs}", *targets]
        if sys.stdout.isatty():
            if subprocess.run(command, cwd=self.build, check=False).returncode != 0:
                raise BuildError("the copy could not be built")
        else:
            run(command, self.build, self.folder / "build.log", "the copy could not be built")
        self.built = set(targets)

    def _read_commands(self):
        """How each source is compiled, and how each library or program is linked."""
        self.compiles = {}
        for entry in json.loads((self.build / "compile_commands.json").read_text()):
            words = shlex.split(entry["command"])
            item = words[words.index("-o") + 1]
            file = pathlib.Path(entry["file"])
            if self.tree in file.parents:
                self.compiles[item] = (file.relative_to(self.tree).as_posix(), words[:words.index("-o")])
        self.objects = {file: item for item, (file, _) in self.compiles.items()}
        self.holders = {item: output for output in self.inputs for item in self._own_objects(output)}
        self.links = {}

    def link_command(self, output):
        if output not in self.links:
            shown = subprocess.run(["ninja", "-t", "commands", "-s", output], cwd=self.build, stdout=subprocess.PIPE,
                                   text=True, check=True).stdout.strip()
            words = shlex.split(shown.splitlines()[-1])
            words = words[words.index("&&") + 1:]
            self.links[output] = words[:words.index("&&")]
        return self.links[output]

    def _read_dependents(self):
        """Which objects each header goes into."""
        self.dependents = {}
        shown = subprocess.run(["ninja", "-t", "deps"], cwd=self.build, stdout=subprocess.PIPE, text=True, check=True)
        item, real = None, {}
        for line in shown.stdout.splitlines():
            if line and not line.startswith(" "):
                item = line.split(":")[0]
            elif ".h" in line:
                name = line.strip()
                if name not in real:
                    path = pathlib.Path(os.path.realpath(self.build / name))
                    real[name] = path.relative_to(self.tree).as_posix() if self.tree in path.parents else None
                if real[name]:
                    self.dependents.setdefault(real[name], set()).add(item)


class Bench:
    """The place of one fault at a time: its sources, objects, libraries and programs."""

    def __init__(self, workshop, number):
        self.shop = workshop
        self.folder = workshop.folder / "work" / str(number)

    def build_in(self, file, text):
        """Builds the faulty text. Returns 'uncompiled', 'equal', or a set with the libraries and programs that it changed."""
        shutil.rmtree(self.folder, ignore_errors=True)
        source = self.folder / "overlay" / file
        source.parent.mkdir(parents=True)
        source.write_text(text)
        (self.folder / "lib").mkdir()
        (self.folder / "bin").mkdir()
        self.changed, self.waiting, self.programs = {}, set(), {}
        for item in sorted(self.shop.objects_of(file)):
            if item.startswith(TESTS):
                self.waiting.add(item)  # compiled when its program is to run
            elif not self._compile(item):
                return "uncompiled"
        if not self.changed and not self.waiting:
            return "equal"
        outputs = {self.shop.holders[item] for item in self.changed}
        for output in outputs:
            if not self._link(output):
                return "uncompiled"
        # A header may change the tests alone, which is no fault of the program.
        return outputs if outputs else "equal"

    def program(self, output):
        """The path of a test program with the fault; None if it cannot be built."""
        if output not in self.programs:
            self.programs[output] = self._make_program(output)
        return self.programs[output]

    def _make_program(self, output):
        mine = [item for item in self.shop.inputs[output] if item in self.waiting]
        if not all([self._compile(item) for item in mine]):
            return None
        if any(item in self.changed for item in self.shop.inputs[output]):
            return self.folder / "bin" / pathlib.Path(output).name if self._link(output) else None
        return self.shop.build / output

    def _compile(self, item):
        file, words = self.shop.compiles[item]
        made = self.folder / item
        made.parent.mkdir(parents=True, exist_ok=True)
        overlay = self.folder / "overlay"
        source = overlay / file if (overlay / file).exists() else self.shop.source(file)
        command = [words[0], f"-I{overlay}", *words[1:], "-o", str(made), "-c", str(source)]
        try:
            done = subprocess.run(command, cwd=self.shop.build, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  timeout=COMPILE_SECONDS, check=False, start_new_session=True)
        except subprocess.TimeoutExpired:
            return False
        if done.returncode == 0 and made.read_bytes() != (self.shop.build / item).read_bytes():
            self.changed[item] = made
        return done.returncode == 0

    def _link(self, output):
        made = self.folder / ("lib" if output.endswith(".so") else "bin") / pathlib.Path(output).name
        words = [str(self.changed.get(word, word)) for word in self.shop.link_command(output)]
        words[words.index("-o") + 1] = str(made)
        return subprocess.run(words, cwd=self.shop.build, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False, start_new_session=True).returncode == 0
