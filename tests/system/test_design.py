"""`unit design`: the product's design has no findings and looks as on the sheet in docs/, and each kind of mistake is one
line that names it."""

import os
import shutil
import subprocess

import pytest
from PIL import Image, ImageChops

from desk import BIN, CONFIG, REPOSITORY, wait_for
from pictures import TILE, TILE_TOLERANCE

# Each page in each state that matters, in all languages by day and in English by night.
SHEET = REPOSITORY / "docs" / "design-sheet.png"
FONTS = REPOSITORY / "tests" / "golden" / "fonts.conf"


def design(folder, *arguments):
    done = subprocess.run([BIN / "unit", "design", folder / "screen", *arguments], capture_output=True, text=True,
                          env=dict(os.environ, FONTCONFIG_FILE=str(FONTS)), timeout=800)
    return done.returncode, done.stdout, done.stderr


@pytest.fixture
def config(tmp_path):
    folder = tmp_path / "config"
    shutil.copytree(CONFIG, folder)
    return folder


def unlike(golden, drawn):
    """Where the pictures differ: corners of the tiles, in pixels."""
    old, new = (Image.open(path).convert("RGB") for path in (golden, drawn))
    assert old.size == new.size, f"{drawn} has another size than {golden}: pages or states came or went"
    columns, rows = old.size[0] // TILE, old.size[1] // TILE
    tiles = ImageChops.difference(old, new).convert("L").resize((columns, rows), Image.BOX)
    return [(i % columns * TILE, i // columns * TILE) for i, grey in enumerate(tiles.tobytes()) if grey > TILE_TOLERANCE]


def test_the_products_design_has_no_findings_and_looks_as_on_the_sheet():
    drawn = BIN.parent / "golden-report" / "design-sheet.png"
    drawn.parent.mkdir(exist_ok=True)
    status, found, errors = design(CONFIG, "--sheet", drawn)
    assert (status, found.count("\n")) == (0, 1), found + errors
    assert found.startswith("smallest text 14, caption 16, value 28 pixels; lowest contrast ")
    differences = unlike(SHEET, drawn)
    assert not differences, f"{drawn} differs from {SHEET} at {differences[:20]}; tools/rewrite-golden if it is meant to"


def test_each_mistake_is_one_line(config):
    page = config / "screen" / "engine.svg"
    page.write_text(page.read_text().replace("</svg>", """
      <rect x="100" y="100" width="100" height="30" fill="#202020"/>
      <text x="102" y="120" id="wide">TOO WIDE FOR IT</text>
      <text x="300" y="200" id="one">ONE</text><text x="310" y="204" id="two">TWO</text>
      <text x="420" y="160" id="small" style="font-size:13px">SMALL</text>
      <g transform="translate(420 320) scale(2 0.8)"><g transform="rotate(90)"><text id="flat">A</text></g></g>
      <g transform="translate(440 320) scale(2 0.8)"><text id="low">B</text></g>
      <text x="460" y="320"><tspan font-size="15">C</tspan></text>
      <text x="420" y="200" id="pale" style="fill:#303438">PALE</text>
      <text x="420" y="240" id="orvikTextWidgetNone">NONE</text>
      <text x="420" y="280" id="uneven" dominant-baseline="middle" data-var="OrvikNothing" data-format="{0}">UNEVEN</text>
    </svg>""").replace('event="orvik.EngineToMain"', 'event="orvik.EngineToNowhere"'))
    french = config / "words" / "fr.xml"
    french.write_text(french.read_text().replace('key="load"', 'key="lode"'))
    status, found, _ = design(config, "--page", "Engine", "--sheet", config / "sheet.html")
    assert status == 1
    for line in ('wide: "TOO WIDE FOR IT"', 'one: "ONE" touches "TWO" (two)', 'small: "SMALL" has 13 pixels; at least 16',
                 'low: "B" has 12.8 pixels', '"C" has 15 pixels',
                 'pale: "PALE" has a contrast of 1.5', "id=orvikTextWidgetNone>: the configuration has no widget",
                 "id=uneven>: dominant-baseline is not drawn alike", "id=uneven>: unknown variable OrvikNothing",
                 "unknown event orvik.EngineToNowhere", "words: French lacks load", "words: nothing uses lode"):
        assert len([text for text in found.splitlines() if line in text]) == 1, f"{line}:\n{found}"
    assert "flat:" not in found, found
    assert (config / "sheet.png").read_bytes().startswith(b"\x89PNG")
    sheet = (config / "sheet.html").read_text()
    assert "url(sheet.png)" in sheet and "Engine, two-block, Russian, day" in sheet and "Engine, two-block, English, night" in sheet


def test_a_mistake_in_a_page_of_the_running_unit_is_one_line_and_the_health(make_desk, config):
    desk = make_desk("--config", config, orvik=False)
    page, detail = config / "screen" / "wad.svg", "wad.svg: orvik.WadToMain leads to a page that does not exist: Nowhere"
    good = page.read_text()

    for text, expected in ((good.replace('event="orvik.WadToMain" page="Main"', 'event="orvik.WadToMain" page="Nowhere"'), detail),
                           (good, "page Splash")):
        page.write_text(text)
        wait_for(lambda: (desk.detail("screen") or "").endswith(expected), expected)
    assert [detail in line for line in desk.unit.out + desk.unit.err if "stays unchanged" in line] == [True]


def test_a_folder_without_pages_is_refused(tmp_path):
    (tmp_path / "screen").mkdir()
    shutil.copy(CONFIG / "generic.xml", tmp_path)
    status, _, errors = design(tmp_path)
    assert status == 2 and "the folder has no page" in errors
