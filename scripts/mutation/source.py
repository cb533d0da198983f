"""A C++ source as tokens, as far as finding places to break needs it."""

import bisect
import dataclasses
import pathlib
import re

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)
      |(?P<text>(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*"|(?:u8|[uUL])?'(?:[^'\\\n]|\\.)+')
      |(?P<number>(?:0[xX][0-9a-fA-F']+|\d[\d']*(?:\.\d*)?)[uUlLfFzZ]*)
      |(?P<word>[A-Za-z_]\w*)
      |(?P<sign>->\*?|<<=|>>=|<=>|\.\.\.|::|\+\+|--|<<|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE,
)

# A line of nothing but numbers: a table.
TABLE_LINE = re.compile(r"^[\s{]*(?:0x[0-9a-fA-F]{8}[,\s}]*)+;?$")

CLOSING = {"(": ")", "[": "]", "{": "}"}


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


class Source:
    """A file's text, its tokens without blanks, comments and directives, and its lines."""

    def __init__(self, root, name):
        self.name = name
        self.text = (pathlib.Path(root) / name).read_text()
        self.lines = self.text.split("\n")
        self.tokens = [
            Token(found.lastgroup, found.group(), found.start(), found.end())
            for found in TOKEN.finditer(self.text)
            if found.lastgroup != "skip"
        ]
        self._line_starts = [0]
        for line in self.lines:
            self._line_starts.append(self._line_starts[-1] + len(line) + 1)
        self.partner = self._match_brackets()

    def _match_brackets(self):
        """For each opening bracket's index the closing one's, and the other way round."""
        partner = {}
        stack = []
        for index, token in enumerate(self.tokens):
            if token.text in CLOSING and token.kind == "sign":
                stack.append(index)
            elif stack and token.kind == "sign" and token.text == CLOSING[self.tokens[stack[-1]].text]:
                partner[index] = stack.pop()
                partner[partner[index]] = index
        return partner

    def line_of(self, position):
        """The line number, counted from 0."""
        return bisect.bisect_right(self._line_starts, position) - 1

    def is_table(self, position):
        return bool(TABLE_LINE.match(self.lines[self.line_of(position)]))

    def word(self, index):
        return self.tokens[index].text if 0 <= index < len(self.tokens) else ""

    def spaced(self, token):
        """Whether blanks surround the token: so binary operators are laid out, and no template's bracket."""
        return self.text[token.start - 1 : token.start].isspace() and self.text[token.end : token.end + 1].isspace()

    def between(self, first, last):
        """The text from token `first` to token `last`, both included."""
        return self.text[self.tokens[first].start : self.tokens[last].end]
