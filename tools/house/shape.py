"""The shape of the code: how long functions and files are, and how many modules a folder has."""

import dataclasses
import json
import statistics
import subprocess

from arrows import TREES

CODE = (".cpp", ".h")
SOURCES = (*CODE, ".js", ".css", ".lua", ".py")

# Lines of a function from its signature to its closing brace, as clang-format lays it out.
MEDIAN = 6
NINE_TENTHS = 15
LONGEST = 45
FILE_LINES = 500
# A header with its source is one module.
MODULES = 12

# Modules that do not count, and whose files may be longer: constant tables, with what they hold.
TABLES = {"src/core/name_tables": "the names of actions, events, keys and commands"}


@dataclasses.dataclass(frozen=True)
class Function:
    lines: int
    file: str
    line: int
    name: str


@dataclasses.dataclass
class Shape:
    functions: list  # longest first
    files: dict  # path → lines
    folders: dict  # path → names of its modules


def read_functions(root, files):
    """The functions with a body, lambdas aside, which are lines of the function that they stand in."""
    command = "ctags --language-force=C++ --kinds-C++=f --fields=+ne --output-format=json -o - -L -"
    result = subprocess.run(command.split(), cwd=root, input="\n".join(files), text=True, stdout=subprocess.PIPE,
                            check=True)
    tags = [json.loads(line) for line in result.stdout.splitlines()]
    functions = [Function(tag["end"] - tag["line"] + 1, tag["path"], tag["line"], tag["name"])
                 for tag in tags if "end" in tag and not tag["name"].startswith("__anon")]
    return sorted(functions, key=lambda function: -function.lines)


def modules(files):
    folders = {}
    for file in files:
        module, _ = file.rsplit(".", 1)
        if module not in TABLES:
            folders.setdefault(file.rsplit("/", 1)[0], set()).add(module.rsplit("/", 1)[1])
    return folders


def read_shape(root):
    paths = [path for tree in (*TREES, "viewer") for path in sorted((root / tree).rglob("*")) if path.suffix in SOURCES]
    files = {path.relative_to(root).as_posix(): len(path.read_text().splitlines()) for path in paths}
    code = [file for file in files if file.endswith(CODE)]
    return Shape(read_functions(root, code), files, modules(code))


def middle(shape):
    return statistics.median(function.lines for function in shape.functions)


def nine_tenths(shape):
    """The length that nine of ten functions do not exceed."""
    lengths = sorted(function.lines for function in shape.functions)
    return lengths[max(0, -(-9 * len(lengths) // 10) - 1)]


def largest(sizes, noun):
    sizes = sorted(sizes.items(), key=lambda item: -item[1])
    return [f"{len(sizes)} {noun}, the largest:"] + [f"  {size:4} {name}" for name, size in sizes[:5]]


def report(shape):
    functions = {f"{function.file}:{function.line} {function.name}": function.lines for function in shape.functions}
    folders = {folder: len(names) for folder, names in shape.folders.items()}
    lines = [f"median of the functions {middle(shape):g} lines, nine tenths up to {nine_tenths(shape)}"]
    lines += largest(functions, "functions (lines)") + largest(shape.files, "files (lines)")
    return "\n".join(lines + largest(folders, "folders (modules)"))


def faults(shape):
    found = []
    if middle(shape) > MEDIAN:
        found.append(f"the median of the functions is {middle(shape):g} lines, {MEDIAN} are the most")
    if nine_tenths(shape) > NINE_TENTHS:
        found.append(f"nine tenths of the functions reach {nine_tenths(shape)} lines, {NINE_TENTHS} are the most")
    found += [f"{function.file}:{function.line}: {function.name} has {function.lines} lines, {LONGEST} are the most: "
              "take parts out under names of their own" for function in shape.functions if function.lines > LONGEST]
    found += [f"{file} has {lines} lines, {FILE_LINES} are the most: split it by what its parts do"
              for file, lines in shape.files.items() if lines > FILE_LINES and file.rsplit(".", 1)[0] not in TABLES]
    found += [f"{folder} has {len(names)} modules, {MODULES} are the most: give some of them a folder of their own"
              for folder, names in shape.folders.items() if len(names) > MODULES]
    return found
