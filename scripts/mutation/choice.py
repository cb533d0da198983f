"""Which places are broken: drawn by a seed, in proportion to the rooms' code."""

import collections
import hashlib
import pathlib

from mutators import mutants_of
from source import Source

ROOMS = ("platform", "protocol", "registry", "servers", "api")
# Lines of tables that may be drawn; the others are left out.
TABLE_LINES = 6


def _rank(*parts):
    return hashlib.sha256("|".join(map(str, parts)).encode()).hexdigest()


class Draw:
    """A room's mutants in the order in which they are tried: one of each line, then a second one, and so on.

    A line's place in the order depends on the seed, its file and its text, so that changes elsewhere hardly move it.
    """

    def __init__(self, root, room, seed):
        by_line, tables = collections.defaultdict(list), {}
        for path in sorted((pathlib.Path(root) / room).glob("*.[ch]*")):
            source = Source(root, f"{room}/{path.name}")
            seen = collections.Counter()
            for mutant in mutants_of(source):
                text = source.lines[mutant.line].strip()
                key = (source.name, mutant.line)
                if key not in by_line:
                    seen[text] += 1
                order = _rank(seed, source.name, text, seen[text])
                by_line[key].append((order, mutant))
                if source.is_table(mutant.start):
                    tables[key] = order
        for key in sorted(tables, key=tables.get)[TABLE_LINES:]:
            del by_line[key]
        self.size = len(by_line)
        self._order = self._shuffle(by_line, seed)

    @staticmethod
    def _shuffle(by_line, seed):
        """Of each line a kind is drawn first and then a mutant, so that no kind crowds out the others."""
        ranked = []
        for candidates in by_line.values():
            kinds = collections.defaultdict(list)
            for order, mutant in candidates:
                kinds[mutant.kind].append((_rank(order, mutant.before, mutant.after), order, mutant))
            turns = [sorted(group, key=lambda item: item[0]) for group in kinds.values()]
            turns.sort(key=lambda group: group[0][0])
            turn = 0
            for depth in range(max(map(len, turns))):
                for group in turns:
                    if depth < len(group):
                        ranked.append(((turn, group[depth][1], seed), group[depth][2]))
                        turn += 1
        return [mutant for _, mutant in sorted(ranked, key=lambda item: item[0])]

    def __iter__(self):
        return iter(self._order)


def quotas(draws, count):
    """How many mutants each room gets of `count`, in proportion to its lines; at least one."""
    total = sum(draw.size for draw in draws.values())
    exact = {room: count * draw.size / total for room, draw in draws.items()}
    result = {room: max(1, int(share)) for room, share in exact.items()}
    for room in sorted(exact, key=lambda name: exact[name] - int(exact[name]), reverse=True):
        if sum(result.values()) < count:
            result[room] += 1
    return result
