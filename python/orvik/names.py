"""Names of texts, lamps, host keys and states, as `hx7` and the panel have them."""

import difflib
from typing import Collection, Dict, Tuple

TEXTS = (
    "load", "capacity", "radius", "angle", "extension", "swing", "percent", "parts-of-line", "piston-pressure",
    "rod-pressure", "weight-units", "distance-units", "line1", "line2", "line3", "line4", "flash-msg", "erected", "stowed",
)

LAMPS = (
    "prealarm", "overload", "a2b", "jib-long-fly-0", "jib-short-fly-0", "jib-long-fly-15", "jib-short-fly-15",
    "jib-long-fly-30", "jib-short-fly-30", "rear-winch", "front-winch", "counterweight", "stowed", "boom-mode", "aux-head",
    "alarm", "tires", "outrigger-retracted", "outrigger-half", "outrigger-extended", "pick-main-boom", "pick-aux",
    "pick-fly", "man-basket", "angle-alarm-set", "angle-alarm-tripped", "radius-alarm-set", "radius-alarm-tripped",
    "extension-alarm-set", "extension-alarm-tripped", "swing-alarm-set", "swing-alarm-tripped", "link-lost",
)

# By the key's number on the bus.
KEYS = (
    "none", "boom-mode", "winch", "counterweight", "stowed", "alarm-cancel", "exit-alarm-main", "pol-down", "select-1",
    "pol-up", "fly", "aux", "pick", "exit-alarm-config", "select-3", "select-4", "outrigger", "select-2", "info", "tires",
    "calibration", "swing-mode", "man-basket",
)

# What stands in a member of /api/shown.
WORDS: Dict[str, Tuple[str, ...]] = {
    "state": ("current", "old", "unknown"),
    "link": ("heard", "lost", "unknown"),
    "language": ("english", "spanish", "portuguese", "chinese", "russian", "french"),
    "beeper": ("silent", "beep", "pulse", "steady"),
    "page": (),  # the names of the pages' files
    "title": (),  # any text
}


def nearest(word: str, known: Collection[str]) -> str:
    """The words to end an error with: the nearest name, or all of them where none is near."""
    near = difflib.get_close_matches(word, sorted(known), 1)
    return f"did you mean {near[0]!r}?" if near else f"there are {', '.join(sorted(known))}"
