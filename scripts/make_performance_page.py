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


def floor_level(folder):
    """Ours and the peers', both with nothing beyond SSE2."""
    lines = ["| workload | ours | fastest peer | its time |", "|---" * 4 + "|"]
    for name, rows in by_workload(rows_of(folder / "table-sse2.tsv")).items():
        ours, _, peer = cells_of(rows)
        lines.append(f"| {name} | {ours:.2f} | " + (f"{peer[1]} | {peer[0]:.2f} |" if peer else " | |"))
    return "\n".join(lines)


def levels(folder):
    found = {level: {row["workload"]: float(row["ratio"]) for row in rows_of(folder / f"table-{level}.tsv")
                      if row["contestant"] == OURS} for level in LEVELS}
    found["avx512"] = found["avx512"] or {row["workload"]: float(row["ratio"]) for row in rows_of(folder / "table.tsv")
                                          if row["contestant"] == OURS and row["what"].startswith("avx512")}
    present = [level for level in LEVELS if found[level]]
    names = list(dict.fromkeys(name for level in present for name in found[level]))
    lines = ["| workload | " + " | ".join(present) + " |", "|---" * (len(present) + 1) + "|"]
    for name in names:
        cells = [f"{found[level][name]:.2f}" if name in found[level] else "" for level in present]
        lines.append(f"| {name} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def memory(folder):
    rows = rows_of(folder / "memory.tsv")
    return "\n".join(["| workload | bytes |", "|---|---|"] + [f"| {r['workload']} | {int(r['bytes']):,} |" for r in rows])


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
    for name, make in {"table": table, "levels": levels, "floor": floor_level, "memory": memory, "origin": origin}.items():
        block = f"<!-- figures: {name} -->\n\n{make(folder)}\n\n<!-- end -->"
        text = re.sub(rf"<!-- figures: {name} -->.*?<!-- end -->", lambda _, block=block: block, text, flags=re.S)
    PAGE.write_text(text, encoding="utf-8")
    for file in ("table.tsv", "gaps.tsv", "memory.tsv", "curves.tsv"):
        if (folder / file).exists():
            shutil.copy(folder / file, DATA / file)
    for plot in ("ratio", "size", "radius", "taps"):
        if (folder / f"{plot}.svg").exists():
            shutil.copy(folder / f"{plot}.svg", MEDIA / f"{plot}.svg")


if __name__ == "__main__":
    main()
