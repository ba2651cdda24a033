"""Comparison of pictures and states of the screen, and a report of the differences."""

import base64
import html
import io
import json
import pathlib

from PIL import Image, ImageChops

TILE = 16
# Of 255. Edges of glyphs may differ a little from one version of a library to the next; a glyph in another place
# differs by far more in its tile.
MEAN_TOLERANCE = 1.0
TILE_TOLERANCE = 30.0

# Variables that follow the clock, are counters, or blink.
UNSTEADY = ("RealTimeClock", "OrvikTotalHX7Commands", "Screen.DataState", "OrvikBeepImage")


def state_of(screen, design):
    """What of a screen's state is compared: what its page shows. `design` is the page's SVG document."""
    return {"page": screen["page"],
            "widgets": {name: text for name, text in screen["widgets"].items() if f'"{name}"' in design},
            "variables": {name: value for name, value in screen["variables"].items()
                          if f'"{name}"' in design and not name.startswith(UNSTEADY)}}


def flatten(state):
    flat = {"page": state["page"]}
    for part in ("widgets", "variables"):
        flat.update({f"{part}.{name}": value for name, value in state[part].items()})
    return flat


def differences(old, new):
    """Name, old value, new value of everything that differs."""
    old, new = flatten(old), flatten(new)
    return [(name, old.get(name), new.get(name)) for name in sorted(old.keys() | new.keys()) if old.get(name) != new.get(name)]


def compare(old, new):
    """Mean difference, that of the worst tile, and a picture of the difference."""
    pictures = [Image.open(io.BytesIO(png)).convert("RGB") for png in (old, new)]
    if pictures[0].size != pictures[1].size:
        return 255.0, 255.0, pictures[1]
    difference = ImageChops.difference(*pictures)
    grey = difference.convert("L")
    width, height = grey.size
    tiles = grey.resize((width // TILE, height // TILE), Image.BOX)
    mean = sum(grey.getdata()) / (width * height)
    return mean, float(max(tiles.getdata())), difference.point(lambda value: min(255, value * 4))


def png_of(picture):
    out = io.BytesIO()
    picture.save(out, "PNG")
    return out.getvalue()


class Report:
    """One HTML page with all that differs; empty until something does."""

    def __init__(self, folder):
        self.file = pathlib.Path(folder) / "index.html"
        self.sections = []

    def add(self, name, old, new, difference, changes):
        rows = "".join(f"<tr><td>{html.escape(str(what))}<td>{html.escape(json.dumps(a, ensure_ascii=False))}"
                       f"<td>{html.escape(json.dumps(b, ensure_ascii=False))}" for what, a, b in changes)
        pictures = "".join(f"<figure><img src='data:image/png;base64,{base64.b64encode(png).decode()}'>"
                           f"<figcaption>{caption}</figcaption></figure>"
                           for caption, png in (("golden", old), ("now", new), ("difference × 4", difference)))
        table = f"<table><tr><th>what<th>golden<th>now{rows}</table>" if rows else "<p>The states are equal.</p>"
        self.sections.append(f"<h2>{html.escape(name)}</h2><div>{pictures}</div>{table}")
        self.file.parent.mkdir(parents=True, exist_ok=True)
        self.file.write_text(
            "<!doctype html><meta charset='utf-8'><title>Golden pictures</title><style>body{font:15px sans-serif;"
            "background:#111;color:#eee;margin:2em}div{display:flex;gap:1em;flex-wrap:wrap}figure{margin:0}"
            "img{width:560px;border:1px solid #444}td,th{text-align:left;padding:2px 12px;border-top:1px solid #333}"
            "</style><h1>Golden pictures that differ</h1>" + "".join(self.sections), encoding="utf-8")
