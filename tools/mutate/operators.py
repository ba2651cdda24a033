"""The faults that the tool builds in: each operator lists the places of a source where its kind of fault fits."""

import dataclasses
import re

from cpp_tokens import Source

KINDS = {
    "number": "a number is one more, or 0 and 1 change places",
    "name": "a constant is replaced by the next one of its enumeration; true and false change places",
    "text": "a letter of a text is another one",
    "rows": "two neighbours of a list, or the keys of two rows, change places, or one row is left out",
    "bound": "a limit is one off: < and <=, > and >=",
    "comparison": "a comparison says the opposite",
    "condition": "a condition says the opposite, or && and || change places",
    "arithmetic": "an operator is its opposite: + and -, * and /, & and |, << and >>, ++ and --",
    "arguments": "two neighbouring arguments change places",
    "statement": "a statement is left out",
    "guard": "an early return, break or continue is left out",
    "stream": "a line goes to the other stream",
    "lock": "a lock is not taken",
    "order": "a memory order is weaker",
}
# Only a race shows these faults, and only sometimes: tests by example cannot be asked to find them.
RACES = ("lock", "order")

BOUNDS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPPOSITES = {"==": "!=", "!=": "==", "<": ">=", ">": "<=", "<=": ">", ">=": "<"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "&": "|", "|": "&", "^": "|", "<<": ">>",
              ">>": "<<", "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "++": "--", "--": "++", "*=": "/=",
              "/=": "*=", "<<=": ">>=", ">>=": "<<="}
STREAMS = {"PrintOut": "PrintErr", "PrintErr": "PrintOut", "stdout": "stderr", "stderr": "stdout", "cout": "cerr",
           "cerr": "cout", "STDOUT_FILENO": "STDERR_FILENO", "STDERR_FILENO": "STDOUT_FILENO"}
ORDERS = ("memory_order_acquire", "memory_order_release", "memory_order_acq_rel", "memory_order_seq_cst")
LOCK = re.compile(r"\b(lock_guard|scoped_lock|unique_lock|shared_lock|\w*Guard)\b")
NOT_A_STATEMENT = {"return", "break", "continue", "using", "static_assert", "const", "constexpr", "static", "auto",
                   "throw", "typedef", "goto", "struct", "enum", "extern", "co_return", "default", "case", "template"}
DECLARATION = re.compile(r"(?:[\w:]+(?:<[^;=()]*>)?(?:::\w+)*)(?:\s+|\s*[*&]+\s*)[A-Za-z_]\w*\s*(?:[;={(\[]|$)")
# The first value of a row that the code finds by that value: the order of such rows means nothing.
ROW_KEY = re.compile(r"[A-Z][A-Z0-9_]*|&\w+")
KEYWORDS = {"if", "for", "while", "switch", "catch", "sizeof", "decltype", "static_assert", "alignas", "alignof",
            "noexcept", "operator", "return", "static_cast", "defined"}


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One fault: the text of the file from `start` to `end` is replaced."""
    file: str
    kind: str
    start: int
    end: int
    replacement: str
    line: int
    before: str  # the line, for people
    column: int
    copy: int  # the number of earlier lines with the same text

    @property
    def key(self):
        """Names the fault in a results file. Lines above it may come and go."""
        return f"{self.file}|{self.before}|{self.copy}|{self.column}|{self.kind}|{self.replacement}"


def one_line(text, most=110):
    text = " ".join(text.split())
    return text if len(text) <= most else text[:most - 3] + "..."


def read_enumerations(texts):
    """Each enumerator with the next one of its enumeration; the last is followed by the first."""
    following = {}
    for text in texts:
        source = Source(text)
        for brace, role in source.roles.items():
            if role == "enum":
                names = [source.word(first) for first, _ in source.elements(brace)]
                if len(names) > 1:
                    following.update(zip(names, names[1:] + names[:1]))
    return following


def other_number(text):
    body = re.sub(r"(?:[uUlLzZ]+|(?<![xX\da-fA-F])[fF])$", "", text) if not text.lower().startswith("0x") else \
        re.sub(r"[uUlLzZ]+$", "", text)
    suffix = text[len(body):]
    if not re.fullmatch(r"(0[xX][\da-fA-F']+|0[bB][01']+|[\d']+|[\d']*\.[\d']*(?:[eE][+-]?\d+)?)", body):
        return None  # a literal with a unit of its own, such as 10ms, is split by the caller
    plain = body.replace("'", "")
    if "." in plain:
        return ("1.5" if float(plain) == 0 else repr(float(plain) * 2)) + suffix
    value = int(plain, 0) if not re.fullmatch(r"0\d+", plain) else int(plain, 8)
    if value in (0, 1):
        return str(1 - value) + suffix
    if re.fullmatch(r"0\d+", plain):
        return "0" + oct(value ^ 1)[2:] + suffix
    return (hex(value ^ 1) if plain[:2].lower() == "0x" else str(value + 1)) + suffix


def other_text(text):
    opening = text.index('"') + 1
    letters = [match.start(1) for match in re.finditer(r"\\(?:x[\da-fA-F]+|.)|%[-\d.]*\w+|([A-Za-z])", text[opening:-1])
               if match.group(1)]
    if not letters:
        return text[:-1] + '~"'
    place = opening + letters[len(letters) // 2]
    letter = text[place]
    changed = {"z": "a", "Z": "A"}.get(letter, chr(ord(letter) + 1))
    return text[:place] + changed + text[place + 1:]


class Operators:
    def __init__(self, file, text, following):
        self.file, self.source, self.following = file, Source(text), following
        self.found = []

    def all(self):
        for index, token in enumerate(self.source.tokens):
            self.tokens(index, token)
            if self.source.opens(index):
                self.brackets(index, token)
        for first, last in self.source.statements():
            self.statement(first, last)
        return self.numbered()

    def add(self, kind, first, last, replacement):
        start, end = self.source.tokens[first].start, self.source.tokens[last].end
        if self.source.text[start:end] != replacement:
            self.found.append((kind, start, end, replacement))

    def numbered(self):
        """The faults as records; static_assert, #include and the like have none."""
        text, seen, copies = self.source.text, {}, {}
        for number, begin in enumerate(self.source.lines, 1):
            line = self.source.line_text(begin) if begin < len(text) else ""
            copies[number] = seen.get(line, 0)
            seen[line] = copies[number] + 1
        result, known = [], set()
        for kind, start, end, replacement in self.found:
            line = self.source.line(start)
            before = self.source.line_text(start)
            if (start, end, replacement) in known or re.match(r"(static_assert|using|namespace|friend|template)\b", before):
                continue
            known.add((start, end, replacement))
            result.append(Mutant(self.file, kind, start, end, replacement, line, before,
                                 start - self.source.lines[line - 1], copies[line]))
        return result

    def tokens(self, index, token):
        before = self.source.word(index - 1)
        if token.kind == "number":
            self.number(index, token)
        elif token.kind == "string" and "R\"" not in token.text and before != "extern":
            self.add("text", index, index, other_text(token.text))
        elif token.kind == "word":
            self.word(index, token)
        elif token.kind == "sign":
            self.sign(index, token)

    def number(self, index, token):
        match = re.fullmatch(r"(.*?\d)(ms|us|ns|s|min|h)", token.text)
        other = other_number(match.group(1)) if match else other_number(token.text)
        if other is not None:
            self.add("number", index, index, other + (match.group(2) if match else ""))

    def word(self, index, token):
        enclosing = self.source.inside[index]
        if token.text in ("true", "false"):
            self.add("name", index, index, "false" if token.text == "true" else "true")
        elif token.text in self.following and self.source.roles.get(enclosing) != "enum":
            self.add("name", index, index, self.following[token.text])
        elif token.text in STREAMS and (self.source.block_around(index)):
            self.add("stream", index, index, STREAMS[token.text])
        elif token.text in ORDERS:
            self.add("order", index, index, "memory_order_relaxed")

    def sign(self, index, token):
        if not self.source.block_around(index) and token.text not in ("*", "+", "-", "/", "<<", "|"):
            return
        after = self.source.tokens[index + 1] if index + 1 < len(self.source.tokens) else None
        binary = token.spaced and after is not None and after.spaced
        if token.text in ("++", "--"):
            self.add("arithmetic", index, index, ARITHMETIC[token.text])
        elif token.text == "!" and token.spaced | (self.source.word(index - 1) == "("):
            self.add("condition", index, index, "")
        elif binary and token.text in ("&&", "||"):
            self.add("condition", index, index, "||" if token.text == "&&" else "&&")
        elif binary:
            if token.text in BOUNDS:
                self.add("bound", index, index, BOUNDS[token.text])
            if token.text in OPPOSITES:
                self.add("comparison", index, index, OPPOSITES[token.text])
            if token.text in ARITHMETIC and self.source.word(index - 1) != "operator":
                self.add("arithmetic", index, index, ARITHMETIC[token.text])

    def brackets(self, index, token):
        role, before = self.source.roles.get(index), self.source.word(index - 1)
        if token.text == "(" and before in ("if", "while"):
            closing = self.source.partner[index]
            inner = self.source.elements(index)
            if len(inner) == 1 and ";" not in self.source.slice(index, closing):
                self.add("condition", index, closing, f"(!({self.source.slice(*inner[0])}))")
        elif token.text == "(" and self.source.block_around(index) and self.is_call(index):
            self.exchange("arguments", index)
        elif role == "list":
            self.exchange("rows", index)
            elements = self.source.elements(index)
            for (first, last), (following, _) in zip(elements, elements[1:]):
                if self.source.word(first) == "{":  # a row of a table, with the comma behind it
                    start, end = self.source.tokens[first].start, self.source.tokens[following].start
                    self.found.append(("rows", start, end, ""))

    def is_call(self, index):
        before = self.source.tokens[index - 1] if index else None
        if before is None or before.text in KEYWORDS or self.source.tokens[index].spaced:
            return False
        return before.kind == "word" or before.text == ">"

    def shape(self, first, last):
        """What kind of value it is: values of two kinds hardly ever have one type, so that exchanging them is in vain."""
        token = self.source.tokens[first]
        if token.kind != "word":
            return token.kind + (token.text if token.kind == "sign" else "")
        if token.text in ("data", "true", "false", "nullptr"):
            return token.text
        return "constant" if token.text.isupper() and first == last else "value"

    def exchange(self, kind, opening):
        elements = self.source.elements(opening)
        for (first, last), (other, end) in zip(elements, elements[1:]):
            if self.shape(first, last) != self.shape(other, end):
                continue
            if keys := self.row_keys(first, other):
                first, last, other, end = keys
            one, two = self.source.slice(first, last), self.source.slice(other, end)
            if one.startswith(".") and two.startswith("."):  # designated: the values change places
                name1, _, one = one.partition(" = ")
                name2, _, two = two.partition(" = ")
                if one and two:
                    between = self.source.text[self.source.tokens[last].end:self.source.tokens[other].start]
                    self.add(kind, first, end, f"{name1} = {two}{between}{name2} = {one}")
            elif one != two:
                between = self.source.text[self.source.tokens[last].end:self.source.tokens[other].start]
                self.add(kind, first, end, two + between + one)

    def row_keys(self, row, other):
        """The first and last tokens of the two rows' keys; None where the rows are not found by a key."""
        if self.source.word(row) != "{" or self.source.word(other) != "{":
            return None
        keys = [key for each in (row, other) for key in self.source.elements(each)[:1]]
        if len(keys) < 2 or not all(ROW_KEY.fullmatch(self.source.slice(*key)) for key in keys):
            return None
        return keys[0] + keys[1]

    def statement(self, first, last):
        text = self.source.slice(first, last)
        word = self.source.word(first)
        if LOCK.search(text.split("(")[0]) and first != last:
            self.add("lock", first, last, ";")
        elif word in ("break", "continue"):
            self.add("guard", first, last, ";")
        elif word == "return":
            if self.source.word(first - 1) == ")":  # after a condition
                self.add("guard", first, last, ";")
        elif (self.source.tokens[first].kind == "word" and word not in NOT_A_STATEMENT and first != last
              and not DECLARATION.match(text)) or word in ("*", "++", "--"):
            self.add("statement", first, last, ";")


def list_mutants(file, text, following):
    return Operators(file, text, following).all()
