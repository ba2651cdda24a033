"""The arrows between the folders: what the code includes, what the build links, what docs/architecture.md states.

All three must say the same. A House holds them as text, so that a test builds a fault into one of them without a copy
of the tree. Each rule is a function from the model to a list of messages: what is wrong, and what to do.
"""

import dataclasses
import functools
import re
from pathlib import Path

TREES = ("src", "unit", "host", "film", "base", "bus", "http", "expect", "platform", "tools")
DOCUMENT = "docs/architecture.md"

# The folders of src, from the ground floor up. A folder includes from lower floors only, never from one
# beside it.
FLOORS = (
    ("services", "compositing"),
    ("screenapi",),
    ("core",),
    ("hostlink", "devio", "text", "dials"),
    ("display", "pages"),
    ("parse",),
    ("startup",),
)
FLOOR_OF = {f"src/{folder}": number for number, folders in enumerate(FLOORS, 1) for folder in folders}

FRAME = "src/core/frame_layout.h"
# What a tree may include besides its own files; a path that ends in "/" stands for everything below it. Of src, unit
# knows the service clients' side and the layouts of messages, host knows the frame alone.
MAY_INCLUDE = {
    "platform": (),
    "base": ("platform/",),
    "bus": ("platform/", "base/"),
    "http": ("platform/", "base/"),
    "expect": ("base/",),
    "src": ("platform/",),
    "unit": ("platform/", "base/", "bus/", "http/", "expect/", "src/services/", "src/screenapi/screen_messages.h",
             "src/compositing/compositor_messages.h", "src/hostlink/j1939_external.h", FRAME,
             "host/protocol/message_lines.h", "host/protocol/traffic_decoder.h"),
    "host": ("platform/", "base/", "bus/", "http/", "expect/", FRAME),
    "film": ("platform/", "base/", "bus/", "src/", "unit/"),
    "tools": ("platform/", "base/", "bus/", "host/", FRAME),
}

# The platform of the system that this build is not for; its files belong to the same target in a build for it.
OTHER_SYSTEM = ("platform/qnx/", "orvik_platform")

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"\n]+)"|<((?:%s)/[^>\n]+)>)' % "|".join(TREES), re.MULTILINE)
NAME = re.compile(r"`([^`]+)`")


@dataclasses.dataclass
class House:
    sources: dict  # path from the root → text, of every .cpp and .h
    build: str  # arrows.txt of a build folder
    document: str  # docs/architecture.md


@dataclasses.dataclass(frozen=True)
class Target:
    name: str
    folder: str
    files: tuple
    links: tuple  # in the order of the build, libraries of others included

    def is_product(self):
        """Not of the tests, whose arrows nobody holds."""
        return tree_of(self.folder) in TREES


@dataclasses.dataclass(frozen=True)
class Include:
    file: str
    header: str  # from the root

    def __str__(self):
        return f"{self.file} includes {self.header}"


@dataclasses.dataclass
class Model:
    files: set
    targets: dict  # name → Target
    owners: dict  # file → target's name
    includes: list
    rows: list  # of the table: (target, folder, links)


def read_house(root, arrows):
    paths = [path for tree in TREES for path in sorted((root / tree).rglob("*")) if path.suffix in (".cpp", ".h")]
    sources = {path.relative_to(root).as_posix(): path.read_text() for path in paths}
    return House(sources, Path(arrows).read_text(), (root / DOCUMENT).read_text())


def read_targets(build):
    targets = {}
    for line in build.splitlines():
        name, folder, files, links = line.split("|")
        targets[name] = Target(name, folder, tuple(files.split()), tuple(links.split()))
    return targets


def between(document, what):
    """The lines between the markers of this name; None where the document has not both."""
    found = re.search(rf"<!-- {what}: begin -->\n(.*?)<!-- {what}: end -->", document, re.DOTALL)
    return None if found is None else found.group(1)


def read_rows(document):
    rows = []
    for line in (between(document, "arrows") or "").splitlines():
        cells = [NAME.findall(cell) for cell in line.strip().strip("|").split("|")]
        if len(cells) >= 3 and cells[0]:
            rows.append((cells[0][0], (cells[1] or [""])[0].rstrip("/"), tuple(cells[2])))
    return rows


def header_path(written):
    """Public headers of the platform are included without the name of the folder that they stand in."""
    inner = written.startswith("platform/") and not written.startswith(("platform/linux/", "platform/qnx/"))
    return written.replace("platform/", "platform/include/platform/", 1) if inner else written


@functools.cache
def headers_of(text):
    return [header_path(quoted or bracketed) for quoted, bracketed in INCLUDE.findall(text)]


def read_includes(sources):
    return [Include(file, header) for file, text in sources.items() for header in headers_of(text)]


def read_model(house):
    targets = read_targets(house.build)
    owners = {file: target.name for target in targets.values() for file in target.files}
    folder, platform = OTHER_SYSTEM
    owners |= {file: platform for file in house.sources if file.startswith(folder)}
    return Model(set(house.sources), targets, owners, read_includes(house.sources), read_rows(house.document))


def folder_of(path):
    return path.rsplit("/", 1)[0]


def tree_of(path):
    return path.split("/")[0]


def floor_of(path):
    """1 for the ground floor; None outside of src."""
    return FLOOR_OF.get(folder_of(path))


def own_links(model, target):
    return [link for link in target.links if link in model.targets]


def arrows_of_code(model):
    """(from target, to target) → the first include that makes it."""
    arrows = {}
    for include in model.includes:
        ends = model.owners.get(include.file), model.owners.get(include.header)
        if None not in ends and ends[0] != ends[1]:
            arrows.setdefault(ends, include)
    return arrows


# --- The rules. Each yields its messages.

def unowned_files(model):
    for file in sorted(model.files - model.owners.keys()):
        yield f"{file} belongs to no target: name it in the CMakeLists.txt of {folder_of(file)}"


def missing_headers(model):
    for include in model.includes:
        if include.header not in model.files:
            yield f"{include}: there is no such file; write the path from the repository's root"


def unlinked_includes(model):
    for (start, end), include in arrows_of_code(model).items():
        target = model.targets[start]
        if end not in target.links:
            yield (f"{include}: {start} does not link {end}; name it in LINKS or PRIVATE_LINKS of "
                   f"{target.folder}/CMakeLists.txt, or take the include out")


def unused_links(model):
    used = arrows_of_code(model)
    for target in filter(Target.is_product, model.targets.values()):
        for link in own_links(model, target):
            if (target.name, link) not in used:
                yield (f"{target.name} links {link}, and none of its files includes a header of it: take the link "
                       f"out of {target.folder}/CMakeLists.txt")


def row_text(model, target):
    links = ", ".join(f"`{link}`" for link in own_links(model, target))
    return f"| `{target.name}` | `{target.folder}` | {links or 'nothing'} |"


def table_faults(model):
    if not model.rows:
        yield f"{DOCUMENT} has no table between <!-- arrows: begin --> and <!-- arrows: end -->"
        return
    stated = {target for target, _, _ in model.rows}
    for target in filter(Target.is_product, model.targets.values()):
        if target.name not in stated:
            yield f"{DOCUMENT} has no row for {target.name}; if it is wanted, write: {row_text(model, target)}"
    for name, folder, links in model.rows:
        if name in model.targets:
            yield from row_faults(model, model.targets[name], folder, links)
        else:
            yield f"{DOCUMENT} has a row for {name}, which is no target: take it out"


def row_faults(model, target, folder, links):
    row = f"the row of {target.name} in {DOCUMENT}"
    if folder != target.folder:
        yield f"{row} says {folder}, the build {target.folder}"
    for link in own_links(model, target):
        if link not in links:
            yield f"{row} lacks {link}, which the build links: state the new arrow there, or take the link out"
    for link in links:
        if link not in target.links:
            yield f"{row} names {link}, which the build does not link: take it out of the table"


def tree_faults(model):
    """Which of the trees knows which."""
    for include in model.includes:
        tree, other = tree_of(include.file), tree_of(include.header)
        if tree == other or may_include(tree, include.header):
            continue
        some = [path for path in MAY_INCLUDE[tree] if path.startswith(other + "/")]
        if some:
            yield f"{include}: {tree} may include {', '.join(some)} of {other} and nothing else"
        else:
            yield f"{include}: {tree} may not include {other}; what both need goes to base, bus or http"


def may_include(tree, header):
    return any(header == path or path.endswith("/") and header.startswith(path) for path in MAY_INCLUDE[tree])


def floor_faults(model):
    for file in sorted(model.files):
        if tree_of(file) == "src" and floor_of(file) is None:
            yield f"{file} stands on no floor of src: add {folder_of(file)} to FLOORS of tools/house/arrows.py"
    for include in model.includes:
        start, end = floor_of(include.file), floor_of(include.header)
        if None in (start, end) or start > end or folder_of(include.file) == folder_of(include.header):
            continue
        if start == end:
            yield f"{include}: both stand on floor {start}, and neither may include the other; {WAY_OUT}"
        else:
            yield f"{include}: floor {start} may not include floor {end}; {WAY_OUT}"


WAY_OUT = "move what both need to a lower floor, or hand it in from above"


def circles(model):
    """One message for each circle of folders that a walk from folder to folder finds."""
    edges = {}
    for include in model.includes:
        ends = folder_of(include.file), folder_of(include.header)
        if ends[0] != ends[1]:
            edges.setdefault(ends[0], {}).setdefault(ends[1], include)
    done = set()

    def walk(folder, path):
        if folder in path:
            yield circle_text(edges, from_first(path[path.index(folder):]))
        elif folder not in done:
            for following in edges.get(folder, {}):
                yield from walk(following, path + [folder])
            done.add(folder)

    for folder in sorted(edges):
        yield from walk(folder, [])


def from_first(circle):
    """The circle from its first folder by name, so that the message does not depend on where the walk began."""
    start = circle.index(min(circle))
    return circle[start:] + circle[:start + 1]


def circle_text(edges, circle):
    includes = ", ".join(str(edges[start][end]) for start, end in zip(circle, circle[1:]))
    return f"the folders {' -> '.join(circle)} are a circle: {includes}; take one of these includes out"


RULES = (unowned_files, missing_headers, unlinked_includes, unused_links, table_faults, tree_faults, floor_faults,
         circles)


def faults(house):
    model = read_model(house)
    return [message for rule in RULES for message in rule(model)]
