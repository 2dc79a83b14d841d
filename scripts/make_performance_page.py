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
OURS = "pixmorph"


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


def table(folder):
    lines = ["| workload | ours | goal / stretch | | fastest peer | its call | its time |", "|---|---|---|---|---|---|---|"]
    for name, rows in by_workload(rows_of(folder / "table.tsv")).items():
        ours = next(row for row in rows if row["contestant"] == OURS)
        peers = sorted((row for row in rows if row["contestant"] != OURS), key=lambda row: float(row["ratio"]))
        peer = f"{peers[0]['contestant']} | {peers[0]['what']} | {float(peers[0]['ratio']):.2f}" if peers else "| | "
        lines.append(f"| {name} | **{float(ours['ratio']):.2f}** | {ours['goal']} / {ours['stretch']} | {verdict(ours)} | {peer} |")
    return "\n".join(lines)


def levels(folder):
    found = {level: {row["workload"]: float(row["ratio"]) for row in rows_of(folder / f"table-{level}.tsv")} for level in LEVELS}
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
    for name, make in {"table": table, "levels": levels, "memory": memory, "origin": origin}.items():
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
