"""Splits C++ sources, laid out by clang-format, into tokens, and finds brackets, lists and statements in them."""

import bisect
import dataclasses
import re

PATTERN = re.compile(r"""
    (?P<space>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>(?m:^[ \t]*)\#(?:[^\n\\]|\\.|\\\n)*)
  | (?P<string>(?:u8|u|U|L)?(?:R"\((?:.*?)\)"|"(?:[^"\\\n]|\\.)*"))
  | (?P<char>(?:u8|u|U|L)?'(?:[^'\\\n]|\\.)+')
  | (?P<number>\.?\d(?:[eEpP][+-]|'[\w]|[\w.])*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<sign><=>|->\*|\.\.\.|<<=|>>=|::|->|\+\+|--|&&|\|\||<<|[-+*/%&|^=!<>]=|.)
""", re.VERBOSE | re.DOTALL)

CLOSING = {"(": ")", "[": "]", "{": "}"}
# A brace after one of these, with a blank between, opens statements; after all others it opens a list of values.
BEFORE_BLOCK = {")", "else", "do", "try", "const", "noexcept", "override", "mutable", "]"}
SCOPES = {"namespace", "struct", "class", "union", "extern"}


@dataclasses.dataclass
class Token:
    kind: str
    text: str
    start: int
    spaced: bool  # white space stands before it

    @property
    def end(self):
        return self.start + len(self.text)


class Source:
    """The tokens of a text without comments and directives, the pairs of brackets, and what each brace opens."""

    def __init__(self, text):
        self.text = text
        self.lines = [0] + [match.end() for match in re.finditer("\n", text)]
        self.tokens = []
        spaced = False
        for match in PATTERN.finditer(text):
            if match.lastgroup in ("space", "comment", "directive"):
                spaced = True
                continue
            self.tokens.append(Token(match.lastgroup, match.group(), match.start(), spaced))
            spaced = False
        self._match_brackets()
        self.roles = {index: self._role(index) for index in self.partner
                      if self.tokens[index].text == "{" and self.partner[index] > index}

    def line(self, offset):
        return bisect.bisect_right(self.lines, offset)

    def line_text(self, offset):
        end = self.text.find("\n", offset)
        return self.text[self.lines[self.line(offset) - 1]:end if end >= 0 else None].strip()

    def word(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def slice(self, first, last):
        """The text from the token `first` to the token `last`."""
        return self.text[self.tokens[first].start:self.tokens[last].end]

    def elements(self, opening):
        """The parts of a list in brackets that commas divide, as pairs of their first and last token."""
        result, first, index, closing = [], opening + 1, opening + 1, self.partner[opening]
        while index < closing:
            if self.word(index) == ",":
                result.append((first, index - 1))
                first = index + 1
            index = self.partner[index] + 1 if self.opens(index) else index + 1
        if first < closing:
            result.append((first, closing - 1))
        return [(first, last) for first, last in result if first <= last]

    def opens(self, index):
        return self.partner.get(index, -1) > index

    def _match_brackets(self):
        self.partner, self.inside, stack = {}, [], []
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING.values() and token.kind == "sign" and stack:
                opening = stack.pop()
                self.partner[opening], self.partner[index] = index, opening
            self.inside.append(stack[-1] if stack else -1)
            if token.text in CLOSING and token.kind == "sign":
                stack.append(index)

    def _role(self, brace):
        """What a brace opens: 'scope', 'enum', 'block' or 'list'."""
        first = brace
        while first > 0 and self.word(first - 1) not in (";", "{", "}"):
            first -= 1
        words = [self.word(index) for index in range(first, brace)]
        if "enum" in words[:3]:  # "private:" may stand before it
            return "enum"
        if SCOPES & set(words[:1]) or ("template" in words[:1] and SCOPES & set(words) and ")" not in words):
            return "scope"
        if not self.tokens[brace].spaced:
            return "list"
        before = self.word(brace - 1)
        if before in BEFORE_BLOCK or before in ("{", "}", ";", ":") or "->" in words[-6:]:
            return "block"
        return "list"

    def in_block(self, index):
        opening = self.inside[index]
        return opening >= 0 and self.roles.get(opening) == "block"

    def block_around(self, index):
        """True where the token stands in the body of a function, at any depth."""
        opening = self.inside[index]
        while opening >= 0:
            if self.roles.get(opening) == "block":
                return True
            opening = self.inside[opening]
        return False

    def statements(self):
        """The statements of function bodies that end with a semicolon, as pairs of their first and last token."""
        first = None
        index = 0
        while index < len(self.tokens):
            if not self.in_block(index):
                first, index = None, index + 1
                continue
            first = index if first is None else first
            word = self.word(index)
            if word == ";":
                yield first, index
                first = None
            elif word in ("else", "do", "try"):
                first = None
            elif word == "{" and self.roles.get(index) == "block":
                first = None
            elif word == "}":
                first = None
            elif word == ":" and self.word(first) in ("case", "default"):
                first = None
            elif self.opens(index):
                head = self.word(index - 1)
                closing = self.partner[index]
                if word == "(" and head in ("if", "for", "while", "switch", "catch"):
                    first = None
                elif word == "{":  # the values of an expression, or the body of a lambda inside it
                    pass
                index = closing
            index += 1
