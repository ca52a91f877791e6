"""Writes the figures of scripts/bench as a page and a chart."""

# Below this line a page keeps what was written by hand.
KEPT = "<!-- What follows is written by hand and kept. -->"
# The text between these two marks in the README is generated, for a selection of benchmarks.
README_MARKS = ("<!-- scripts/bench --docs writes from here -->\n", "<!-- to here -->\n")
README_BENCHMARKS = ["buildCold", "buildWarm", "rowsCold", "oneStatement", "scalProd", "mergeRecycled", "evalSum",
                     "chainCold", "chainEval", "cloneRows", "variablesArray", "print"]
# In the order of the chart's legend: marker, colour.
MARKS = {"LEMON": ("o", "#e69f00"), "Gecode": ("s", "#0072b2"), "GiNaC": ("^", "#009e73"),
         "ADOL-C": ("D", "#d55e00"), "muParser": ("v", "#cc79a7"), "CoinUtils": ("P", "#7a5cc4")}


def largest(races, benchmark, contender, limit=1_000_000):
    """The race at the largest size that has figures; None without one."""
    found = [race for race in races if race.benchmark == benchmark and race.contender == contender
             and race.size <= limit and race.ratio is not None]
    return max(found, key=lambda race: race.size, default=None)


def write_chart(path, benchmarks, twins, races):
    """Draws the time of each contender relative to the library's."""
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "speed", "font.size": 9.5, "axes.edgecolor": "#888888"})
    from matplotlib import pyplot

    # A benchmark whose time does not grow with its size does not fit on the scale.
    rows = [(name, title) for name, title, _, goals in benchmarks
            if "ns" not in goals and any(race.benchmark == name for race in races)]
    figure, axes = pyplot.subplots(figsize=(9, 1.5 + 0.27 * len(rows)))
    axes.axvspan(1e-4, 1.0, color="#f3e3e0", zorder=0)
    axes.axvline(1.0, color="#444444", linewidth=1.0, zorder=1)
    drawn = set()
    extremes = [0.5, 10.0]
    for position, (benchmark, _) in enumerate(rows):
        for contender in [*twins, *MARKS]:
            race = largest(races, benchmark, contender)
            if race is None:
                continue
            twin = contender in twins
            marker, colour = ("|", "black") if twin else MARKS[contender]
            label = "the same work by hand (own +=, std::to_chars, arrays)" if twin else contender
            axes.plot(1.0 / race.ratio, -position, marker=marker, color=colour, markersize=13 if twin else 6.5,
                      markeredgewidth=2.2 if twin else 0.6, markeredgecolor="black" if twin else "#333333",
                      linestyle="", label=None if label in drawn else label, zorder=3)
            drawn.add(label)
            extremes.append(1.0 / race.ratio)
    axes.set_xscale("log")
    axes.set_xlim(0.7 * min(extremes), 2.2 * max(extremes))
    axes.set_ylim(0.7 - len(rows), 0.7)
    axes.set_yticks([-position for position in range(len(rows))], [title.replace("`", "") for _, title in rows])
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g}×")
    axes.tick_params(length=0)
    axes.grid(color="#dddddd", linewidth=0.6)
    axes.set_axisbelow(True)
    axes.set_title("Time of others, the library's being 1 (right of the line: the library is faster)", fontsize=10.5)
    figure.legend(loc="lower center", ncols=4, frameon=False, fontsize=9)
    figure.tight_layout(rect=(0, 0.75 / figure.get_figheight(), 1, 1))
    figure.savefig(path, facecolor="white", metadata={"Date": None, "Creator": None})
    pyplot.close(figure)


def times(value):
    """A factor with two significant digits."""
    return f"{value:.2f}" if value < 9.95 else f"{value:,.0f}" if value < 10_000 else "over 9,999"


def nanoseconds(value):
    return f"{value:.2f}" if value < 0.995 else f"{value:.1f}" if value < 99.5 else f"{value:,.0f}"


def bold(cell, when):
    return f"**{cell}**" if when else cell


def per(unit):
    return f"an {unit}" if unit[0] in "aeiou" else f"a {unit}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" * len(head) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def twin_table(benchmarks, twins, races):
    sizes = sorted({race.size for race in races if race.contender in twins})
    rows = []
    for benchmark, title, unit, goals in benchmarks:
        for contender, called in twins.items():
            raced = {race.size: race for race in races
                     if race.benchmark == benchmark and race.contender == contender and race.ratio is not None}
            if not raced:
                continue
            last = largest(races, benchmark, contender)
            goal = goals.get(contender)
            wanted = f"{goal:g}" if goal else f"{goals['ns']:g} ns" if "ns" in goals else ""
            cells = []
            for size in sizes:
                race = raced.get(size)
                cells.append("" if race is None else bold(f"{race.ratio:.2f}", "time" in race.misses()))
            speed = f", {last.library_MBs:.0f} MB/s" if last.library_MBs else ""
            time = bold(nanoseconds(last.library_ns), "nanoseconds" in last.misses())
            rows.append([title, called, wanted, *cells, f"{time} {per(unit)}{speed}", nanoseconds(last.other_ns)])
    return table(["benchmark", "against", "goal", *[f"{size:,}" for size in sizes], "library, ns", "other, ns"], rows)


def growth_table(benchmarks, races):
    sizes = sorted({race.size for race in races if race.contender == "hand"})
    rows = []
    for benchmark, title, unit, _ in benchmarks:
        by_size = {race.size: race for race in races
                   if race.benchmark == benchmark and race.contender in ("hand", "arrays") and race.ratio is not None}
        if by_size:
            rows.append([f"{title}, ns {per(unit)}"] + [nanoseconds(by_size[size].library_ns) if size in by_size else ""
                                                     for size in sizes])
    return table(["benchmark", *[f"{size:,}" for size in sizes]], rows)


def bytes_table(benchmarks, peers, races):
    rows = []
    for benchmark, title, unit, goals in benchmarks:
        hand = largest(races, benchmark, "hand")
        if hand is None or hand.library_bytes is None:
            continue
        library = f"{hand.library_bytes:.1f}"
        row = [f"{title}, bytes {per(unit)}", f"{goals['bytes']:g}" if "bytes" in goals else "",
               bold(library, "bytes" in hand.misses()), f"{hand.other_bytes:.1f}"]
        for peer in peers:
            race = largest(races, benchmark, peer)
            cell = "" if race is None else f"{race.other_bytes:.1f}"
            row.append(bold(cell, race and race.other_bytes < race.library_bytes))
        rows.append(row)
    return table(["benchmark", "goal", "library", "by hand", *peers], rows)


def peer_table(benchmarks, peers, races):
    rows = []
    for benchmark, title, unit, _ in benchmarks:
        raced = {peer: largest(races, benchmark, peer) for peer in peers}
        if not any(raced.values()):
            continue
        row = [f"{title}, {per(unit)}", nanoseconds(next(race for race in raced.values() if race).library_ns)]
        for race in raced.values():
            cell = "" if race is None else f"{nanoseconds(race.other_ns)} ({times(1.0 / race.ratio)}×)"
            row.append(bold(cell, race and race.ratio > 1.0))
        rows.append(row)
    return table(["benchmark", "library", *peers], rows)


def write_evaluator_chart(path, benchmarks, twins, races):
    """Draws the time of each contender for all five, relative to the evaluator's."""
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "evaluator", "font.size": 9.5, "axes.edgecolor": "#888888"})
    from matplotlib import pyplot

    colours = {"hand": "#444444", "hand_avx2": "#777777", "hand_sse2": "#aaaaaa", "eval": "#cc79a7", "ASL": "#0072b2",
               "ADOL-C": "#d55e00"}
    rows = [(name, title) for name, title, _, _ in benchmarks
            if name in ("powerFlow", "beam", "rosenbrock", "random", "powerFlowValues", "rosenbrockValues", "randomValues")]
    figure, axes = pyplot.subplots(figsize=(9, 1.2 + 0.75 * len(rows)))
    axes.axvline(1.0, color="#444444", linewidth=1.0)
    labels = {}
    for position, (name, _) in enumerate(rows):
        raced = [race for race in (largest(races, name, contender, 10_000) for contender in colours) if race]
        for k, race in enumerate(raced):
            height = 0.8 / len(raced)
            bars = axes.barh(0.4 - position - (k + 0.5) * height, 1.0 / race.ratio - 1.0, 0.85 * height, 1.0,
                             color=colours[race.contender])
            axes.annotate(f" {times(1.0 / race.ratio)}×", (max(1.0 / race.ratio, 1.0), 0.4 - position - (k + 0.5) * height),
                          va="center", fontsize=7.5)
            labels[twins.get(race.contender, race.contender).replace("`", "")] = bars
    axes.set_xscale("log")
    axes.set_yticks([-position for position in range(len(rows))], [title for _, title in rows])
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g}×")
    axes.tick_params(length=0)
    axes.grid(color="#dddddd", linewidth=0.6, axis="x")
    axes.set_axisbelow(True)
    axes.set_title("Time of others, the evaluator's being 1 (right of the line: the evaluator is faster)", fontsize=10.5)
    figure.legend(labels.values(), labels.keys(), loc="lower center", ncols=6, frameon=False, fontsize=8.5)
    figure.tight_layout(rect=(0, 0.45 / figure.get_figheight(), 1, 1))
    figure.savefig(path, facecolor="white", metadata={"Date": None, "Creator": None})
    pyplot.close(figure)


def write_evaluator(path, chart, benchmarks, twins, races, machine):
    """The figures between the marks of the evaluator's page, and its chart."""
    rows = []
    for name, title, unit, goals in benchmarks:
        for race in races:
            if race.benchmark != name or race.ratio is None:
                continue
            goal = race.goal()
            wanted = f"{goal:.3g}" if goal else ""
            ratio = f"**{race.ratio:.3g}**" if "time" in race.misses() else f"{race.ratio:.3g}"
            ns = f"{nanoseconds(race.library_ns)} {per(unit)}"
            if race.contender == "hand" and "ns" in goals:
                ns = (f"**{ns}**" if "nanoseconds" in race.misses() else ns) + f" (goal {goals['ns']:,})"
            if race.library_bytes is not None:
                text = f"{race.library_bytes:.0f} bytes"
                ns += f", {f'**{text}**' if 'bytes' in race.misses() else text} (goal {goals['bytes']})"
            rows.append([title, f"{race.size:,}", twins.get(race.contender, race.contender), wanted, ratio, ns,
                         nanoseconds(race.other_ns)])
    if not rows:
        return
    write_evaluator_chart(chart, benchmarks, twins, races)
    before, rest = path.read_text(encoding="utf-8").split(README_MARKS[0], 1)
    after = rest.split(README_MARKS[1], 1)[1]
    body = table(["what", "size", "against", "goal", "ratio", "evaluator, ns", "other, ns"], rows)
    path.write_text(f"{before}{README_MARKS[0]}{body}\nMeasured on {machine}.\n{README_MARKS[1]}{after}", encoding="utf-8")


def write_text(path, benchmarks, twins, races, machine):
    peers = [peer for peer in MARKS if any(race.contender == peer for race in races)]
    kept = ""
    if path.exists() and KEPT in path.read_text(encoding="utf-8"):
        kept = path.read_text(encoding="utf-8").split(KEPT, 1)[1]
    path.write_text(f"""# Speed

Written by `scripts/bench --docs`: {machine}. Times are computing time, medians over rounds in turns and over several
processes; a ratio is the median of the ratios of the rounds. The programs are in [bench/](../bench): each benchmark is
written once (`*_benchmarks.h`), each contender is one class (`library.h`, `by_hand_world.h`, `peers/`).

![Time of others, the library's being 1](speed.svg)

The chart takes the work by hand at a million items, other libraries at the size of their table below.

## Beside the same work by hand

The library's time divided by the other's, for each number of items; a figure in **bold** misses its goal. The last two
columns are nanoseconds at a million items, or at the largest size raced.

{twin_table(benchmarks, twins, races)}
## Growth

{growth_table(benchmarks, races)}
## Beside other libraries

Nanoseconds, and how many times the library's time that is; in **bold** where the other one is faster. The sizes are 100,000
items; muParser takes texts of at most 20,000 characters and is raced at 1,000 terms.

{peer_table(benchmarks, peers, races)}
## Bytes

What a million items take of new memory (peers: 100,000 items), as the system counts it; in **bold** where a goal is
missed or another library takes less.

{bytes_table(benchmarks, peers, races)}
{KEPT}{kept or chr(10)}""", encoding="utf-8")


def write_readme(path, benchmarks, races, machine):
    """The short table: the size at which the peers are raced."""
    rows = []
    for benchmark, title, unit, _ in benchmarks:
        hand = largest(races, benchmark, "hand", 100_000)
        if benchmark not in README_BENCHMARKS or hand is None:
            continue
        peers = [race for race in (largest(races, benchmark, peer, 100_000) for peer in MARKS) if race]
        nearest = min(peers, key=lambda race: race.other_ns / race.library_ns, default=None)
        rows.append([title, f"{nanoseconds(hand.library_ns)} {per(unit)}", nanoseconds(hand.other_ns),
                     f"{hand.ratio:.2f}",
                     f"{nearest.contender} {times(1.0 / nearest.ratio)}×" if nearest else ""])
    text = path.read_text(encoding="utf-8")
    before, rest = text.split(README_MARKS[0], 1)
    after = rest.split(README_MARKS[1], 1)[1]
    head = ["benchmark, 100,000 items", "library, ns", "by hand, ns", "ratio", "time of the fastest other library"]
    body = table(head, rows)
    path.write_text(f"{before}{README_MARKS[0]}{body}\nMeasured on {machine}.\n{README_MARKS[1]}{after}", encoding="utf-8")
