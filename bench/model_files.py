"""Runs the race of the model files' readers at several sizes; writes its table and picture for docs/modelfiles.md."""

import subprocess
import sys

MARKS = ("<!-- scripts/bench --model-files writes from here -->\n", "<!-- to here -->\n")
SIZES = [10_000, 100_000, 1_000_000, 10_000_000]
PEERS = {"mps": "CoinUtils", "lp": "CoinUtils", "nl": "ASL"}


def measure(program, pin):
    """Rows of the program's table, as dictionaries."""
    rows = []
    for size in SIZES:
        repetitions = 2 if size >= 10_000_000 else 5
        out = subprocess.run([*pin, program, str(size), str(repetitions)], check=True, capture_output=True, text=True)
        lines = out.stdout.splitlines()
        rows += [dict(zip(lines[0].split("\t"), line.split("\t"))) for line in lines[1:]]
        print(out.stdout, end="", flush=True)
    return rows


def table(rows):
    head = ("| format, non-zeros | MB | tavmodelfile | numbers only | peer | own / numbers | peer / own |\n"
            "|---|---:|---:|---:|---:|---:|---:|\n")
    lines = []
    for row in rows:
        peer = float(row["peer s"])
        lines.append(f"| {row['format']}, 10^{len(row['nonzeros']) - 1} | {row['MB']} | {float(row['own s']):.3f} s | "
                     f"{float(row['numbers s']):.3f} s | "
                     + (f"{PEERS[row['format']]} {peer:.3f} s" if peer else "–") + f" | {float(row['own/numbers']):.1f} | "
                     + (f"{float(row['peer/own']):.1f}" if peer else "–") + " |\n")
    return head + "".join(lines)


def write_chart(path, rows):
    """Time a non-zero over the number of non-zeros: a flat line is linear growth."""
    import matplotlib
    matplotlib.use("svg")
    matplotlib.rcParams.update({"svg.hashsalt": "modelfiles", "font.size": 9.5, "axes.edgecolor": "#888888"})
    from matplotlib import pyplot

    figure, all_axes = pyplot.subplots(1, 3, figsize=(9, 3.4), sharey=True)
    for axes, (form, title) in zip(all_axes, [("mps", "MPS"), ("lp", "LP"), ("nl", ".nl")]):
        own = [row for row in rows if row["format"] == form]
        sizes = [int(row["nonzeros"]) for row in own]
        for key, label, marker, colour in [("peer s", "CoinUtils; ASL for .nl", "s", "#d55e00"),
                                           ("own s", "tavmodelfile", "o", "#0072b2"),
                                           ("numbers s", "finding and parsing the numbers alone", "|", "black")]:
            values = [1e9 * float(row[key]) / size for row, size in zip(own, sizes)]
            if any(values):
                axes.plot(sizes, values, marker=marker, color=colour, linewidth=1.2, label=label)
        axes.set_xscale("log")
        axes.set_yscale("log")
        axes.set_title(title, fontsize=10.5)
        axes.set_xlabel("non-zeros")
        axes.grid(color="#dddddd", linewidth=0.6)
        axes.yaxis.set_major_formatter(lambda value, _: f"{value:g}")
    all_axes[0].set_ylabel("processor time, ns per non-zero")
    handles, labels = all_axes[0].get_legend_handles_labels()
    figure.legend(handles, labels, loc="lower center", ncols=3, frameon=False, fontsize=9)
    figure.tight_layout(rect=(0, 0.09, 1, 1))
    figure.savefig(path, facecolor="white", metadata={"Date": None, "Creator": None})


def main(program, page, chart, pin):
    rows = measure(program, pin)
    with open(page, encoding="utf-8") as file:
        text = file.read()
    before, rest = text.split(MARKS[0])
    after = rest.split(MARKS[1])[1]
    with open(page, "w", encoding="utf-8") as file:
        file.write(before + MARKS[0] + "\n" + table(rows) + "\n" + MARKS[1] + after)
    write_chart(chart, rows)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:])
