"""Breaks the library in many places, one at a time, and counts how often the tests notice. See scripts/mutate.sh."""

import argparse
import collections
import pathlib
import sys
import time

from build import Build
from choice import ROOMS, Draw, quotas
from survivors import EQUIVALENT, entry, key_of, read_survivors

HERE = pathlib.Path(__file__).resolve().parent
LEAST_CAUGHT = 95.0


class Tally:
    """One room's counts."""

    def __init__(self):
        self.mutants = 0
        self.caught = 0
        self.equivalent = 0
        self.invalid = 0
        self.survivors = []


def try_mutant(build, mutant, tally, log):
    """Whether it counts: it compiled, and not to the same object."""
    started = time.monotonic()
    changed = build.compile(mutant)
    if changed is None:
        tally.invalid += 1
        return False
    if not changed:
        tally.equivalent += 1
        return False
    failure = build.run_programs(mutant.source.name, changed)
    if failure == "":
        tally.invalid += 1
        return False
    if failure is None and build.is_without_effect(mutant):
        tally.equivalent += 1
        return False
    tally.mutants += 1
    if failure is None:
        tally.survivors.append(mutant)
    else:
        tally.caught += 1
    result = failure or "SURVIVED"
    place = f"{mutant.source.name}:{mutant.line + 1}, {mutant.kind}, {time.monotonic() - started:.1f} s"
    text = f"{entry(mutant)}\n  {place}: {result}\n"
    print(text, file=log, flush=True)
    if failure is None:
        print(text, flush=True)
    return True


def break_room(build, draw, count, log):
    tally = Tally()
    for mutant in draw:
        if tally.mutants == count:
            break
        try_mutant(build, mutant, tally, log)
    return tally


def print_table(tallies, reasons):
    """The counts of each room and their sum. The second percentage leaves out what is listed as equivalent."""
    total = Tally()
    print(
        f"{'room':10}{'mutants':>9}{'caught':>8}{'%':>7}{'survivors':>11}{'equivalent':>12}{'%':>7}"
        "   same object, not compiling"
    )
    for room, tally in tallies.items():
        print_row(room, tally, reasons)
        for field in ("mutants", "caught", "equivalent", "invalid", "survivors"):
            setattr(total, field, getattr(total, field) + getattr(tally, field))
    print_row("all", total, reasons)
    return total


def print_row(name, tally, reasons):
    listed = listed_equivalents(tally, reasons)
    print(
        f"{name:10}{tally.mutants:9}{tally.caught:8}{percent(tally.caught, tally.mutants):7.1f}"
        f"{len(tally.survivors):11}{listed:12}{percent(tally.caught, tally.mutants - listed):7.1f}"
        f"   {tally.equivalent}, {tally.invalid}"
    )


def percent(part, whole):
    return 100.0 * part / whole if whole else 100.0


def listed_equivalents(tally, reasons):
    return sum(reasons.get(key_of(mutant), "").startswith(EQUIVALENT) for mutant in tally.survivors)


def judge(total, reasons, whole):
    """What is wrong; how many were caught is judged over all rooms alone."""
    failures = [f"not in survivors.txt:\n{entry(m)}" for m in total.survivors if key_of(m) not in reasons]
    if whole and percent(total.caught, total.mutants) < LEAST_CAUGHT:
        failures.append(f"less than {LEAST_CAUGHT} % were caught")
    return failures


def parse_arguments():
    parser = argparse.ArgumentParser(prog="mutate.sh")
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--room", choices=ROOMS)
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/mutation"))
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    reasons = read_survivors(HERE / "survivors.txt")
    build = Build(HERE.parent.parent, arguments.build)
    build.measure()
    draws = {room: Draw(build.tree, room, arguments.seed) for room in ROOMS}
    shares = quotas(draws, arguments.count)
    rooms = [arguments.room] if arguments.room else ROOMS

    started = time.monotonic()
    tallies = collections.OrderedDict()
    with open(arguments.build / "log.txt", "w", encoding="utf-8") as log:
        for room in rooms:
            tallies[room] = break_room(build, draws[room], shares[room], log)
    total = print_table(tallies, reasons)
    print(f"{(time.monotonic() - started) / max(1, total.mutants):.1f} s for each mutant")
    for m in total.survivors:
        if key_of(m) in reasons:
            print(f"known survivor: {m.source.name}:{m.line + 1}: {reasons[key_of(m)]}")
    failures = judge(total, reasons, arguments.room is None)
    for failure in failures:
        print(f"mutate: FAILED: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
