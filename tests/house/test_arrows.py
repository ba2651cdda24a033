"""The folders know each other as docs/architecture.md says; a fault in the code, the build or the table is found."""

import dataclasses

import pytest

import arrows


@pytest.fixture
def house(root, build):
    return arrows.read_house(root, build / "arrows.txt")


def test_code_build_and_table_agree(house):
    found = arrows.faults(house)
    assert not found, "\n".join(found)


# --- Faults that a change could bring.

def including(file, line):
    """The file begins with this line; it is new where there is none."""
    return lambda house: dataclasses.replace(house, sources=house.sources | {file: line + "\n" +
                                                                             house.sources.get(file, "")})


def linking(target, link):
    return lambda house: dataclasses.replace(house, build="".join(
        f"{line} {link}\n" if line.startswith(target + "|") else line + "\n" for line in house.build.splitlines()))


def in_table(old, new):
    def edit(house):
        assert old in house.document
        return dataclasses.replace(house, document=house.document.replace(old, new, 1))
    return edit


FAULTS = (
    (including("src/services/dbshm.cpp", '#include "src/pages/page_tables.h"'),
     "src/services/dbshm.cpp includes src/pages/page_tables.h: floor 1 may not include floor 5; move"),
    (including("src/services/dbshm.cpp", "#include <src/pages/page_tables.h>"),
     "src/services/dbshm.cpp includes src/pages/page_tables.h: orvik_services does not link orvik_pages; name"),
    (including("src/text/grid.cpp", '#include "src/devio/timer.h"'),
     "src/text/grid.cpp includes src/devio/timer.h: both stand on floor 4, and neither may include the other"),
    (including("src/extra/new.cpp", ""), "src/extra/new.cpp stands on no floor of src"),
    (including("src/core/queues.cpp", '#include "unit/notify/exchange.h"'),
     "src/core/queues.cpp includes unit/notify/exchange.h: src may not include unit"),
    (including("unit/board/keys.cpp", '#include "host/link/front_keys.h"'),
     "unit/board/keys.cpp includes host/link/front_keys.h: unit may include host/protocol/message_lines.h, "
     "host/protocol/traffic_decoder.h of host and nothing else"),
    (including("unit/board/keys.cpp", '#include "src/core/orvik_data.h"'),
     "unit/board/keys.cpp includes src/core/orvik_data.h: unit may include src/services/, src/screenapi/"),
    (including("bus/wait.cpp", '#include "host/protocol/encode.h"'),
     "bus/wait.cpp includes host/protocol/encode.h: bus may not include host"),
    (including("host/link/inject.cpp", '#include "unit/board/keys.h"'),
     "host/link/inject.cpp includes unit/board/keys.h: host may not include unit"),
    (including("host/link/inject.cpp", '#include "src/services/dbshm.h"'),
     "host/link/inject.cpp includes src/services/dbshm.h: host may include src/core/frame_layout.h of src and nothing"),
    (including("platform/linux/paths.cpp", '#include "base/whole_file.h"'),
     "platform/linux/paths.cpp includes base/whole_file.h: platform may not include base"),
    (including("host/crane/crane.cpp", '#include "host/protocol/encode.h"'),
     "host/crane/crane.cpp includes host/protocol/encode.h: hx7_crane does not link hx7_protocol; name"),
    (including("unit/screen/design/drawing.h", '#include "unit/screen/render/renderer.h"'),
     "the folders unit/screen/design -> unit/screen/render -> unit/screen/design are a circle: unit/screen/design/"
     "drawing.h includes unit/screen/render/renderer.h, unit/screen/render/"),
    (including("bus/spare.cpp", ""), "bus/spare.cpp belongs to no target: name it in the CMakeLists.txt of bus"),
    (including("bus/wait.cpp", '#include "wait.h"'), "bus/wait.cpp includes wait.h: there is no such file; write"),
    (linking("orvik_text", "orvik_services"),
     "orvik_text links orvik_services, and none of its files includes a header of it: take the link out of src/text"),
    (linking("orvik_text", "orvik_services"),
     "the row of orvik_text in docs/architecture.md lacks orvik_services, which the build links"),
    (in_table("| `desk_bus` | `bus` |", "| desk_bus | bus |"),
     "docs/architecture.md has no row for desk_bus; if it is wanted, write: | `desk_bus` | `bus` | `desk_base` |"),
    (in_table("| `desk_bus` |", "| `desk_gone` | `gone` | nothing |\n| `desk_bus` |"),
     "docs/architecture.md has a row for desk_gone, which is no target: take it out"),
    (in_table("| `bus` | `desk_base`", "| `bus` | `desk_base`, `desk_http`"),
     "the row of desk_bus in docs/architecture.md names desk_http, which the build does not link: take it out"),
    (in_table("| `desk_bus` | `bus` |", "| `desk_bus` | `base` |"),
     "the row of desk_bus in docs/architecture.md says base, the build bus"),
    (in_table("<!-- arrows: end -->", ""), "docs/architecture.md has no table between <!-- arrows: begin -->"),
)


@pytest.mark.parametrize("fault,message", FAULTS, ids=[message.split(":")[0] for _, message in FAULTS])
def test_a_fault_is_found(house, fault, message):
    found = arrows.faults(fault(house))
    assert any(line.startswith(message) for line in found), "\n".join(found)
