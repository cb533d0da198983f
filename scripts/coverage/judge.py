"""judge.py COVERAGE EXPLAINED: judges what gcovr counted (its JSON form) of the library.

Prints the coverage of each room, every line that never ran, and those with a branch that was never taken. Fails below
the limits, and unless EXPLAINED explains exactly the lines that never ran. It holds, for each of them, "FILE: TEXT" with
the line's text without blanks around it, and the reason below, indented. "#" begins a comment.
"""

import collections
import json
import pathlib
import sys

LEAST_LINES = 99.0
LEAST_BRANCHES = 95.0


class Counts:
    """How many there are, and how many of them ran."""

    def __init__(self):
        self.all = 0
        self.ran = 0

    def add(self, ran):
        self.all += 1
        self.ran += ran

    def percent(self):
        return 100.0 * self.ran / self.all if self.all else 100.0

    def __str__(self):
        return f"{self.ran:5} of {self.all:5} {self.percent():6.2f} %"


def read_counts(coverage):
    """Lines and branches by room, and as (file, number, text) the lines that never ran, and those that ran in part."""
    lines = collections.defaultdict(Counts)
    branches = collections.defaultdict(Counts)
    missed, partial = [], []
    for entry in json.loads(pathlib.Path(coverage).read_text())["files"]:
        name = entry["file"]
        room = name.split("/")[0]
        texts = pathlib.Path(name).read_text().splitlines()
        for line in entry["lines"]:
            if line["gcovr/noncode"]:
                continue
            place = name, line["line_number"], texts[line["line_number"] - 1].strip()
            lines[room].add(line["count"] > 0)
            for branch in line["branches"]:
                branches[room].add(branch["count"] > 0)
            if line["count"] == 0:
                missed.append(place)
            elif any(branch["count"] == 0 for branch in line["branches"]):
                partial.append(place)
    return lines, branches, missed, partial


def read_explained(path):
    """The explained lines as (file, text), each as often as it is listed."""
    explained = collections.Counter()
    unexplained = None
    for line in pathlib.Path(path).read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        if line[0].isspace():
            unexplained = None
            continue
        if unexplained:
            sys.exit(f"{path}: no reason for {unexplained}")
        name, _, text = line.partition(": ")
        explained[name, text.strip()] += 1
        unexplained = line
    if unexplained:
        sys.exit(f"{path}: no reason for {unexplained}")
    return explained


def total(rooms):
    result = Counts()
    for counts in rooms.values():
        result.all += counts.all
        result.ran += counts.ran
    return result


def main(coverage, explained_list):
    lines, branches, missed, partial = read_counts(coverage)
    explained = read_explained(explained_list)
    failures = []

    print(f"{'':10}{'lines':>23}{'branches':>24}")
    for room in sorted(lines):
        print(f"{room:10}{lines[room]!s:>23}{branches[room]!s:>24}")
    all_lines, all_branches = total(lines), total(branches)
    print(f"{'all':10}{all_lines!s:>23}{all_branches!s:>24}\n")
    if all_lines.percent() < LEAST_LINES:
        failures.append(f"less than {LEAST_LINES} % of the lines")
    if all_branches.percent() < LEAST_BRANCHES:
        failures.append(f"less than {LEAST_BRANCHES} % of the branches")

    for name, number, text in partial:
        print(f"never taken: a branch of {name}:{number}: {text}")
    unexplained = 0
    for name, number, text in missed:
        known = explained[name, text] > 0
        explained[name, text] -= known
        unexplained += not known
        print(f"never ran{'' if known else ', not explained'}: {name}:{number}: {text}")
    if unexplained:
        failures.append(f"{unexplained} lines never ran and are not explained")
    for (name, text), count in explained.items():
        if count > 0:
            failures.append(f"explained, but it runs or is gone: {name}: {text}")

    for failure in failures:
        print(f"coverage: FAILED: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print("usage: judge.py COVERAGE EXPLAINED", file=sys.stderr)
        sys.exit(2)
    sys.exit(main(sys.argv[1], sys.argv[2]))
