"""The list of mutants that no test notices, with the reason for each.

    FILE
      - the line as it is
      + the line as the mutant has it
      equivalent: why nothing can notice it, or
      gap: what would have to be tested
"""

import pathlib
import sys

EQUIVALENT = "equivalent:"
VERDICTS = (EQUIVALENT, "gap:")


def key_of(mutant):
    return mutant.source.name, mutant.before, mutant.after


def read_survivors(path):
    """The reasons by (file, line before, line after)."""
    reasons, name, before, after = {}, "", "", ""
    for number, line in enumerate(pathlib.Path(path).read_text().splitlines(), 1):
        text = line.strip()
        if not text or text.startswith("#"):
            continue
        if not line[0].isspace():
            name = text
        elif text.startswith("- "):
            before = text[2:]
        elif text.startswith("+ "):
            after = text[2:]
        elif text.startswith(VERDICTS):
            reasons[name, before, after] = text
        elif (name, before, after) in reasons:
            reasons[name, before, after] += " " + text
        else:
            sys.exit(f"{path}:{number}: neither a change nor a reason")
    return reasons


def entry(mutant):
    """A mutant as the list holds it, but for the reason."""
    name, before, after = key_of(mutant)
    return f"{name}\n  - {before}\n  + {after}"
