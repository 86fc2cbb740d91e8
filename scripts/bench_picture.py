#!/usr/bin/python3
"""Draws what finding and adding cost against the number of certificates in the store.

    bench_picture.py REPORT.json PICTURE.svg

The report is that of store_bench; bench_table.py says how it is read.
"""

import sys

import matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plt

from bench_table import OURS, as_time, read_report

PANELS = {"find by subject": "Find by subject", "add a certificate": "Add a certificate"}


def curves(rows, workload):
    """{library: [(N, nanoseconds)]} of one workload, without what was not run."""
    found = {}
    for (name, size), row in rows.items():
        for library, time in row.items():
            if name == workload and isinstance(time, float):
                found.setdefault(library, []).append((size, time))
    return found


def style_of(library):
    if library == OURS:
        return {"linewidth": 2.8, "color": "black", "zorder": 3}
    return {"linewidth": 1.4, "linestyle": ":" if library == "floor" else "-"}


def tick_time(nanoseconds, _):
    return as_time(nanoseconds).replace(".00 ", " ").replace(".0 ", " ")


def draw_panel(axes, title, lines):
    for library, points in lines.items():
        axes.loglog(*zip(*points), marker="o", markersize=4, label=library, **style_of(library))
    axes.set_title(title)
    axes.set_xlabel("certificates in the store")
    axes.tick_params(labelsize="small")
    axes.xaxis.set_major_formatter(lambda size, _: f"{size:,.0f}")
    axes.yaxis.set_major_formatter(tick_time)
    axes.grid(True, which="major", alpha=0.3)


def main(report, picture):
    _, rows = read_report(report)
    # Text stays text, and the same numbers give the same file.
    plt.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": OURS})
    figure, panels = plt.subplots(1, len(PANELS), figsize=(11, 4.2), sharey=True)
    for axes, (workload, title) in zip(panels, PANELS.items()):
        draw_panel(axes, title, curves(rows, workload))
    panels[0].set_ylabel("time of one call")
    panels[-1].legend(loc="center left", bbox_to_anchor=(1, 0.5), frameon=False)
    figure.tight_layout()
    figure.savefig(picture, metadata={"Date": None})


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
