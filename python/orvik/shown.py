"""What the screen shows, and expressions on it, the same as `unit wait` takes.

    load == 12300       load "12,300"      line2 has "LOST"     percent >= 90
    page == Wad         page Wad           link lost            beeper != silent
    lamp overload       no lamp overload

The comparison == may be left out. A text in quotes, or one word without, is compared with the shown text; a number with
the number of the shown text ("12,300" is 12300). A text that is no number, as dashes are, is unequal to every number,
neither less nor greater.
"""

import dataclasses
import operator
import re
from typing import Any, Callable, Dict, List, Mapping, Optional, Tuple, Union

from .names import LAMPS, TEXTS, WORDS, nearest

Value = Union[int, float, str, List[str], Tuple[str, ...]]

ORDERS: Dict[str, Callable[[Any, Any], bool]] = {"<=": operator.le, ">=": operator.ge, "<": operator.lt, ">": operator.gt}
COMPARISONS: Dict[str, Callable[[Any, Any], Any]] = {
    "==": operator.eq, "!=": operator.ne, "has": operator.contains, **ORDERS}
BRIGHTNESS = "brightness"
TOKEN = re.compile(r'\s*("(?:[^"\\]|\\.)*"|[=!<>]+|[^\s"=!<>]+)\s*')
NUMBER = re.compile(r"-?(\d+\.?\d*|\.\d+)")


class ExpectationError(ValueError):
    """An expression that cannot be understood, or that names what the screen does not have."""


def number_of(text: str) -> Optional[float]:
    """The number that a text shows, with commas between the thousands; None for dashes and words."""
    digits = text.strip().replace(",", "")
    return float(digits) if NUMBER.fullmatch(digits) else None


@dataclasses.dataclass(frozen=True)
class Shown:
    """What the screen shows at one moment (GET /api/shown)."""

    state: str  # "current", "old" (may be out of date) or "unknown"
    page: str
    title: str
    link: str  # "heard", "lost" or "unknown"
    language: str
    texts: Mapping[str, str]
    lamps: Tuple[str, ...]  # those that are lit
    beeper: str  # "silent", "beep" (one short sound), "steady" or "pulse"
    keys: Tuple[int, ...]  # front keys that are held
    brightness: float
    revision: int

    @classmethod
    def read(cls, document: Mapping[str, Any]) -> "Shown":
        """From the JSON document; members that this version does not know are left out."""
        known: Dict[str, Any] = {field.name: document[field.name] for field in dataclasses.fields(cls)}
        known.update(lamps=tuple(known["lamps"]), keys=tuple(known["keys"]))
        return cls(**known)

    def text(self, name: str) -> str:
        """A text by its name, also the brightness; ExpectationError names the nearest where there is none."""
        if name == BRIGHTNESS:
            return f"{self.brightness:g}"
        if name not in self.texts:
            raise ExpectationError(f"the screen has no text {name!r}; {nearest(name, [*self.texts, BRIGHTNESS])}")
        return self.texts[name]

    def number(self, name: str) -> Optional[float]:
        """The number that a text shows; None for dashes and words."""
        return number_of(self.text(name))

    def words(self) -> str:
        """All of it in one line, for a message."""
        texts = ", ".join(f"{name} {text!r}" for name, text in self.texts.items() if text)
        return (f"page {self.page}, link {self.link}, state {self.state}, language {self.language}, beeper {self.beeper}, "
                f"lamps {', '.join(self.lamps) or 'none'}; {texts}")


@dataclasses.dataclass(frozen=True)
class Expectation:
    """An expression: its text, whether it holds, and what stands in its place."""

    text: str
    holds: Callable[[Shown], bool]
    look: Callable[[Shown], str]

    @classmethod
    def parse(cls, text: str) -> "Expectation":
        """Reads an expression; raises ExpectationError."""
        tokens = _tokens(text)
        lit = tokens[0] != "no"
        if not lit and tokens[1:2] != ["lamp"]:
            raise ExpectationError(f"{text!r}: after no comes lamp NAME; for a text or a value write !=")
        if "lamp" in tokens[:2]:
            return _lamp(text, tokens[1 if lit else 2:], lit)
        name, rest = tokens[0], tokens[1:]
        comparison = rest.pop(0) if rest and rest[0] in COMPARISONS else "=="
        if len(rest) != 1 or set(rest[0]) <= set("=!<>"):
            raise ExpectationError(f"{text!r} is no expression: write NAME == VALUE (also != < <= > >= has), with quotes around "
                                   "a text of several words, or lamp NAME, or no lamp NAME")
        if name in WORDS:
            return _word(text, name, comparison, _unquote(rest[0]))
        return _text(text, name, comparison, rest[0])


def expectations(expressions: Tuple[str, ...], named: Mapping[str, Value]) -> List[Expectation]:
    """Those of a call: expressions as they are, and keyword arguments (`load=12300`, `line1_has="LOAD"`, `lamp="a2b"`,
    `no_lamp=("a2b", "overload")`)."""
    texts = list(expressions)
    for key, value in named.items():
        name = key.replace("_", "-")
        if name in ("lamp", "no-lamp"):
            texts += [f"{name.replace('-', ' ')} {lamp}" for lamp in ([value] if isinstance(value, str) else _names(value))]
        elif name.endswith("-has"):
            texts.append(f"{name[:-4]} has {_quote(str(value))}")
        else:
            texts.append(f"{name} == {_quote(value) if isinstance(value, str) else value}")
    if not texts:
        raise ExpectationError("nothing to wait for: name at least one expression")
    return [Expectation.parse(text) for text in texts]


def _names(value: Value) -> List[str]:
    if not isinstance(value, (list, tuple)):
        raise ExpectationError(f"a lamp has a name, not {value!r}")
    return list(value)


def _quote(text: str) -> str:
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _unquote(value: str) -> str:
    return re.sub(r"\\(.)", r"\1", value[1:-1]) if value.startswith('"') else value


def _tokens(text: str) -> List[str]:
    tokens, at = [], 0
    while at < len(text) and (found := TOKEN.match(text, at)):
        tokens.append(found[1])
        at = found.end()
    if at < len(text) or not tokens:
        raise ExpectationError(f"{text!r} is no expression, such as load == 12300 or lamp overload")
    return tokens


def _lamp(text: str, names: List[str], lit: bool) -> Expectation:
    name = " ".join(names)
    if name not in LAMPS:
        raise ExpectationError(f"{text!r}: there is no lamp {name!r}; {nearest(name, LAMPS)}")
    return Expectation(text, lambda shown: (name in shown.lamps) == lit,
                       lambda shown: f"lit are {', '.join(shown.lamps) or 'no lamps'}")


def _word(text: str, name: str, comparison: str, value: str) -> Expectation:
    if comparison in ORDERS:
        raise ExpectationError(f"{text!r}: {name} is a word; compare it by ==, != or has")
    if WORDS[name] and comparison != "has" and value not in WORDS[name]:
        raise ExpectationError(f"{text!r}: {name} is never {value!r}; {nearest(value, WORDS[name])}")
    compare = COMPARISONS[comparison]
    return Expectation(text, lambda shown: bool(compare(getattr(shown, name), value)),
                       lambda shown: f"{name} is {getattr(shown, name)}")


def _text(text: str, name: str, comparison: str, value: str) -> Expectation:
    if name not in (*TEXTS, BRIGHTNESS):
        raise ExpectationError(f"{text!r}: the screen has no {name!r}; {nearest(name, [*TEXTS, *WORDS, BRIGHTNESS, 'lamp'])}")
    number, compare, wanted = number_of(value), COMPARISONS[comparison], _unquote(value)
    if number is None and (comparison in ORDERS or name == BRIGHTNESS):
        raise ExpectationError(f"{text!r}: {value} is no number")

    def holds(shown: Shown) -> bool:
        if number is None or comparison == "has":
            return bool(compare(shown.text(name), wanted))
        present = shown.number(name)
        return comparison == "!=" if present is None else bool(compare(present, number))

    return Expectation(text, holds, lambda shown: f"{name} is {shown.text(name)!r}")
