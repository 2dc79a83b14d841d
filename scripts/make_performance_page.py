#!/usr/bin/env python3
"""Fills docs/performance.md with the benchmark's figures: make_performance_page.py FOLDER, as ./bench.sh leaves it.

Copies what the page and others use to docs/data and docs/media, so that the page can be read without a run.
"""
import csv
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "performance.md"
DATA = ROOT / "docs" / "data"
MEDIA = ROOT / "docs" / "media"
LEVELS = ("avx512", "avx2", "sse41", "sse2", "scalar")
OURS, FLOOR = "pixmorph", "memory"


def rows_of(path):
    if not path.exists():
        return []
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file, delimiter="\t"))


def by_workload(rows):
    grouped = {}
    for row in rows:
        grouped.setdefault(row["workload"], []).append(row)
    return grouped


def verdict(row):
    ratio, goal, stretch = (float(row[key]) for key in ("ratio", "goal", "stretch"))
    return "stretch" if ratio <= stretch else "goal" if ratio <= goal else "behind"


def cells_of(rows):
    """Our ratio, the memory floor's, and the fastest library's name, call and ratio; None for what is missing."""
    ratios = {row["contestant"]: float(row["ratio"]) for row in rows}
    peers = sorted((float(row["ratio"]), row["contestant"], row["what"]) for row in rows
                   if row["contestant"] not in (OURS, FLOOR))
    return ratios[OURS], ratios.get(FLOOR), peers[0] if peers else None


def table(folder):
    lines = ["| workload | ours | goal / stretch | | memory | fastest peer | its call | its time |", "|---" * 8 + "|"]
    for name, rows in by_workload(rows_of(folder / "table.tsv")).items():
        ours, floor, peer = cells_of(rows)
        told = f"{peer[1]} | {peer[2]} | {peer[0]:.2f}" if peer else "| | "
        lines.append(f"| {name} | **{ours:.2f}** | {rows[0]['goal']} / {rows[0]['stretch']} | {verdict(rows[0])} | "
                     f"{floor or 0:.2f} | {told} |")
    return "\n".join(lines)


def held_down(folder):
    """Ours and the fastest peer's, both held to AVX2 and both held to SSE2."""
    heads = ["workload", "ours, AVX2", "fastest peer", "its time", "ours, SSE2", "fastest peer", "its time"]
    lines = ["| " + " | ".join(heads) + " |", "|---" * len(heads) + "|"]
    tables = [by_workload(rows_of(folder / f"table-{level}.tsv")) for level in ("avx2", "sse2")]
    for name in tables[0]:
        cells = []
        for table in tables:
            ours, _, peer = cells_of(table[name])
            cells += [f"{ours:.2f}", *((peer[1], f"{peer[0]:.2f}") if peer else ("", ""))]
        lines.append(f"| {name} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def side_by_side(tables):
    """Ratios, a column for each of the tables by heading."""
    found = {heading: {row["workload"]: float(row["ratio"]) for row in rows} for heading, rows in tables.items()}
    present = [heading for heading in found if found[heading]]
    names = list(dict.fromkeys(name for heading in present for name in found[heading]))
    lines = ["| workload | " + " | ".join(present) + " |", "|---" * (len(present) + 1) + "|"]
    for name in names:
        cells = [f"{found[heading][name]:.2f}" if name in found[heading] else "" for heading in present]
        lines.append(f"| {name} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def levels(folder):
    rows = rows_of(folder / "levels.tsv")
    return side_by_side({level: [row for row in rows if row["contestant"] == level] for level in LEVELS})


def stores(folder):
    rows = rows_of(folder / "stores.tsv")
    return side_by_side({heading: [row for row in rows if row["contestant"] == store] for heading, store in
                         (("console", "console"), ("cairo", "cairo"), ("3 bytes a pixel", "gdk"))})


def contents(folder):
    rows = rows_of(folder / "contents.tsv")
    kinds = list(dict.fromkeys(row["contestant"] for row in rows))
    return side_by_side({kind: [row for row in rows if row["contestant"] == kind] for kind in kinds})


def memory(folder):
    rows = rows_of(folder / "memory.tsv")
    lines = ["| workload | bytes |", "|---|---|"]
    return "\n".join(lines + [f"| {row['workload']} | {int(row['bytes']):,} |" for row in rows])


def icons(folder):
    """Microseconds a call on small pictures, by their side."""
    found = {}
    for row in rows_of(folder / "icons.tsv"):
        found.setdefault(row["workload"], {})[float(row["variable"])] = f"{1000 * float(row['ms']):.1f}"
    sides = sorted({side for times in found.values() for side in times})
    lines = ["| call | " + " | ".join(f"{side:.0f} × {side:.0f}" for side in sides) + " |"]
    lines.append("|---" * (len(sides) + 1) + "|")
    for name, times in found.items():
        lines.append(f"| {name} | " + " | ".join(times.get(side, "") for side in sides) + " |")
    return "\n".join(lines)


def instructions(folder):
    rows = rows_of(folder / "instructions.tsv")
    if not rows:
        return "Not counted."
    levels = [name for name in rows[0] if name != "workload"]
    lines = ["| workload | " + " | ".join(levels) + " |", "|---" * (len(levels) + 1) + "|"]
    for row in rows:
        lines.append(f"| {row['workload']} | " + " | ".join(row[level] for level in levels) + " |")
    return "\n".join(lines)


def origin(folder):
    text = (folder / "origin.txt").read_text(encoding="utf-8") if (folder / "origin.txt").exists() else ""
    return f"`{text.strip().lstrip('# ')}`"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    if not rows_of(folder / "table.tsv"):
        sys.exit(f"{folder}/table.tsv is missing or empty; run ./bench.sh first")
    text = PAGE.read_text(encoding="utf-8")
    makers = {"table": table, "levels": levels, "stores": stores, "contents": contents, "held": held_down,
              "memory": memory, "icons": icons, "instructions": instructions, "origin": origin}
    for name, make in makers.items():
        block = f"<!-- figures: {name} -->\n\n{make(folder)}\n\n<!-- end -->"
        text = re.sub(rf"<!-- figures: {name} -->.*?<!-- end -->", lambda _, block=block: block, text, flags=re.S)
    PAGE.write_text(text, encoding="utf-8")
    for file in ("table.tsv", "gaps.tsv", "memory.tsv", "curves.tsv", "icons.tsv", "instructions.tsv"):
        if (folder / file).exists():
            shutil.copy(folder / file, DATA / file)
    for plot in ("ratio", "size", "radius", "taps"):
        if (folder / f"{plot}.svg").exists():
            shutil.copy(folder / f"{plot}.svg", MEDIA / f"{plot}.svg")


if __name__ == "__main__":
    main()
