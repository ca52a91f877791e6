"""Plays a modelling system that calls tavsolve: writes an .nl file, calls, and reads the .sol file to the letter. Then
a user who loses patience. usage: client.py TAVSOLVE FOLDER_OF_ITS_SOLVER_CONFIGURATION"""
import json, os, random, shutil, signal, subprocess, sys, time

tavsolve, configuration = map(os.path.realpath, sys.argv[1:3])
work = os.path.abspath("tavsolve_client")
os.makedirs(work, exist_ok=True)
os.chdir(work)
with open("solver.supp", "w") as file:  # with a sanitizer, only what is ours counts
    file.write("leak:libCoinUtils\nleak:libClp\nleak:libCbc\n")
os.environ["LSAN_OPTIONS"] = f"suppressions={work}/solver.supp:print_suppressions=0"


def check(fact, *what):
    if not fact:
        sys.exit(" ".join(str(w) for w in ("FAILED:",) + what))


def write_nl(costs, rows, options="3 0 1 0"):
    """Rows are (coefficients, bound); minimise over x >= 0 with each row at least its bound, integers last."""
    n, m = len(costs), len(rows)
    terms = [[(j, a) for j, a in enumerate(row) if a] for row, _ in rows]
    count = sum(map(len, terms))
    lines = [f"g{options}", f" {n} {m} 1 0 0", " 0 0", " 0 0", " 0 0 0", " 0 0 0 1", " 0 0 0 0 0",
             f" {count} {n}", " 0 0", " 0 0 0 0 0"]
    for i in range(m):
        lines += [f"C{i}", "n0"]
    lines += ["O0 0", "n0", "r"] + [f"2 {b}" for _, b in rows] + ["b"] + ["2 0"] * n
    lines += [f"k{n - 1}"] + [str(sum(j <= column for row in terms for j, _ in row)) for column in range(n - 1)]
    for i, row in enumerate(terms):
        lines += [f"J{i} {len(row)}"] + [f"{j} {a}" for j, a in row]
    lines += [f"G0 {n}"] + [f"{j} {c}" for j, c in enumerate(costs)]
    with open("stub.nl", "w") as file:
        file.write("\n".join(lines) + "\n")


def call(*arguments, environment=""):
    if os.path.exists("stub.sol"):
        os.remove("stub.sol")
    run = subprocess.run([tavsolve, "stub", "-AMPL", *arguments], env={**os.environ, "tavsolve_options": environment},
                         stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
    check(run.stdout == "", "the call printed", run.stdout)
    return run.returncode


def solution(options, rows, columns):
    """Duals, values, result code and suffixes of stub.sol, whose shape must be exact."""
    text = open("stub.sol").read()
    check(text.endswith("\n"), "the last line is torn")
    lines = text[:-1].split("\n")
    empty = lines.index("")
    expected = ["Options", str(len(options) - (len(options) > 2 and options[1] == 3))] + [str(o) for o in options] + [str(rows)]
    at = empty + 1 + len(expected)
    check(lines[empty + 1:at] == expected, "options", lines[empty + 1:at], expected)
    duals, known, values = int(lines[at]), int(lines[at + 1]), int(lines[at + 2])
    check(duals in (0, rows) and known == columns and values in (0, columns), "counts", duals, known, values)
    numbers, at = [float(line) for line in lines[at + 3:at + 3 + duals + values]], at + 3 + duals + values
    word, objective, code = lines[at].split()
    check((word, objective) == ("objno", "0"), lines[at])
    suffixes, at = {}, at + 1
    while at < len(lines):
        word, kind, count, length, _, table = lines[at].split()
        check(word == "suffix" and int(length) == len(lines[at + 1]) + 1 and table == "0", lines[at])
        check(int(kind) == 4 + {"rc": 0, "bestbound": 3}[lines[at + 1]], lines[at])  # real numbers of columns, of the problem
        entries = [line.split() for line in lines[at + 2:at + 2 + int(count)]]
        suffixes[lines[at + 1]] = {int(i): float(v) for i, v in entries}
        at += 2 + int(count)
    return numbers[:duals], numbers[duals:], int(code), suffixes


# Linear programs: a solution is right when it is feasible and its duals prove its objective.
for seed in range(20):
    random.seed(seed)
    n, m = random.randint(2, 9), random.randint(2, 7)
    costs = [random.randint(1, 9) for _ in range(n)]
    rows = [([random.choice((0, 1, 2, 5)) for _ in range(n - 1)] + [1], random.randint(1, 20)) for _ in range(m)]
    options = [0, 3, 0, 0.5] if seed % 2 else [0, 1, 0]
    write_nl(costs, rows, f"3 {' '.join(map(str, options))}")
    check(call("quiet", environment=("", "method=dual presolve=off", "option=presolve=off")[seed % 3]) == 0, "exit code", seed)
    duals, x, code, suffixes = solution(options, m, n)
    check(code == 0 and len(duals) == m, "result", seed, code)
    objective = sum(c * v for c, v in zip(costs, x))
    for row, bound in rows:
        check(sum(a * v for a, v in zip(row, x)) >= bound - 1e-6, "row", seed)
    for j in range(n):
        reduced = costs[j] - sum(y * row[j] for y, (row, _) in zip(duals, rows))
        check(reduced >= -1e-6 and abs(reduced - suffixes.get("rc", {}).get(j, 0)) < 1e-6, "reduced cost", seed, j)
    proof = sum(y * bound for y, (_, bound) in zip(duals, rows))
    check(min(duals) >= -1e-6 and abs(proof - objective) < 1e-6 * max(1, objective), "duality", seed, proof, objective)
    check(abs(suffixes["bestbound"][0] - objective) < 1e-6 * max(1, objective), "bound", seed)

write_nl([1, 1], [([1, 1], 2), ([-1, -1], -1)])
check(call() == 0 and solution([0, 1, 0], 2, 2)[:3] == ([], [], 200), "infeasible")
write_nl([-1, 1], [([1, 1], 2)])
check(call() == 0 and solution([0, 1, 0], 1, 2)[2] == 300, "unbounded")
with open("stub.nl", "w") as file:  # sin(x) >= 2
    file.write("g3 0 1 0\n 1 1 1 0 0\n 1 0\n 0 0\n 1 0 0\n 0 0 0 1\n 0 0 0 0 0\n 1 1\n 0 0\n 0 0 0 0 0\n"
               "C0\no41\nv0\nO0 0\nn0\nr\n2 2\nb\n0 0 10\nk0\nJ0 1\n0 0\nG0 1\n0 1\n")
check(call() == 0 and solution([0, 1, 0], 1, 1)[2] == 201, "locally infeasible")
write_nl([-1, 1], [([1, 1], 2)])
check(call("time=1e-6") == 0 and solution([0, 1, 0], 1, 2)[2] == 400, "the time is over before the file is read")
write_nl([-1, 1], [([1, 1], 2)], "3 0 3 0 0.5")
check(call("time=1e-6") == 0 and solution([0, 3, 0, 0.5], 1, 2)[2] == 400, "the same with a further option")
check(call("time=0") == 2 and not os.path.exists("stub.sol"), "a bad option")

# A modelling system that speaks the protocol. Its library of linear forms is that of the installed configuration; the
# standard one hands non-linear functions over as they are.
for model, library, expected in (
        ("var 0..3: x; var 0..9: y; var 0.0..8.0: z; constraint 4*x + 3*y <= 20; constraint z + int2float(x) <= 7.5;"
         "solve maximize int2float(5*x + 4*y) + 2.0*z; output [show(x), \" \", show(y)];", "linear", "0 6\n----------\n=========="),
        ("array[1..4] of var 1..4: q; constraint forall(i, j in 1..4 where i < j)(q[i] != q[j]);"
         "constraint q[1] < q[2] \\/ q[3] = 1; solve maximize q[1] + 3*q[2] + 2*q[4]; output [show(q)];", "linear", "[2, 4, 1, 3]"),
        ("var 0..5: x; var 0..5: y; constraint x + y >= 11; solve satisfy;", "linear", "UNSATISFIABLE"),
        ("var -9.0..9.0: x; var 0..5: k; constraint exp(x) <= 7.0; constraint k*k <= 10;"
         "solve maximize x + int2float(k); output [show_float(0, 4, x), \" \", show(k)];", "std", "1.9459 3\n")):
    if not shutil.which("minizinc"):
        print("minizinc is not installed")
        break
    with open("model.mzn", "w") as file:
        file.write(model)
    run = subprocess.run(["minizinc", "--solver", "tavsolve", "-G", library, "model.mzn"], capture_output=True, text=True, timeout=60,
                         env={**os.environ, "MZN_SOLVER_PATH": configuration, "PATH": os.path.dirname(tavsolve) + os.pathsep + os.environ["PATH"]})
    check(expected in run.stdout, "minizinc", model, run.stdout, run.stderr)

# A user: what is best so far is kept; a second signal ends at once, also while nothing is read yet.
random.seed(1)
with open("split.lp", "w") as file:
    weights = [[random.randint(0, 99) for _ in range(30)] for _ in range(4)]
    file.write("Minimize\n obj: " + " + ".join(f"o{i} + u{i}" for i in range(4)) + "\nSubject To\n")
    for i, row in enumerate(weights):
        terms = " + ".join(f"{w} x{j}" for j, w in enumerate(row))
        file.write(f" r{i}: o{i} - u{i} + {terms} = {sum(row) // 2}\n")
    file.write("Binaries\n" + " ".join(f"x{j}" for j in range(30)) + "\nEnd\n")


def start(*arguments):
    return subprocess.Popen([tavsolve, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                            start_new_session=True)


for signals in ([signal.SIGINT], [signal.SIGINT, signal.SIGTERM]):
    run = start("split.lp", "--solution", "best.txt", "--time", "50", "--set-bounds", "x0", "0", "1")
    run.stdout.readline()
    time.sleep(2)
    begin = time.monotonic()
    for number in signals:
        os.killpg(run.pid, number)  # as a terminal does, which signals the solver too
    output = run.communicate()[0]
    check(run.returncode == 1 and "status     not solved: interrupted" in output, "interrupted", output)
    check(output.count("status") == 1, "no further solve", output)
    check(time.monotonic() - begin < 25, "ended after", time.monotonic() - begin)
    if len(signals) == 1:
        best = open("best.txt").read().split()
        check(best[2:4] == ["status", "interrupted"] and best.count("column") == 38, "best.txt", best[:8])
        os.remove("best.txt")
    else:
        check(not os.path.exists("best.txt"), "the second signal is waited for")
for _ in range(20):  # while the solver's process starts
    run = start("split.lp", "--time", "50")
    run.stdout.readline()
    time.sleep(random.uniform(0, 0.01))
    os.killpg(run.pid, signal.SIGINT)
    output = run.communicate()[0]
    check(run.returncode == 1 and output.count("interrupted") == 1, "an early interruption", run.returncode, output)
if "signals-late" not in sys.argv:  # as the thread sanitizer delays them while a program reads
    run = start("-", "--time", "0.3")  # the file never comes
    check(run.wait(timeout=60) == 1 and "time limit" in run.stdout.read(), "time limit while reading")

output = start("split.lp", "--time", "1", "--set-bounds", "x0", "1", "1").communicate()[0]
seconds = [float(line.split()[1]) for line in output.split("\n") if line.startswith("time  ")]
check(len(seconds) == 2 and seconds[1] < 0.5, "a time limit for both solves", output)

# Names are whatever the file has; those without one are named by their places.
name = 'a "b\\cé'
for encoding in ("utf-8", "latin-1"):
    with open("names.mps", "w", encoding=encoding) as file:
        file.write(f"""NAME          N
ROWS
 N  cost
 G  need
COLUMNS
    {name}{" " * (10 - len(name.encode(encoding)))}cost               2.0   need               1.0
    #other    cost               3.0   need               1.0
RHS
    RHS       need               2.0
ENDATA
""")
    answer = json.loads(start("names.mps", "--solution", "-.json").communicate()[0])
    check([c["name"] for c in answer["columns"]] == [name, "#other"] and answer["columns"][1]["reducedCost"] == 1, answer)
    check(answer["rows"] == [{"name": "need", "value": 2, "dual": 2}] and answer["bound"] == 4, answer)
    start("names.mps", "--solution", "names.txt").communicate()
    check(start("names.mps", "--start", "names.txt").communicate()[0].count("optimal") == 1, "a solution to start from")

# A further solve starts from the last one, not from the file once more.
with open("square.lp", "w") as file:
    file.write("Minimize\n obj: x + y + [ x^2 + y^2 ] / 2\nSubject To\n c: x + 2 y >= 1\nBounds\n x free\n y free\nEnd\n")
with open("far.txt", "w") as file:
    file.write("column x 100\ncolumn y -50\n")
output = start("square.lp", "--start", "far.txt", "--set-bounds", "x", "-2", "10").communicate()[0]
efforts = [int(line.split()[1]) for line in output.split("\n") if line.startswith("effort")]
check(len(efforts) == 2 and 2 * efforts[1] <= efforts[0], "a warm start", output)
