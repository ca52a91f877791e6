#!/usr/bin/env python3
"""Runs the benchmark programs, each race in a process of its own, and prints the figures.

Started by scripts/bench, which builds the programs first.
"""

import argparse
import json
import re
import statistics
import subprocess
import sys
from pathlib import Path

import report

# A benchmark: its name in the programs, its title, what is counted, and the goals: for the time of the library divided by
# that of a contender, for its nanoseconds ("ns") and for its bytes ("bytes") an item.
BENCHMARKS = [
    ("buildCold", "`e += c * x`, new memory", "term", {"hand": 1.25, "bytes": 24.5}),
    ("buildWarm", "`e += c * x`, recycled memory", "term", {"hand": 1.25}),
    ("clear", "clearing a sum", "term", {"ns": 0.5}),
    ("rowsCold", "rows of ten, new memory", "term", {"hand": 1.25, "bytes": 35.0}),
    ("rowsWarm", "rows of ten, recycled memory", "term", {"hand": 1.25}),
    ("rowsWalk", "rows of ten, walking", "term", {}),
    ("rowsCopy", "rows of ten, copying", "term", {"hand": 1.25}),
    ("rowsClear", "rows of ten, clearing", "term", {"ns": 0.5}),
    ("rowsEnd", "rows of ten, ending", "term", {}),
    ("oneStatement", "`2 * x + 3 * y + …`, ten terms", "term", {"own": 1.25}),
    ("chained", "`e = e + c * x` on a temporary", "term", {"own": 1.25}),
    ("scalProd", "`TavScalProd`", "term", {"own": 1.25}),
    ("sumOfArray", "`TavSum`", "term", {"own": 1.25}),
    ("copySum", "copying a shared sum", "term", {"hand": 1.25}),
    ("buildAndMerge", "building and normalising, random variables", "term", {"hand": 1.25}),
    ("mergeFresh", "`normalize`, new cells", "term", {"hand": 1.1}),
    ("mergeRecycled", "`normalize`, recycled cells", "term", {"hand": 1.1}),
    ("mergeScattered", "`normalize`, scattered cells", "term", {"hand": 1.1}),
    ("mergeByFields", "`normalize` without mark arrays", "term", {"hand": 1.5}),
    ("setCoefs", "`setLinearCoefs`", "term", {"hand": 1.3}),
    ("remove", "`remove` of every second variable", "term", {"hand": 1.3}),
    ("evalSum", "`eval` of a sum", "term", {"hand": 1.25}),
    ("chainCold", "Rosenbrock chain, building, new memory", "operation", {"hand": 1.25}),
    ("chainWarm", "Rosenbrock chain, building, recycled memory", "operation", {"hand": 1.5}),
    ("chainEval", "Rosenbrock chain, `eval`", "operation", {"hand": 1.1}),
    ("chainEnd", "Rosenbrock chain, ending", "operation", {"hand": 1.5}),
    ("cloneRows", "cloning rows of ten", "term", {"hand": 1.3}),
    ("variablesArray", "variables, array constructor", "variable", {"hand": 1.25, "bytes": 72.0}),
    ("variablesOneByOne", "variables, one by one", "variable", {"hand": 1.25}),
    ("variablesNamed", "variables with names", "variable", {"hand": 1.25}),
    ("print", "printing, default formatting", "term", {"hand": 1.0, "to_chars": 1.6}),
    ("printFixed", "printing, fixed digits", "term", {"hand": 1.0}),
    ("extract", "`tavsolve`: extraction", "non-zero", {"arrays": 1.5}),
]
# The same for the evaluator, whose figures are in docs/evaluator.md.
EVALUATOR = [
    ("powerFlow", "power flow, all five", "row", 
     {"hand": 1.3, "hand 118": 1.7, "hand_avx2": 1.3, "hand_avx2 118": 1.7, "hand_sse2": 2.0, "hand_sse2 118": None,
      "ASL": 1 / 60, "ADOL-C": 1 / 8}),
    ("powerFlowFused", "power flow, all five by one call", "row", {}),
    ("powerFlowValues", "power flow, values", "row", {"eval": 1.0}),
    ("powerFlowJacobian", "power flow, Jacobian", "non-zero", {"ns": 1.5}),
    ("powerFlowHessian", "power flow, Hessian", "non-zero", {"ns": 4}),
    ("powerFlowCompile", "power flow, compiling", "row", {"ns": 2000, "bytes": 350, "bytes from": 1_000}),
    ("beam", "clnlbeam, all five", "row", {"hand": 1.0}),
    ("beamFused", "clnlbeam, all five by one call", "row", {}),
    ("beamValues", "clnlbeam, values", "row", {"eval": 1.0}),
    ("beamJacobian", "clnlbeam, Jacobian", "non-zero", {"ns": 1.5}),
    ("beamHessian", "clnlbeam, Hessian", "non-zero", {"ns": 4}),
    ("beamCompile", "clnlbeam, compiling", "row", {"ns": 2000, "bytes": 350, "bytes from": 1_000}),
    ("rosenbrock", "Rosenbrock chain, all five", "column", {"hand": 2.0}),
    ("rosenbrockFused", "Rosenbrock chain, all five by one call", "column", {}),
    ("rosenbrockValues", "Rosenbrock chain, values", "column", {"eval": 1.0, "ADOL-C": 0.5}),
    ("rosenbrockHessian", "Rosenbrock chain, Hessian", "non-zero", {"ns": 4}),
    ("rosenbrockCompile", "Rosenbrock chain, compiling", "column", {"ns": 2000, "bytes": 350, "bytes from": 1_000}),
    ("random", "300 random rows, all five", "row", {"hand": 10.0}),
    ("randomValues", "300 random rows, values", "row", {"eval": 1.0}),
    ("randomCompile", "300 random rows, compiling", "row", {"ns": 2000, "bytes": 350, "bytes from": 100}),
]
EVALUATOR_TWINS = {"hand": "by hand", "hand_avx2": "by hand (AVX2 at most)", "hand_sse2": "by hand (SSE2 only)",
                   "eval": "`eval`"}
# Contenders that do the same work by hand; all others are peers, which are raced at one size.
TWINS = {"hand": "by hand", "own": "own `+=`", "to_chars": "`std::to_chars`", "arrays": "from arrays"}
PEER_SIZE = 100_000
LARGE = 10_000_000


class Race:
    """The figures of one benchmark, contender and size, gathered over the passes."""

    def __init__(self, program, name):
        self.program = program
        self.name = name
        self.benchmark, self.contender, size = name.split("/")[:3]
        self.size = int(size)
        self.failure = None
        self.counters = {}

    def run(self, seconds, pin):
        command = pin + [str(self.program), f"--seconds={seconds}", f"--benchmark_filter=^{self.name}$",
                         "--benchmark_format=json"]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode != 0:
            self.failure = f"ended with {done.returncode}: {done.stderr.strip()}"
            return
        figures = json.loads(done.stdout)["benchmarks"][0]
        if figures.get("error_occurred"):
            self.failure = figures["error_message"]
            return
        for key, value in figures.items():
            if key == "ratio" or key.startswith(("library_", "other_")):
                self.counters.setdefault(key, []).append(value)

    def __getattr__(self, counter):
        """The median of a counter; None when the race has none."""
        values = self.__dict__.get("counters", {}).get(counter)
        return statistics.median(values) if values else None

    def goal(self):
        goals = GOALS.get(self.benchmark, {})
        return goals.get(f"{self.contender} {self.size}", goals.get(self.contender))

    def misses(self):
        """What is worse than its goal, in words; empty when nothing is."""
        missed = []
        if self.goal() is not None and round(self.ratio, 2) > self.goal():
            missed.append("time")
        if self.contender == "hand":
            goals = GOALS.get(self.benchmark, {})
            if self.library_ns > goals.get("ns", self.library_ns):
                missed.append("nanoseconds")
            # At smaller sizes the environment's own memory distorts the figure.
            if "bytes" in goals and self.size >= goals.get("bytes from", PEER_SIZE) and round(self.library_bytes, 1) > goals["bytes"]:
                missed.append("bytes")
        return " ".join(missed)


GOALS = {name: goals for name, _, _, goals in BENCHMARKS + EVALUATOR}
ORDER = {name: position for position, (name, _, _, _) in enumerate(BENCHMARKS + EVALUATOR)}


def find_races(folder, pattern, large):
    races = []
    for program in sorted(folder.glob("tav_bench*")):
        if program.is_dir() or program.suffix:
            continue
        listed = subprocess.run([program, "--benchmark_list_tests"], stdout=subprocess.PIPE, text=True, check=True)
        races += [Race(program, name) for name in listed.stdout.split()]
    races = [race for race in races if re.search(pattern, race.name)]
    peer_sizes = {}
    for race in races:
        if race.contender not in TWINS | EVALUATOR_TWINS and race.size <= PEER_SIZE:
            key = race.benchmark, race.contender
            peer_sizes[key] = max(race.size, peer_sizes.get(key, 0))

    def wanted(race):
        if race.contender not in TWINS | EVALUATOR_TWINS:
            return race.size == peer_sizes.get((race.benchmark, race.contender))
        return large or race.size < LARGE or race.benchmark in ("buildCold", "buildWarm")

    races = [race for race in races if wanted(race)]
    return sorted(races, key=lambda race: (ORDER.get(race.benchmark, len(ORDER)), race.contender, race.size))


def run(races, passes, seconds, pin):
    for turn in range(passes):
        for position, race in enumerate(races):
            if sys.stderr.isatty():
                print(f"\r\033[Kpass {turn + 1} of {passes}, race {position + 1} of {len(races)}: {race.name}",
                      end="", file=sys.stderr, flush=True)
            if race.size < LARGE or turn == 0:  # their runs are long enough for one process
                race.run(seconds / passes, pin)
    if sys.stderr.isatty():
        print("\r\033[K", end="", file=sys.stderr)


def print_table(races):
    print(f"{'benchmark':18s} {'against':9s} {'size':>9s} {'library ns':>11s} {'other ns':>9s} {'ratio':>6s} {'goal':>5s} "
          f"{'bytes':>6s} {'other':>6s} {'MB/s':>5s} {'other':>5s}")
    for race in races:
        if race.ratio is None:
            print(f"{race.benchmark:18s} {race.contender:9s} {race.size:9d} failed: {race.failure}")
            continue

        def number(value, digits):
            return "" if value is None else f"{value:.{digits}f}"

        print(f"{race.benchmark:18s} {race.contender:9s} {race.size:9d} {race.library_ns:11.2f} {race.other_ns:9.2f} "
              f"{race.ratio:6.2f} {number(race.goal(), 2):>5s} {number(race.library_bytes, 1):>6s} "
              f"{number(race.other_bytes, 1):>6s} {number(race.library_MBs, 0):>5s} {number(race.other_MBs, 0):>5s}"
              f"{'  misses ' + race.misses() if race.misses() else ''}".rstrip())


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench", add_help=False)  # scripts/bench --help explains the options
    parser.add_argument("filter", nargs="?", default=".")
    parser.add_argument("--seconds", type=float, default=0.2)
    parser.add_argument("--passes", type=int, default=2)
    parser.add_argument("--large", action="store_true")
    parser.add_argument("--docs", action="store_true")
    parser.add_argument("--json", type=Path)
    parser.add_argument("--bin", type=Path, required=True)
    parser.add_argument("--pin", default="")
    parser.add_argument("--machine", default="")
    options = parser.parse_args()

    races = find_races(options.bin, options.filter.replace("$", "(/|$)"), options.large)
    run(races, options.passes, options.seconds, options.pin.split())
    print_table(races)
    if options.json:
        options.json.write_text(json.dumps({race.name: race.counters for race in races}, indent=1), encoding="utf-8")
    if options.docs:
        docs = Path(__file__).parent.parent / "docs"
        report.write_evaluator(docs / "evaluator.md", docs / "evaluator_speed.svg", EVALUATOR, EVALUATOR_TWINS, races,
                               options.machine)
        names = {name for name, _, _, _ in BENCHMARKS}
        races = [race for race in races if race.benchmark in names]
        if races:
            report.write_chart(docs / "speed.svg", BENCHMARKS, TWINS, races)
            report.write_text(docs / "speed.md", BENCHMARKS, TWINS, races, options.machine)
            report.write_readme(docs.parent / "README.md", BENCHMARKS, races, options.machine)
    return 1 if any(race.ratio is None for race in races) else 0


if __name__ == "__main__":
    sys.exit(main())
