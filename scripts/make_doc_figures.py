#!/usr/bin/env python3
"""Fills the pages' figures from docs/data: the lines between "<!-- figures: NAME -->" and "<!-- end -->".

usage: make_doc_figures.py [--check]    (--check: writes nothing and fails where a page is behind its data)

Shapes and shifts come from measured.json (scripts/make_doc_pictures.py), times from the benchmark's *.tsv.
"""
import csv
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATA = ROOT / "docs" / "data"
KERNELS = ["triangle", "box", "Lanczos 3", "Lanczos 8", "Mitchell", "poly3", "cubic"]
BLOCK = re.compile(r"^<!-- figures: (\w+) -->\n(?:.*?^<!-- end -->\n)?", re.M | re.S)


def number(value, digits):
    """With a true minus sign, and no minus before a zero."""
    text = f"{value:.{digits}f}"
    return text.lstrip("-") if float(text) == 0 else text.replace("-", "−")


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|---" * len(heads) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def benchmark(series):
    """The first contestant's row for each workload of a series; it is the one being measured, the others are peers."""
    found = {}
    for path in sorted(DATA.glob("*.tsv")):
        with open(path, encoding="utf-8", newline="") as file:
            for row in csv.DictReader(file, delimiter="\t"):
                if row.get("series") == series:
                    found.setdefault(row["workload"], row)
    return found


def shifts(measured):
    heads = ["method"] + [ratio.removesuffix("/1") + "×" if ratio.endswith("/1") else ratio
                          for ratio in measured["ratios"]]
    rows = [[row["method"]] + ["–" if value is None else number(value, 2) for value in row["shifts"]]
            for row in measured["shifts"]]
    return table(heads, rows)


def costs():
    """Columns of times by kernel, none where there is no benchmark."""
    times = benchmark("table")
    columns = []
    for head, what in (("12 megapixels to 1/4", "reduce"), ("0.75 megapixels to 2.5×", "enlarge")):
        cells = [times.get(f"{what} {name.replace(' ', '').lower()}") for name in KERNELS]
        if all(cells):
            columns.append([f"{head}, × memcpy"] + [number(float(cell["ratio"]), 1) for cell in cells])
    return columns


def stars(value, limits):
    """Five for a value up to the first limit, one less for each limit that it passes."""
    passed = sum(value > limit for limit in limits)
    return "★" * (5 - passed) + "☆" * passed


def ratings(measured):
    """Stars by thresholds on the measured figures; speed by the reduction's cost against the cheapest kernel's."""
    heads = ["name", "keeps detail", "no halos", "no pixel grid"]
    times = benchmark("table")
    costs_by_name = [times.get(f"reduce {name.replace(' ', '').lower()}") for name in KERNELS]
    timed = all(costs_by_name)
    rows = []
    for mode, name in enumerate(KERNELS, 1):
        figure = measured["kernels"][str(mode)]
        row = [name, stars(-figure["quarter"], (0.3, 1.0, 1.6, 3.0)),
               stars(figure["overshootEnlarged"], (0.5, 5, 10, 12)), stars(figure["beyond"], (-45, -40, -35, -20))]
        if timed:
            ratios = [float(cell["ratio"]) for cell in costs_by_name]
            row.append(stars(ratios[mode - 1] / min(ratios), (1.3, 2.5, 4, 7)))
        rows.append(row)
    return table(heads + (["speed"] if timed else []), rows)


def kernels(measured):
    heads = ["mode", "name", "reach", "lowest weight", "overshoot enlarging, %", "overshoot at 1/4, %",
             "gain at ¼, dB", "gain at ½, dB", "most from 1 up, dB"]
    figures = measured["kernels"]
    rows = []
    for mode, name in enumerate(KERNELS, 1):
        figure = figures[str(mode)]
        rows.append([str(mode), name, f"{figure['reach']:g}", number(figure["lowest"], 2)] +
                    [number(figure[key], 1) for key in
                     ("overshootEnlarged", "overshootReduced", "quarter", "half", "beyond")])
    for head, *cells in costs():
        heads.append(head)
        rows = [row + [cell] for row, cell in zip(rows, cells)]
    return table(heads, rows)


def gaps(_):
    rows = benchmark("gaps")
    if not rows:
        return "`pixmorph scale in.jpg out.png --size 25% --yield -10 --json` reports it as `longestGapMs`."
    cells = [[name, number(float(row["ms"]), 1)] for name, row in rows.items()]
    return "Measured with an interval of −10:\n\n" + table(["call", "longest gap, ms"], cells)


FIGURES = {"shifts": shifts, "kernels": kernels, "gaps": gaps, "ratings": ratings}


def filled(text, measured):
    def block(match):
        make = FIGURES.get(match[1])
        if make is None:
            return match[0]
        return f"<!-- figures: {match[1]} -->\n\n{make(measured)}\n\n<!-- end -->\n"

    return BLOCK.sub(block, text)


def main():
    measured = json.loads((DATA / "measured.json").read_text(encoding="utf-8"))
    behind = []
    for path in sorted((ROOT / "docs" / "guide").glob("*.md")):
        text = path.read_text(encoding="utf-8")
        new = filled(text, measured)
        if new == text:
            continue
        behind.append(path.relative_to(ROOT).as_posix())
        if "--check" not in sys.argv[1:]:
            path.write_text(new, encoding="utf-8")
    if "--check" in sys.argv[1:]:
        print("\n".join(f"{name}: behind docs/data; run scripts/make_doc_figures.py" for name in behind) or "up to date")
        return 1 if behind else 0
    print("\n".join(f"{name}: figures filled in" for name in behind) or "nothing to change")
    return 0


if __name__ == "__main__":
    sys.exit(main())
