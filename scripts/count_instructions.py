#!/usr/bin/env python3
"""Counts instructions under callgrind: how many each workload of the benchmark takes for a pixel of its larger side.

usage: count_instructions.py BENCH OUT.tsv [LEVEL ...]     (levels: avx2 sse2; valgrind knows no AVX-512)

A count is the same on every machine and in every run, so it shows what a change to a kernel does where times are too
noisy to. The benchmark has to be a program that this processor runs by itself: the 64-bit rehearsal.
"""
import re
import subprocess
import sys
import tempfile

ENTRIES = ("pixmorph::PictureResizeKTZ", "pixmorph::PictureScalingKTZ", "pixmorph::BlurKTZ", "pixmorph::DrawPictureF")
CALLS = 2   # the warm-up and one round


def workloads(bench):
    text = subprocess.run([bench, "--list"], capture_output=True, text=True, check=True).stdout
    return [line.split("\t") for line in text.splitlines()]


def count(bench, level, name):
    """Instructions inside the methods."""
    with tempfile.NamedTemporaryFile() as out:
        line = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}"]
        line += [f"--toggle-collect={entry}(*" for entry in ENTRIES]
        done = subprocess.run([*line, bench, "--isa", level, "--filter", name, "--rounds", "1"], capture_output=True,
                              text=True, check=False)
        found = re.search(r"Collected : (\d+)", done.stderr)
        if done.returncode != 0 or not found:
            sys.exit(f"count_instructions.py: {name} at {level}: {done.stderr.strip()[-500:]}")
        return int(found[1]) / CALLS


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    bench, path, levels = sys.argv[1], sys.argv[2], sys.argv[3:] or ["avx2", "sse2"]
    with open(path, "w", encoding="utf-8") as file:
        file.write("\t".join(["workload", *levels]) + "\n")
        for name, pixels in workloads(bench):
            cells = [f"{count(bench, level, name) / int(pixels):.1f}" for level in levels]
            print(name, *cells, flush=True)
            file.write("\t".join([name, *cells]) + "\n")


if __name__ == "__main__":
    main()
