"""The ways to break a source. Each yields mutants; which of them compile is for the compiler to say."""

import dataclasses
import re

from source import CLOSING

SWAPPED = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "/",
    "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "|",
    "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "^=": "|=",
}
STEPS = {"++": "--", "--": "++"}
WORDS = {"true": "false", "false": "true", "continue": "break"}

# Statements that begin so are no actions.
NO_ACTION = {
    "return", "using", "namespace", "const", "constexpr", "static", "auto", "extern", "typedef", "struct", "class",
    "enum", "template", "public", "private", "protected", "case", "default", "inline", "explicit", "if", "else",
    "for", "while", "do", "switch", "try", "catch", "static_assert", "friend", "union", "goto",
}
DECLARATION = re.compile(
    r"^(?:[A-Za-z_][\w:]*(?:<[^;=()]*>)?[\s*&]+)+[A-Za-z_]\w*\s*(?:[=;({\[]|$)|.*= (?:delete|default);$"
)
PARAMETER = re.compile(r"[\w>][*&]*\s+[*&]*[A-Za-z_]")


@dataclasses.dataclass(frozen=True)
class Mutant:
    """Replaces source.text[start:end]."""

    source: object
    kind: str
    start: int
    end: int
    replacement: str

    @property
    def line(self):
        return self.source.line_of(self.start)

    @property
    def text(self):
        return self.source.text[: self.start] + self.replacement + self.source.text[self.end :]

    @property
    def before(self):
        return self._region(self.source.text[self.start : self.end])

    @property
    def after(self):
        return self._region(self.replacement)

    def _region(self, middle):
        """The changed lines, in one line."""
        text = self.source.text
        begin = text.rfind("\n", 0, self.start) + 1
        end = text.find("\n", self.end)
        return " ".join((text[begin : self.start] + middle + text[self.end : end]).split())


def _replace(source, kind, token, replacement):
    return Mutant(source, kind, token.start, token.end, replacement)


def operators(source):
    """Comparisons turned round or moved by one, and/or, +/-, shifts, bits."""
    for token in source.tokens:
        if token.kind != "sign":
            continue
        if token.text in STEPS:
            yield _replace(source, "operator", token, STEPS[token.text])
        elif token.text in SWAPPED and source.spaced(token):
            yield _replace(source, "operator", token, SWAPPED[token.text])


def constants(source):
    """Numbers one off, in either direction, and truth values turned round. In tables only upwards."""
    for token in source.tokens:
        if token.text in WORDS:
            yield _replace(source, "constant", token, WORDS[token.text])
        if token.kind != "number":
            continue
        digits = re.match(r"0[xX][0-9a-fA-F']+|[\d']+", token.text).group()
        plain = digits.replace("'", "")
        form, base = "%d", 10
        if plain[:2] in ("0x", "0X"):
            form, base = "0x%x", 16
        elif plain[0] == "0" != plain:
            form, base = "0%o", 8
        value = int(plain, base)
        for changed in (value + 1, value - 1):
            if changed >= 0 and (changed > value or not source.is_table(token.start)):
                yield _replace(source, "constant", token, form % changed + token.text[len(digits) :])


def conditions(source):
    """Conditions of if, while and return turned round, and negations removed."""
    for index, token in enumerate(source.tokens):
        opening = index + 1
        if token.text in ("if", "while") and source.word(opening) == "(" and opening in source.partner:
            first, last = opening + 1, source.partner[opening] - 1
            inner = source.between(first, last)
            if ";" not in inner and not DECLARATION.match(inner.removeprefix("const ")):
                start, end = source.tokens[first].start, source.tokens[last].end
                yield Mutant(source, "condition", start, end, f"!({inner})")
        elif token.text == "!" and token.kind == "sign" and source.word(index + 1) != "=":
            yield _replace(source, "condition", token, "")
        elif token.text == "return":
            last = _end_of_statement(source, index) - 1
            inner = source.between(index + 1, last)
            if re.search(r" (?:[<>=!]=|[<>]|&&|\|\|) ", inner) and "?" not in inner and "{" not in inner:
                start, end = source.tokens[index + 1].start, source.tokens[last].end
                yield Mutant(source, "condition", start, end, f"!({inner})")


def choices(source):
    """The two results of ?: exchanged."""
    for index, token in enumerate(source.tokens):
        if token.text != "?" or token.kind != "sign":
            continue
        colon = _skip_to(source, index + 1, {":"})
        end = _skip_to(source, colon + 1, {";", ",", ")", "]", "}", "?"})
        if colon >= len(source.tokens) or end >= len(source.tokens) or source.word(end) == "?":
            continue
        first, second = source.between(index + 1, colon - 1), source.between(colon + 1, end - 1)
        if "?" not in first:
            start, stop = source.tokens[index + 1].start, source.tokens[end - 1].end
            yield Mutant(source, "choice", start, stop, f"{second} : {first}")


def arguments(source):
    """Two arguments of a call that stand side by side exchanged."""
    for index, token in enumerate(source.tokens):
        opening = index + 1
        if token.kind != "word" or source.word(opening) != "(" or opening not in source.partner:
            continue
        if token.text in NO_ACTION:
            continue
        given = _split(source, opening)
        for (a, b), (c, d) in zip(given, given[1:]):
            left, right = source.between(a, b), source.between(c, d)
            plain = (left + ", " + right).replace("sizeof ", "sizeof")
            if left != right and not PARAMETER.search(plain) and "[" not in left[:1]:
                start, end = source.tokens[a].start, source.tokens[d].end
                yield Mutant(source, "arguments", start, end, f"{right}, {left}")


def statements(source):
    """Actions dropped, and two actions that follow one another exchanged."""
    previous = None
    for first, last in _actions(source):
        start, end = source.tokens[first].start, source.tokens[last].end
        yield Mutant(source, "statement", start, end, ";")
        if previous is not None and previous[1] + 1 == first:
            before, after = source.between(*previous), source.between(first, last)
            gap = source.text[source.tokens[previous[1]].end : start]
            if before != after and not gap.strip() and source.word(first) not in ("break", "return"):
                yield Mutant(source, "order", source.tokens[previous[0]].start, end, after + gap + before)
        previous = (first, last)


MUTATORS = (operators, constants, conditions, choices, arguments, statements)


def mutants_of(source):
    """Every mutant of a source but those in static assertions, in the order of the text."""
    asserted = [
        (token.start, source.tokens[_end_of_statement(source, index)].end)
        for index, token in enumerate(source.tokens)
        if token.text == "static_assert"
    ]
    found = [mutant for mutator in MUTATORS for mutant in mutator(source)]
    return sorted(
        (m for m in found if not any(start <= m.start < end for start, end in asserted)),
        key=lambda m: (m.start, m.end, m.kind, m.replacement),
    )


def _skip_to(source, index, stops):
    """The first token from `index` on that is one of `stops`, outside of brackets that begin behind `index`."""
    while index < len(source.tokens) and source.word(index) not in stops:
        index = source.partner[index] + 1 if source.word(index) in CLOSING and index in source.partner else index + 1
    return index


def _end_of_statement(source, index):
    return min(_skip_to(source, index, {";", "}"}), len(source.tokens) - 1)


def _split(source, opening):
    """The arguments between brackets as (first, last) tokens."""
    closing = source.partner[opening]
    parts, first = [], opening + 1
    while first < closing:
        end = min(_skip_to(source, first, {","}), closing)
        if end > first:
            parts.append((first, end - 1))
        first = end + 1
    return parts


def _actions(source):
    """The statements that do something, as (first, last) tokens."""
    for index in range(1, len(source.tokens)):
        before = source.word(index - 1)
        body = before == ")" and source.word(source.partner.get(index - 1, 0) - 1) in ("if", "while", "for")
        if before not in ("{", "}", ";", "else") and not body:
            continue
        first = source.tokens[index]
        if first.kind not in ("word", "sign") or first.text in CLOSING or first.text in ("}", ")", ";"):
            continue
        if first.text in NO_ACTION and not (first.text == "return" and body):
            continue
        last = _end_of_statement(source, index)
        text = source.between(index, last)
        declares = first.text not in ("return", "delete", "throw") and DECLARATION.match(text)
        if source.word(last) == ";" and "{" not in text and not declares:
            yield index, last
