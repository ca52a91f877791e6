"""Runs of scenarios against tavsolve started for each, in any order, by any number of workers and ranks, and killed at
random moments. usage: scenarios.py TAVSOLVE FOLDER_OF_ITS_MODELS [MPIRUN [KILLS]]; with MPIRUN two ranks alone are
tested. KILLS is the number of random kills."""
import csv, glob, json, math, os, random, shutil, signal, subprocess, sys, time

tavsolve, models = os.path.realpath(sys.argv[1]), os.path.realpath(sys.argv[2])
mpirun = [sys.argv[3], "-n", "2", "--oversubscribe", "--allow-run-as-root"] if sys.argv[3:] and sys.argv[3] else []
kills = int(sys.argv[4]) if len(sys.argv) > 4 else 5
work = os.path.abspath("tavsolve_ranks" if mpirun else "tavsolve_scenarios")
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


def crash_solvers():
    """One that breaks down whenever it is tried, one at the time limit, one that does not keep it; the others go on."""
    write("hard.txt", [("easy", []), ("broken", ["fix s 0"]), ("last", ["fix x1 0"])])
    run = subprocess.Popen([*mpirun, *command("market.lp", "hard.txt", "hard.csv")], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    while not results_of("hard.csv", "easy", "last" if mpirun else "easy"):
        time.sleep(0.01)
    while not results_of("hard.csv", "broken"):
        signal_solver(run.pid, signal.SIGSEGV)
        time.sleep(0.05)
    check(run.wait(timeout=300) == 1, "exit code of a crash")
    found = {row[0]: row for row in lines("hard.csv")}
    check(found["broken"][1] == "failed" and "Segmentation fault" in found["broken"][-1], found)
    check(found["easy"][1] == found["last"][1] == "optimal" and len(found) == 3, found)
    if mpirun: return
    write("late.txt", [("long", ["fix s 0"]), ("stopped", ["fix s 0"]), ("last", ["fix x1 0"])])
    run = subprocess.Popen([*command("market.lp", "late.txt", "late.csv"), "--time", "1"], stdout=subprocess.DEVNULL)
    while not results_of("late.csv", "long"):
        time.sleep(0.01)
    while not results_of("late.csv", "stopped"):
        signal_solver(run.pid, signal.SIGSTOP)
        time.sleep(0.05)
    check(run.wait(timeout=300) == 1, "exit code of a time limit")
    found = [row[:2] + row[-1:] for row in lines("late.csv")]
    killed = "the solver did not end in time and was killed"
    # On a machine with much other work the solver may be late without being stopped.
    check(found[0] == ["last", "optimal", ""] and found[1][:2] == ["long", "time limit"] and
          found[1][2] in ("time limit", killed) and found[2:] == [["stopped", "time limit", killed]], found)


def results_of(results, *names):
    return os.path.exists(results) and {row[0] for row in lines(results)}.issuperset(names)


def signal_solver(run, number):
    """To the processes below tavsolve that have none below them: the workers, or their solvers."""
    family = descendants(run)
    for pid in family:
        try:
            with open(f"/proc/{pid}/stat") as file:
                name, rest = file.read().split("(", 1)[1].rsplit(")", 1)
            with open(f"/proc/{rest.split()[1]}/comm") as file:
                if name.startswith("tavsolve") and file.read().startswith("tavsolve") and not descendants(pid):
                    os.kill(pid, number)
        except (FileNotFoundError, ProcessLookupError):
            pass


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


def descendants(process):
    parents = {}
    for stat in glob.glob("/proc/[0-9]*/stat"):
        try:
            with open(stat) as file:
                parents[int(stat.split("/")[2])] = int(file.read().rsplit(")", 1)[1].split()[1])
        except (FileNotFoundError, ProcessLookupError):
            pass
    found = [process]
    for pid in found:
        found += [child for child, parent in parents.items() if parent == pid]
    return found[1:]


def kill(process):
    """Interrupts the run, or kills one of its processes at random, or all of them."""
    if chance.random() < 0.2:
        return os.kill(process, signal.SIGINT)
    family = descendants(process)
    victims = [chance.choice(family)] if family and chance.random() < 0.7 else [process] + family
    for victim in victims:
        try:
            os.kill(victim, signal.SIGKILL)
        except ProcessLookupError:
            pass


def damage(results):
    """What a killed write leaves: a shorter file, or zeros where another rank has written behind the gap."""
    size, header = os.path.getsize(results), 80
    with open(results, "r+b") as file:
        if chance.random() < 0.5:
            file.truncate(max(header, size - chance.randint(0, 150)))
        elif size > 400:
            file.seek(chance.randint(header, size - 200))
            file.write(bytes(chance.randint(1, 99)))


def kill_at_random(words, results, reference, count):
    start = time.time()
    call([*words, "--results", results], 0)
    seconds = time.time() - start
    for _ in range(count):
        if os.path.exists(results) and lines(results) == reference:
            os.remove(results)
        run = subprocess.Popen([*words, "--results", results], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(chance.uniform(0, seconds))
        kill(run.pid)
        run.wait(timeout=300)
        if os.path.exists(results) and os.path.getsize(results) > 80:
            damage(results)
    call([*words, "--results", results], 0)
    check(lines(results) == reference, words, "does not continue as undisturbed")


# Half of the sum of each row: all but impossible for branching. With s it is trivial.
with open("market.lp", "w") as file:
    market = [[chance.randint(1, 99) for _ in range(40)] for _ in range(5)]
    rows = [" + ".join(f"{a} x{j}" for j, a in enumerate(row)) + f" + {sum(row) // 2} s = {sum(row) // 2}" for row in market]
    file.write("max\n obj: s\nst\n " + "\n ".join(rows) + "\nbinary\n s " + " ".join(f"x{j}" for j in range(40)) + "\nend\n")
with open("start.txt", "w") as file:
    file.write("column x 3\ncolumn y -5\n")
write("long.txt", [(f"s{i}", [f"set-row-bounds SEATTLE -inf {chance.randint(250, 500)}"]) for i in range(1500)])
long = [tavsolve, "--quiet", "transport.mps", "--scenarios", "long.txt", "--values", "SE_NY,SEATTLE"]
call([*long, "--results", "long.csv"], 0)
has_ipopt = any("engine ipopt" in line and "not built" not in line for line in call([tavsolve, "--version"], 0).split("\n"))
if mpirun:
    os.environ["LSAN_OPTIONS"] = "detect_leaks=0"  # MPI does not free all that it takes
    call([*mpirun, *long, "--results", "ranks.csv"], 0)
    check(lines("ranks.csv") == lines("long.csv"), "ranks make a difference")
    # Integers, whose scenarios need a fresh copy each, and a start point, from which the base model alone starts.
    for model, edit, *more in [("stockco.lp", "set-row-bounds cash -inf"), ("bowl.lp", "set-bounds x -inf", "--start", "start.txt")]:
        if more and not has_ipopt: continue
        write("few.txt", [(f"s{i}", [f"{edit} {chance.randint(5, 50) / 10}"]) for i in range(30)])
        for starter, results in ([], model + ".csv"), (mpirun, model + "_ranks.csv"):
            call([*starter, *command(model, "few.txt", results, *more)], 0)
        check(lines(model + ".csv") == lines(model + "_ranks.csv"), model, "ranks make a difference")
    crash_solvers()
    kill_at_random([*mpirun, *long], "ranks.csv", lines("long.csv"), kills)
    refused = call([*mpirun, tavsolve, "none.mps", "--scenarios", "long.txt", "--results", "r.csv"], 2)
    check("none.mps: cannot be read" in refused, refused)
    sys.exit()
compare_with_single_runs("transport.mps", ["SE_NY", "SD_TO", "SE_CH"], ["SEATTLE", "NEWYORK"], "FREIGHT", "extra.lp")
compare_with_single_runs("stockco.lp", ["invest1", "invest2", "invest3"], ["cash"], "value")
if has_ipopt:
    compare_with_single_runs("bowl.lp", ["x", "y"], ["c1"], "obj")
call([*long, "--results", "long.csv"], 0)
crash_solvers()
check("of another model" in call([*long, "--seed", "3", "--results", "long.csv"], 2), "results of another run")
kill_at_random([*long, "--jobs", "2"], "jobs.csv", lines("long.csv"), kills)
shutil.copy(tavsolve, "alone")
os.environ["OMPI_COMM_WORLD_SIZE"] = "2"
check("--jobs" in call(["./alone", *long[1:], "--results", "r.csv"], 2), "without MPI")
