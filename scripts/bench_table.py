#!/usr/bin/env python3
"""Writes a Markdown table for each report of a benchmark program.

    bench_table.py REPORT.json... >table.md

The reports are those of Google Benchmark (--benchmark_out_format=json). Benchmarks are named
"workload|library" or "workload|library/N:100000" (bench/common/Bench.h): the former makes the row,
the latter the column. A cell is the median of the repetitions (of a report without medians the last
of them), and how many times ours it takes; or why there is no time. A benchmark that counts instead
(benchmark::State::counters) makes a row of each counter.
"""

import json
import os
import re
import sys

OURS = "certstore"
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
# What Google Benchmark itself puts behind a name.
OPTION = re.compile(r"(manual_time|real_time|process_time|(min_time|min_warmup_time|iterations"
                    r"|repeats):.*)$")

# What Google Benchmark itself puts into a report with a decimal point.
STANDARD = {"real_time", "cpu_time", "items_per_second"}


class Count(float):
    """A number that is no time."""


def parse_name(name):
    """((workload, N), library, whether its "real" time counts). N is None or the number
    behind "/N:"; labels that mean nothing here stay in the workload."""
    workload, _, rest = name.rpartition("|")
    library, *labels = rest.split("/")
    by_real = "real_time" in labels or "manual_time" in labels
    size = None
    for label in labels:
        if label.startswith("N:"):
            size = int(label[2:])
        elif not OPTION.match(label):
            workload += "/" + label
    return (workload, size), library, by_real


def read_report(path):
    """The context, and {(workload, N): {library: nanoseconds, Count or text of a failure}} in the
    order of registration, those of one workload together: the report itself is in that of running,
    which interleaving makes random."""
    with open(path, encoding="utf-8") as file:
        report = json.load(file)
    runs = sorted(report["benchmarks"],
                  key=lambda run: (run["family_index"], run["per_family_instance_index"]))
    rows = {}
    for run in runs:
        key, library, by_real = parse_name(run["run_name"])
        counts = {name: Count(value) for name, value in run.items()
                  if name not in STANDARD and isinstance(value, float)}
        if run.get("error_occurred"):
            rows.setdefault(key, {})[library] = run["error_message"]
        elif run.get("aggregate_name", "median") != "median":
            continue
        elif counts:
            for name, value in counts.items():
                rows.setdefault((f"{key[0]}: {name}", key[1]), {})[library] = value
        else:
            time = run["real_time" if by_real else "cpu_time"]
            rows.setdefault(key, {})[library] = time * NANOSECONDS[run["time_unit"]]
    workloads = list(dict.fromkeys(workload for workload, _ in rows))
    rows = dict(sorted(rows.items(), key=lambda row: (workloads.index(row[0][0]), row[0][1] or 0)))
    return report["context"], rows


def three_digits(number):
    return f"{number:.{2 if number < 9.995 else 1}f}" if number < 99.95 else f"{number:,.0f}"


def as_time(nanoseconds):
    units = ("s", 1e9), ("ms", 1e6), ("µs", 1e3), ("ns", 1)
    unit, size = next((unit for unit in units if nanoseconds >= unit[1]), units[-1])
    return f"{three_digits(nanoseconds / size)} {unit}"


def cell(row, library):
    value, ours = row.get(library), row.get(OURS)
    if value is None:
        return ""
    if isinstance(value, str):
        return "— " + value.replace("|", "/")
    text = three_digits(value) if isinstance(value, Count) else as_time(value)
    if library == OURS or not isinstance(ours, float) or ours == 0:
        return text
    return f"{text} ({three_digits(value / ours)})"


def write_table(rows):
    libraries = list(dict.fromkeys(library for row in rows.values() for library in row))
    libraries.sort(key=lambda library: library != OURS)
    print("| Workload | " + " | ".join(libraries) + " |")
    print("|---" * (len(libraries) + 1) + "|")
    for (workload, size), row in rows.items():
        name = workload if size is None else f"{workload}, N = {size:,}"
        print(f"| {name} | " + " | ".join(cell(row, library) for library in libraries) + " |")


def main(paths):
    heading = None
    for path in paths:
        context, rows = read_report(path)
        lines = [f"{key.capitalize()}: {context[key]}" for key in ("processor", "compiler")
                 if context.get(key)]
        print(f"## {os.path.splitext(os.path.basename(path))[0]}\n")
        if lines != heading:
            print("  \n".join(lines))
            print(f"\nMedians of one run; in parentheses the time as a multiple of {OURS}'s.\n")
            heading = lines
        if context.get("note"):
            print(context["note"] + "\n")
        write_table(rows)
        print()


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(sys.argv[1:])
