"""Runs of scenarios against tavsolve started for each, in any order, by any number of workers and ranks, and killed at
random moments. usage: scenarios.py TAVSOLVE FOLDER_OF_ITS_MODELS"""
import csv, json, math, os, random, shutil, subprocess, sys

tavsolve, models = os.path.realpath(sys.argv[1]), os.path.realpath(sys.argv[2])
work = os.path.abspath("tavsolve_scenarios")
shutil.rmtree(work, ignore_errors=True)
shutil.copytree(models, work)
os.chdir(work)
chance = random.Random(7)
with open("extra.lp", "w") as file:
    file.write("min\n obj: 2 NEW\nst\n r9: NEW + SE_NY >= 70\nend\n")
with open("bowl.lp", "w") as file:
    file.write("min\n obj: x + y + [ 2 x ^2 + 2 y ^2 ] / 2\nst\n c1: x + y >= 1\nbounds\n x free\n y free\nend\n")


def check(fact, *what):
    if not fact:
        sys.exit(" ".join(str(w) for w in ("FAILED:",) + what))


def command(model, scenarios, results, *more):
    return [tavsolve, "--quiet", model, "--scenarios", scenarios, "--results", results, *more]


def call(words, code):
    run = subprocess.run(words, capture_output=True, text=True, timeout=300)
    check(run.returncode == code, run.returncode, "instead of", code, *words, run.stdout, run.stderr)
    return run.stdout + run.stderr


def lines(results):
    """Name and everything that is the same in each run, a line each."""
    with open(results, newline="") as file:
        if results.endswith(".json"):
            rows = [list(map(str, {**json.loads(line), "seconds": 0, "check": 0}.values())) for line in file]
        else:
            rows = [row[:5] + row[6:-1] for row in csv.reader(file)][1:]
    check(len({row[0] for row in rows}) == len(rows), results, "has a scenario twice")
    return sorted(rows)


def write(name, scenarios):
    with open(name, "w") as file:
        file.write("# name edits\n\n" + "".join(f'"{n}" {"; ".join(edits)}\n' for n, edits in scenarios))


def random_edits(columns, rows, objective, extra):
    def one():
        column, row, number = chance.choice(columns), chance.choice(rows), chance.randint
        return chance.choice([f"fix {column} {number(0, 1)}", f"set-bounds {column} 0 {number(0, 400)}", f"remove {column}",
                              f"set-coef {objective} {column} {number(-1, 9)}", f"set-coef {row} {column} {number(0, 3)}",
                              f"set-row-bounds {row} -inf {number(5, 500)}", "set-sense max", "fix nobody 1",
                              f"set-row-bounds {row} 3 2", "add " + extra, "jump 3"])
    return [one() for _ in range(chance.randint(0, 2))]


def compare_with_single_runs(model, columns, rows, objective, extra="missing.lp"):
    """Each scenario is what tavsolve says of the model with these edits."""
    scenarios = [(f"s, {i}", random_edits(columns, rows, objective, extra)) for i in range(25)]
    write("s.txt", scenarios)
    values = f"{columns[0]},{rows[0]}"
    call(command(model, "s.txt", "one.csv", "--values", values), 1)
    found = {row[0]: row for row in lines("one.csv")}
    for name, edits in scenarios:
        with open("edits.txt", "w") as file:
            file.write("\n".join(edits))
        run = subprocess.run([tavsolve, "--quiet", model, "--edits", "edits.txt", "--solution", "solution.json"],
                             capture_output=True, text=True)
        row = found[name]
        if run.returncode >= 2:
            check(row[1] == "failed" and row[-1] in run.stderr.replace("edits.txt:1: ", ""), row, run.stderr)
            continue
        with open("solution.json") as file:
            solution = json.load(file)
        check(row[1] == solution["status"], edits, row, solution)
        if solution["solved"]:
            check(math.isclose(float(row[2]), solution["objective"], rel_tol=1e-6, abs_tol=1e-6), edits, row, solution)
    # Neither order nor number of workers makes a difference, in either format.
    chance.shuffle(scenarios)
    write("t.txt", scenarios)
    call(command(model, "t.txt", "two.csv", "--values", values, "--jobs", "3"), 1)
    check(lines("one.csv") == lines("two.csv"), model, "depends on order or workers")
    for jobs in "1", "2":
        call(command(model, "s.txt", jobs + ".json", "--values", values, "--jobs", jobs), 1)
    check(lines("1.json") == lines("2.json"), model, "depends on workers")
    check([row[0] for row in lines("1.json")] == [row[0] for row in lines("one.csv")], "the formats differ")
    for name in "one.csv", "two.csv", "1.json", "2.json":
        os.remove(name)


compare_with_single_runs("transport.mps", ["SE_NY", "SD_TO", "SE_CH"], ["SEATTLE", "NEWYORK"], "FREIGHT", "extra.lp")
compare_with_single_runs("stockco.lp", ["invest1", "invest2", "invest3"], ["cash"], "value")
if any("engine ipopt" in line and "not built" not in line for line in call([tavsolve, "--version"], 0).split("\n")):
    compare_with_single_runs("bowl.lp", ["x", "y"], ["c1"], "obj")

print("all as single runs say")
