#!/usr/bin/env python3
"""Counts the instructions of the library's hot paths under callgrind and compares them with bench/budgets.txt.

Started by scripts/counts, which builds the program first.
"""

import argparse
import re
import subprocess
import sys
import tempfile
from pathlib import Path

BUDGETS = Path(__file__).parent / "budgets.txt"
# Tolerated growth: changes of the standard library or of code layout are not regressions.
MARGIN = 1.05
HEADER = """\
# Instructions per item (term, operation, variable) of the library's hot paths: {compiler}, Release.
# Written by `scripts/counts --rewrite`; a count more than 5 % above its budget fails.
"""


def count(program):
    """The instructions per item of each benchmark, in the program's order."""
    with tempfile.TemporaryDirectory() as folder:
        command = ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--callgrind-out-file=" + folder + "/counts",
                   str(program)]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            sys.exit(f"error: {' '.join(command)} ended with {done.returncode}\n{done.stdout}")
        counts = {}
        for file in sorted(Path(folder).glob("counts.*"), key=lambda part: int(part.suffix[1:])):
            text = file.read_text(encoding="utf-8")
            trigger = re.search(r"^desc: Trigger: Client Request: (\w+)/(\d+)$", text, re.MULTILINE)
            if trigger:
                total = int(re.search(r"^totals: (\d+)", text, re.MULTILINE).group(1))
                counts[trigger.group(1)] = total / int(trigger.group(2))
        return counts


def read_budgets():
    lines = BUDGETS.read_text(encoding="utf-8").splitlines()
    return {name: float(budget) for name, budget in (line.split() for line in lines if not line.startswith("#"))}


def check(counts, compiler):
    budgets = read_budgets()
    held = f": {compiler}, " in BUDGETS.read_text(encoding="utf-8").splitlines()[0]
    status = 0
    for benchmark in sorted(counts.keys() | budgets.keys(), key=list(counts | budgets).index):
        used, budget = counts.get(benchmark), budgets.get(benchmark)
        if used is None or budget is None:
            print(f"{benchmark:18s} {'has no budget' if used else 'is no longer counted'}: scripts/counts --rewrite")
            status = 1
            continue
        note = ""
        if used > budget * MARGIN:
            note = f"{100 * (used / budget - 1):.0f} % over its budget"
            status = 1
        elif used * MARGIN < budget:
            note = f"{100 * (1 - used / budget):.0f} % below: scripts/counts --rewrite lowers the budget"
        print(f"{benchmark:18s} {used:9.2f} {budget:9.2f}  {note}".rstrip())
    if status and not held:
        print(f"The budgets are another compiler's; this is {compiler}: nothing is concluded.")
        return 0
    return status


def main():
    parser = argparse.ArgumentParser(prog="scripts/counts", description=__doc__.splitlines()[0])
    parser.add_argument("--rewrite", action="store_true", help="writes the counts down as the new budgets")
    parser.add_argument("--program", type=Path, required=True, help=argparse.SUPPRESS)
    parser.add_argument("--compiler", default="", help=argparse.SUPPRESS)
    options = parser.parse_args()

    counts = count(options.program)
    if not counts:
        sys.exit("error: callgrind counted nothing")
    if options.rewrite:
        lines = [f"{benchmark} {used:.2f}\n" for benchmark, used in counts.items()]
        BUDGETS.write_text(HEADER.format(compiler=options.compiler) + "".join(lines), encoding="utf-8")
        return 0
    return check(counts, options.compiler)


if __name__ == "__main__":
    sys.exit(main())
