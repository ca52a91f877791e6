#!/usr/bin/env python3
"""Solves every model of a folder with tavsolve and with other solver programs, in turns, and prints status, objective and
processor time of each. Started by scripts/bench --models, which builds the programs first.

Other programs: cbc for MPS and LP files, glpsol where it is installed; .nl files without integers are solved by Ipopt on
both sides, driven by the evaluator and by ASL. A model counts for a sum of times when both sides have answered and agree.
"""

import argparse
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SUFFIXES = (".mps", ".lp", ".nl")


class Run:
    """One run of a program: its output, exit code, processor time and elapsed time."""

    def __init__(self, command, limit):
        start = time.monotonic()
        with tempfile.TemporaryFile() as out:
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT)
            self.killed = False
            while True:
                pid, status, usage = os.wait4(process.pid, os.WNOHANG)
                if pid:
                    break
                if time.monotonic() - start > limit + 20:
                    process.kill()
                    self.killed = True
                time.sleep(0.001)
            process.returncode = os.waitstatus_to_exitcode(status)
            out.seek(0)
            self.text = out.read().decode(errors="replace")
        self.elapsed = time.monotonic() - start
        self.seconds = usage.ru_utime + usage.ru_stime
        self.code = process.returncode


class Answer:
    """What a program reports for a model: a status, an objective where there is one, and its times."""

    def __init__(self, run, status, objective=None, iterations=None, evaluation=None):
        self.run, self.status, self.objective = run, status, objective
        self.iterations, self.evaluation = iterations, evaluation


def number(pattern, text):
    found = re.findall(pattern, text, re.MULTILINE)
    return float(found[-1]) if found else None


def tavsolve(program, model, limit):
    engine = ["--engine", "ipopt"] if ".nl" in model else []  # the solver that the .nl files' peer drives
    run = Run([program, "--quiet", "--time", str(limit), *engine, model], limit)
    status = re.search(r"^status +(locally optimal|locally infeasible|optimal|infeasible|unbounded|.*)", run.text,
                       re.MULTILINE)
    status = status.group(1).removeprefix("locally ") if status else f"exit {run.code}"
    solved = status == "optimal"
    return Answer(run, status, number(r"^objective +(\S+)", run.text) if solved else None,
                  number(r"^effort +(\d+) iterations", run.text), number(r"([0-9.e-]+) s of it in functions", run.text))


def cbc(program, model, limit):
    with tempfile.TemporaryDirectory() as folder:
        solution = Path(folder) / "solution"
        run = Run([program, model, "-timeMode", "elapsed", "-seconds", str(limit), "-solve", "-solution",
                   str(solution)], limit)
        first = solution.read_text().split("\n")[0] if solution.exists() else ""
    if first.startswith("Optimal"):
        return Answer(run, "optimal", number(r"objective value +(\S+)", first))
    for word in ("infeasible", "unbounded"):
        if word in first.lower() or f"proven {word}" in run.text or f"is {word}" in run.text:
            return Answer(run, word)
    return Answer(run, f"exit {run.code}" if run.code else "stopped")


def glpsol(program, model, limit):
    kind = "--freemps" if model.endswith(".mps") else "--lp"
    run = Run([program, kind, model, "--tmlim", str(int(limit)), "-o", "/dev/stdout"], limit)
    if re.search(r"^Status: +(INTEGER )?OPTIMAL$", run.text, re.M):
        return Answer(run, "optimal", number(r"^Objective: .*= +(\S+)", run.text))
    for word in ("INFEASIBLE", "UNBOUNDED", "UNDEFINED"):
        if word in run.text.upper():
            return Answer(run, word.lower())
    return Answer(run, "stopped")


def asl(program, model, limit):
    run = Run([program, model], limit)
    words = run.text.split()
    if run.code or len(words) != 5:
        return Answer(run, f"exit {run.code}")
    code = int(words[0])
    status = "optimal" if code in (0, 1, 6) else "infeasible" if code == 2 else "stopped"
    return Answer(run, status, float(words[1]) if status == "optimal" else None, int(words[2]), float(words[4]))


def agree(a, b, tolerance):
    """None where nothing can be compared."""
    if "optimal" not in (a.status, b.status):
        return None if a.status != b.status else True
    if a.objective is None or b.objective is None:
        return None if a.status.startswith(("exit", "stopped", "not")) or b.status.startswith(("exit", "stopped", "not")) \
            else False
    # cbc prints the objective of a maximised model with either sign.
    distance = min(abs(a.objective - b.objective), abs(a.objective + b.objective))
    return distance <= tolerance * max(1.0, abs(a.objective))


def median_of(runs):
    best = sorted(runs, key=lambda answer: answer.run.seconds)
    return best[len(best) // 2]


def show(answer):
    value = "" if answer.objective is None else f" {answer.objective:.10g}"
    return f"{answer.status}{value}"[:28].ljust(28) + f"{answer.run.seconds:8.3f} s"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavsolve", required=True)
    parser.add_argument("--asl", default="")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--limit", type=float, default=60.0)
    parser.add_argument("folder")
    arguments = parser.parse_args()
    programs = {"cbc": (cbc, shutil.which("cbc")), "glpsol": (glpsol, shutil.which("glpsol")),
                "Ipopt by ASL": (asl, arguments.asl if arguments.asl and os.access(arguments.asl, os.X_OK) else None)}
    models = sorted(p for p in Path(arguments.folder).iterdir() if p.name.removesuffix(".gz").lower().endswith(SUFFIXES))
    if not models:
        sys.exit(f"no model in {arguments.folder}")
    sums, differing, slowest = {}, [], 0.0
    for model in models:
        isNl = ".nl" in model.name.lower()
        rivals = {name: entry for name, entry in programs.items() if entry[1] and (name == "Ipopt by ASL") == isNl}
        own, others = [], {name: [] for name in rivals}
        for _ in range(arguments.rounds):
            own.append(tavsolve(arguments.tavsolve, str(model), arguments.limit))
            for name, (solve, program) in rivals.items():
                others[name].append(solve(program, str(model), arguments.limit))
        mine = median_of(own)
        slowest = max(slowest, max(answer.run.elapsed for answer in own))
        line = f"{model.name[:24]:24} tavsolve {show(mine)}"
        for name, answers in others.items():
            theirs = median_of(answers)
            same = None if isNl and mine.run.code == 2 else agree(mine, theirs, 1e-6)
            if same is False:
                differing.append(f"{model.name}: tavsolve {show(mine)}, {name} {show(theirs)}")
            if same and mine.status == "optimal":
                total = sums.setdefault(name, [0, 0.0, 0.0, 0.0, 0.0, 0])
                total[0] += 1
                total[1] += mine.run.seconds
                total[2] += theirs.run.seconds
                if mine.evaluation is not None and theirs.evaluation is not None:
                    total[3] += mine.evaluation
                    total[4] += theirs.evaluation
                    total[5] = max(total[5], abs(mine.iterations - theirs.iterations))
            line += f" | {name} {show(theirs)} {'same' if same else 'DIFFERENT' if same is False else ''}"
        print(line, flush=True)
    print()
    for name, (count, ours, theirs, evaluation, other, iterations) in sums.items():
        print(f"{count} models solved by both: tavsolve {ours:.3f} s, {name} {theirs:.3f} s, ratio {ours / theirs:.3f}")
        if other:
            print(f"  in evaluation: tavsolve {evaluation:.4f} s, {name} {other:.4f} s; iterations differ by at most {iterations:.0f}")
    for line in differing:
        print(f"DIFFERENT {line}")
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
