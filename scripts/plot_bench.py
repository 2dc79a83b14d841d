#!/usr/bin/env python3
"""Plots the benchmark's figures with gnuplot: plot_bench.py FOLDER reads its *.tsv and writes *.svg beside them."""
import csv
import pathlib
import shutil
import subprocess
import sys

TERMINAL = "set terminal svg size 960,540 font 'sans,13' background 'white'\n"


def rows_of(path):
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file, delimiter="\t"))


def gnuplot(script):
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def plot_ratios(folder):
    """Bars: how many times longer the fastest peer takes than the plugin, per workload."""
    best = {}
    for row in rows_of(folder / "table.tsv"):
        if row["contestant"] == "memory":
            continue
        best.setdefault(row["workload"], {}).setdefault(row["contestant"] == "pixmorph", []).append(float(row["ms"]))
    data = "".join(f'"{name}" {min(ms[False]) / min(ms[True]):.3f}\n' for name, ms in best.items() if len(ms) == 2)
    if not data:
        return
    gnuplot(TERMINAL + f"""set output '{folder / "ratio.svg"}'
set title 'Time of the fastest peer, in multiples of ours (above 1: we are faster)'
set style fill solid 0.8
set boxwidth 0.7
set yrange [0:*]
set grid ytics
set xtics rotate by -40 font 'sans,10'
set rmargin at screen 0.92
$data << EOD
{data}EOD
plot $data using 2:xtic(1) with boxes notitle linecolor rgb '#336699', 1 with lines notitle linecolor rgb '#cc3333'
""")


def plot_curve(folder, series, label, log):
    curves = {}
    for row in rows_of(folder / "curves.tsv"):
        if row["series"] == series:
            curves.setdefault(row["workload"], []).append((float(row["variable"]), float(row["ratio"])))
    if not curves:
        return
    blocks = "".join(f"$c{i} << EOD\n" + "".join(f"{x} {y}\n" for x, y in sorted(points)) + "EOD\n"
                     for i, points in enumerate(curves.values()))
    lines = ", ".join(f"$c{i} with linespoints title '{name}'" for i, name in enumerate(curves))
    gnuplot(TERMINAL + blocks + f"""set output '{folder / (series + ".svg")}'
set title 'Cost against {label}'
set xlabel '{label}'
set ylabel 'multiples of one 48 MB memcpy'
set logscale {log}
set grid
set key left top
plot {lines}
""")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    if not shutil.which("gnuplot"):
        sys.exit("plot_bench: gnuplot is not installed (package gnuplot-nox); the figures are there, the plots are not")
    folder = pathlib.Path(sys.argv[1])
    plot_ratios(folder)
    plot_curve(folder, "size", "megapixels of the source", "xy")
    plot_curve(folder, "radius", "radius in pixels", "x")
    plot_curve(folder, "taps", "taps per axis", "xy")


if __name__ == "__main__":
    main()
