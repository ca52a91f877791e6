"""Measures runs of scenarios; prints the figures and, with --docs, writes the tables and the chart of docs/scenarios.md.
usage: measure.py SOLVE_FOLDER BENCH_FOLDER ROOT [--docs] [--rounds N] [--case FILE.m]..."""

import argparse
import math
import os
import random
import re
import resource
import statistics
import subprocess
import tempfile
import time

MPIRUN = ["mpirun", "--oversubscribe", "--allow-run-as-root"]
MARKS = ("<!-- scripts/bench --scenarios writes from here -->\n", "<!-- to here -->\n")


# What tavsolve's workers set for themselves.
MEMORY = {"MALLOC_TRIM_THRESHOLD_": str(2**31 - 1), "MALLOC_MMAP_THRESHOLD_": str(2**25)}


def run(words, environment=None):
    done = subprocess.run([str(word) for word in words], capture_output=True, text=True, env={**os.environ, **(environment or {})})
    if done.returncode > 1:
        raise SystemExit(f"{words}\n{done.stdout}{done.stderr}")
    return done.stdout


def turns(rounds):
    """What is compared takes turns, so many times."""
    yield from range(rounds)


def write_demands(name, demand, chance, scenarios):
    with open(name + ".txt", "w") as file:
        for s in range(scenarios):
            edits = [f"set-row-bounds M{j} {d * chance.uniform(0.85, 1.15):.1f} inf" for j, d in enumerate(demand)]
            file.write(f"s{s} " + "; ".join(edits) + "\n")


def write_facilities(name, plants, markets, scenarios):
    """Which plants to open for the demands of the markets, every demand 15 % up or down in each scenario."""
    chance = random.Random(plants)
    demand = [chance.randint(50, 150) for _ in range(markets)]
    place = [(chance.random(), chance.random()) for _ in range(plants + markets)]
    rows = [f" L  P{i}" for i in range(plants)] + [f" G  M{j}" for j in range(markets)]
    opened = [f"    O{i}  COST  {chance.randint(2000, 6000)}  P{i}  {-3 * sum(demand) // plants}" for i in range(plants)]
    moved = [f"    X{i}_{j}  COST  {100 * math.dist(place[i], place[plants + j]):.1f}  P{i}  1\n    X{i}_{j}  M{j}  1"
             for i in range(plants) for j in range(markets)]
    columns = ["    A  'MARKER'  'INTORG'", *opened, "    B  'MARKER'  'INTEND'", *moved]
    sides = [f"    RHS  M{j}  {demand[j]}" for j in range(markets)]
    bounds = [f" BV BOUND O{i}" for i in range(plants)]
    with open(name + ".mps", "w") as file:
        file.write("\n".join(["NAME F", "ROWS", " N  COST", *rows, "COLUMNS", *columns, "RHS", *sides, "BOUNDS", *bounds,
                              "ENDATA", ""]))
    write_demands(name, demand, chance, scenarios)


def write_transport(name, plants, markets, scenarios):
    """A transport problem, every demand 15 % up or down in each scenario."""
    chance = random.Random(plants)
    demand = [chance.randint(50, 150) for _ in range(markets)]
    supply = 1.3 * sum(demand) / plants
    rows = [f" L  P{i}" for i in range(plants)] + [f" G  M{j}" for j in range(markets)]
    columns = [f"    X{i}_{j}  COST  {chance.randint(10, 99)}  P{i}  1\n    X{i}_{j}  M{j}  1"
               for i in range(plants) for j in range(markets)]
    sides = [f"    RHS  P{i}  {supply:.1f}" for i in range(plants)] + [f"    RHS  M{j}  {demand[j]}" for j in range(markets)]
    with open(name + ".mps", "w") as file:
        file.write("\n".join(["NAME T", "ROWS", " N  COST", *rows, "COLUMNS", *columns, "RHS", *sides, "ENDATA", ""]))
    write_demands(name, demand, chance, scenarios)


class Bench:
    def __init__(self, solve, bench, root):
        self.solve, self.bench, self.root = solve, bench, root

    def rate(self, model, scenarios, *options, ranks=0, start=None):
        """Scenarios a second behind the solution of the base model, as tavsolve says."""
        if os.path.exists("results.csv"):
            os.remove("results.csv")
        starter = [*MPIRUN, "-n", ranks] if ranks else []
        words = [*starter, self.solve + "/tavsolve", model, "--quiet", "--scenarios", scenarios, "--results", "results.csv"]
        text = run([*words, *(["--start", start] if start else []), *options])
        return float(re.search(r"^rate +(\S+) a second$", text, re.M)[1])

    def by_hand(self, program, *words, environment=None):
        run([f"{self.bench}/tav_measure_{program}", *words, "by_hand.csv"], environment)

    def single(self, model, scenarios, count):
        """Scenarios a second by a start of the program for each."""
        with open(scenarios) as file:
            lines = file.read().splitlines()[:count]
        begin = time.time()
        for line in lines:
            with open("edits.txt", "w") as file:
                file.write(line.partition(" ")[2] + "\n")
            run([self.solve + "/tavsolve", model, "--quiet", "--edits", "edits.txt"])
        return len(lines) / (time.time() - begin)


def medians(measures, rounds):
    """Of each, and of the ratios of the first to the others."""
    values = [[measure() for measure in measures] for _ in turns(rounds)]
    each = [statistics.median(column) for column in zip(*values)]
    return each, [statistics.median(row[0] / row[k] for row in values) for k in range(1, len(measures))]


def number(value):
    """Three digits, as people write them."""
    return f"{value:.3g}" if value < 1000 else f"{float(f'{value:.3g}'):,.0f}"


def row(*cells):
    return "| " + " | ".join(cells) + " |\n"


def processor_seconds(work):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    work()
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def compare(bench, rounds, cases):
    """Processor time of whole runs, reading and the base model included."""
    text = row("model", "tavsolve, ms a scenario", "by hand, ms", "ratio", "by hand, memory kept, ms", "ratio")
    text += "|---|---:|---:|---:|---:|---:|\n"
    for name, program, model, scenarios, start in cases:
        hand = [program, model, *([start] if start else []), scenarios]
        with open(scenarios) as file:
            count = sum(1 for _ in file)
        each, compared = medians([lambda: processor_seconds(lambda: bench.rate(model, scenarios, start=start)),
                                  lambda: processor_seconds(lambda: bench.by_hand(*hand)),
                                  lambda: processor_seconds(lambda: bench.by_hand(*hand, environment=MEMORY))], rounds)
        cells = [number(1e3 * seconds / count) for seconds in each]
        text += row(name, cells[0], cells[1], f"{compared[0]:.2f}", cells[2], f"{compared[1]:.2f}")
        print(text.splitlines()[-1], flush=True)
    return text


def compare_with_starts(bench, rounds, cases):
    text = row("model", "scenarios a second", "by a start of tavsolve for each", "ratio") + "|---|---:|---:|---:|\n"
    for name, _, model, scenarios, start in cases:
        (a, b), (ratio,) = medians([lambda: bench.rate(model, scenarios, start=start), lambda: bench.single(model, scenarios, 20)],
                                   rounds)
        text += row(name, number(a), number(b), f"{ratio:.0f}")
        print(text.splitlines()[-1], flush=True)
    return text


def scale(bench, rounds, cases):
    text = row("model", "a scenario", "2 workers / 1", "2 ranks / 1", "two runs at once / 1") + "|---|---:|---:|---:|---:|\n"
    figures = []
    for name, _, model, scenarios, start in cases:
        def two_runs():
            folders = []
            for k in range(2):
                folder = tempfile.mkdtemp(dir=".")
                folders.append(folder)
            words = [bench.solve + "/tavsolve", os.path.abspath(model), "--quiet", "--scenarios", os.path.abspath(scenarios),
                     "--results", "results.csv"]
            if start:
                words += ["--start", os.path.abspath(start)]
            running = [subprocess.Popen(words, cwd=folder, stdout=subprocess.PIPE, text=True) for folder in folders]
            return sum(float(re.search(r"^rate +(\S+)", r.communicate()[0], re.M)[1]) for r in running)
        rounds_of = []
        for _ in turns(rounds):
            one = bench.rate(model, scenarios, start=start)
            jobs = bench.rate(model, scenarios, "--jobs", 2, start=start)
            rank = bench.rate(model, scenarios, ranks=1, start=start)
            ranks = bench.rate(model, scenarios, ranks=2, start=start)
            rounds_of.append((1e3 / one, jobs / one, ranks / rank, two_runs() / one))
        milliseconds, jobs, ranks, both = (statistics.median(column) for column in zip(*rounds_of))
        text += row(name, number(milliseconds) + " ms", f"{jobs:.2f}", f"{ranks:.2f}", f"{both:.2f}")
        figures.append((name, jobs, ranks, both))
        print(text.splitlines()[-1], flush=True)
    return text, figures


def write_chart(path, figures):
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "scenarios", "font.size": 9.5, "axes.edgecolor": "#888888"})
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(7, 3))
    series = [("2 workers (--jobs 2)", "#0072b2"), ("2 ranks (mpirun -n 2)", "#009e73"),
              ("two runs at once: what the machine can do", "#bbbbbb")]
    for k, (label, colour) in enumerate(series):
        axes.barh([i + 0.27 * (1 - k) for i in range(len(figures))], [f[k + 1] for f in figures], 0.25, color=colour, label=label)
    axes.set_yticks(range(len(figures)), [f[0] for f in figures])
    axes.set_xlabel("scenarios a second, one worker being 1")
    axes.set_xlim(0, 2.1)
    axes.axvline(2, color="#888888", linewidth=0.6)
    figure.legend(*axes.get_legend_handles_labels(), loc="lower center", ncols=3, frameon=False, fontsize=8.5)
    figure.tight_layout(rect=(0, 0.08, 1, 1))
    figure.savefig(path, facecolor="white", metadata={"Date": None, "Creator": None})


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("solve")
    parser.add_argument("bench")
    parser.add_argument("root")
    parser.add_argument("--docs", action="store_true")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--case", action="append", default=[], help="a MATPOWER file, which is measured too")
    arguments = parser.parse_args()
    solve, programs, root = map(os.path.abspath, (arguments.solve, arguments.bench, arguments.root))
    cases = [("14 buses", root + "/examples/power_flow/case14_ieee.txt")]
    cases += [(re.search(r"case(\d+)", case)[1] + " buses", os.path.abspath(case)) for case in arguments.case]
    bench = Bench(solve, programs, root)
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        write_transport("small", 2, 3, 100000)
        write_transport("middle", 20, 30, 15000)
        write_transport("large", 100, 150, 2000)
        write_facilities("facilities", 30, 45, 20)
        races = [("transport, two plants, three markets", "clp_by_hand", "small.mps", "small.txt", None),
                 ("transport, 20 plants, 30 markets", "clp_by_hand", "middle.mps", "middle.txt", None),
                 ("transport, 100 plants, 150 markets", "clp_by_hand", "large.mps", "large.txt", None),
                 ("facilities, 30 plants, 45 markets, integer", "cbc_by_hand", "facilities.mps", "facilities.txt", None)]
        for name, case in cases:
            run([f"{solve}/../examples/contingencies/example_contingencies", "write", case, name])
            with open(f"{name}/outages.txt") as file:
                lines = [line.rstrip("\n").partition(" ") for line in file]
            # A large network's outages 61 to 100, each once; a small one's all, several times.
            part, times = (lines[60:100], 1) if len(lines) > 100 else (lines, 15)
            with open(f"{name}/outages.txt", "w") as file:
                for k in range(times):
                    file.writelines(f"{name}.{k} {edits}\n" for name, _, edits in part)
            races.append((f"line outages, {name}", "ipopt_by_hand", f"{name}/grid.nl", f"{name}/outages.txt", f"{name}/start.txt"))
        comparison = compare(bench, arguments.rounds, races)
        comparison += "\n" + compare_with_starts(bench, arguments.rounds, races[:2])
        scaling, figures = scale(bench, arguments.rounds, races)
        operations = row("ranks", "taking a scenario", "writing a line of 110 bytes") + "|---|---:|---:|\n"
        for ranks in 1, 2:
            words = run([*MPIRUN, "-n", ranks, programs + "/tav_measure_ranks", 50000, "lines"]).split()
            operations += row(str(ranks), f"{1e6 * float(words[1]):.2f} µs", f"{1e6 * float(words[3]):.1f} µs")
        print(operations)
        if arguments.docs:
            page = root + "/docs/scenarios.md"
            with open(page, encoding="utf-8") as file:
                before, rest = file.read().split(MARKS[0])
            with open(page, "w", encoding="utf-8") as file:
                file.write(before + MARKS[0] + "\n" + comparison + "\n" + scaling + "\n" + operations + "\n" + MARKS[1] +
                           rest.split(MARKS[1])[1])
            write_chart(root + "/docs/scenarios.svg", figures)


if __name__ == "__main__":
    main()
