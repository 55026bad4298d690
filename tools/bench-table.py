#!/usr/bin/env python3
"""Prints what tools/bench.sh measured as Markdown. Rows and columns are those of the benchmark's own tables, in their
order: a workload or a way of drawing that is added there needs nothing here."""

import json
import pathlib
import statistics
import sys

PLACES = ("clipped", "visible")


def medians(path):
    """{(workload, way, place): {"ms": ..., "waits": ...}} in the order of registration."""
    runs = [run for run in json.loads(path.read_text())["benchmarks"] if run.get("aggregate_name") == "median"]
    runs.sort(key=lambda run: run["family_index"])
    return {tuple(run["label"].split("|")): {"ms": run["real_time"], "waits": run["waits"]} for run in runs}


def spread(path):
    """How far repetitions of one way lie apart: the coefficients of variation, in percent, by place."""
    found = {place: [] for place in PLACES}
    for run in json.loads(path.read_text())["benchmarks"]:
        if run.get("aggregate_name") == "cv":
            found[run["label"].split("|")[2]].append(100.0 * run["real_time"])
    middle = [f"{place} {statistics.median(values):.0f} %" for place, values in found.items()]
    print(f"\nStandard deviation of the repetitions, the middle one of all ways: {', '.join(middle)}.")


def number(value):
    """Two digits behind the point below 10, one below 100, then none."""
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:.0f}"


def pair(values):
    return " / ".join("–" if value is None else number(value) for value in values) if any(values) else ""


def table(driver, null):
    workloads = list(dict.fromkeys(workload for workload, _, _ in driver))
    ways = list(dict.fromkeys(way for _, way, _ in driver))
    base, hand, library = "glBegin", "by hand", "4.x"

    def milliseconds(results, workload, way):
        return [results.get((workload, way, place), {}).get("ms") for place in PLACES]

    def ratios(above, below):
        return [a / b if a and b else None for a, b in zip(above, below)]

    others = [way for way in ways if way != base]
    print(f"| Frame | `{base}`, ms | {' | '.join(others)} | 4.x: time by hand = 1 | the same, null driver | waits | waits, shared |")
    print("|---" * (len(others) + 6) + "|")
    for workload in workloads:
        begin = milliseconds(driver, workload, base)
        if not any(begin):
            continue
        cells = [workload, pair(begin)]
        cells += [pair(ratios(begin, milliseconds(driver, workload, way))) for way in others]
        against_hand = ratios(milliseconds(driver, workload, library), milliseconds(driver, workload, hand))
        cells.append(pair(against_hand))
        swallowed = ratios(milliseconds(null, workload, library), milliseconds(null, workload, hand))
        cells.append(number(swallowed[0]) if swallowed[0] else "")
        for way in (library, f"{library}, shared"):
            waits = driver.get((workload, way, "visible"), {}).get("waits")
            cells.append("" if waits is None else f"{waits:,.0f}")
        print("| " + " | ".join(cells) + " |")
    own = [workload for workload in workloads if not any(milliseconds(driver, workload, base))]
    if own:
        print(f"\n| Only the library | fixed-function, ms | {library}, ms |\n|---|---|---|")
    for workload in own:
        print(f"| {workload} | {' | '.join(pair(milliseconds(driver, workload, way)) for way in ('fixed-function', library))} |")


def starts(path):
    values = {}
    for line in path.read_text().splitlines():
        name, value, unit = line.split("\t")
        values.setdefault((name, unit.strip()), []).append(float(value))
    print("\n| Once | |\n|---|---|")
    for (name, unit), taken in values.items():
        print(f"| {name} | {number(statistics.median(taken))} {unit} |")


def clouds(folder):
    columns = {}
    for pipeline in ("4x", "fixed"):
        for line in (folder / f"cloud-{pipeline}.txt").read_text().splitlines():
            name, value, unit = line.split("\t")
            columns.setdefault((name, unit.strip()), []).append(number(float(value)))
    print("\n| A large cloud | 4.x | fixed-function |\n|---|---|---|")
    for (name, unit), (programs, fixed) in columns.items():
        print(f"| {name} | {programs} {unit} | {fixed} {unit} |")


def main():
    folder = pathlib.Path(sys.argv[1])
    table(medians(folder / "driver.json"), medians(folder / "null.json"))
    spread(folder / "driver.json")
    starts(folder / "start.txt")
    clouds(folder)


main()
