#!/usr/bin/env python3
"""How well tavsolve keeps --time on a model of 4.95 million non-zeros, in whatever it does when the time is over.
usage: time_limits.py TAVSOLVE. Writes 300 MB into a temporary folder; prints elapsed time beyond the limit and
processor time of each run."""
import os
import random
import resource
import subprocess
import sys
import tempfile
import time

N = 450_000
RUNS = (("big.lp", [], (0.5, 1.5, 3, 4, 5, 7, 12)),
        ("big.mps", [], (1, 2.5, 4, 8)),
        ("big.lp", ["--method", "barrier"], (6, 10)),
        ("big.mps", ["--method", "primal", "--presolve", "off"], (7,)),
        ("big.mps", ["--method", "primal", "--solution", "big.txt"], (9,)),
        ("whole.lp", [], (4, 7, 14)))

tavsolve = os.path.realpath(sys.argv[1])
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    random.seed(5)
    with open("big.lp", "w") as file:
        file.write("Minimize\n obj:")
        for j in range(N):
            file.write(f" + {1 + random.random() * 9:.3f} x{j}\n")
        file.write("Subject To\n")
        for i in range(N):
            columns = [(i * 7919 + random.randrange(N)) % N for _ in range(11)]
            terms = " + ".join(f"{random.randint(1, 9)} x{j}" for j in columns)
            file.write(f" r{i}: {terms} >= {random.randrange(5, 50)}\n")
        file.write("End\n")
    with open("big.lp") as file, open("whole.lp", "w") as whole:
        whole.write(file.read().removesuffix("End\n") + "Generals\n" + "".join(f" x{j}\n" for j in range(0, N, 4)) + "End\n")
    subprocess.run([tavsolve, "big.lp", "--no-solve", "--write", "big.mps", "--quiet"], check=True)
    for file, words, limits in RUNS:
        for limit in limits:
            before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
            run = subprocess.run([tavsolve, file, *words, "--time", str(limit)], stdin=subprocess.DEVNULL, capture_output=True,
                                 text=True)
            seconds, after = time.monotonic() - start, resource.getrusage(resource.RUSAGE_CHILDREN)
            busy = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
            status = [line[11:] for line in run.stdout.splitlines() if line.startswith("status")]
            print(f"{file:9} {' '.join(words):32} --time {limit:4}: {seconds - limit:+.2f} s, {busy:.2f} s of the processor;",
                  *status, flush=True)
