#!/usr/bin/env python3
"""Compares the methods' results with the committed checksums, level by level: check.py BENCH [LEVEL ...].

A level that the processor (or the emulator) lacks is named as skipped. --update writes methods.tsv from the scalar
level, after that level agreed with nothing but itself: look at why it changed before you commit it.
"""
import pathlib
import subprocess
import sys

FILE = pathlib.Path(__file__).with_name("methods.tsv")
LEVELS = ("scalar", "sse2", "sse41", "avx2", "avx512")


def run(bench, level):
    done = subprocess.run([bench, "--checksums", "--isa", level], capture_output=True, text=True, check=False)
    if done.returncode and "can't run level" in done.stderr:
        return None
    if done.returncode:
        sys.exit(f"{level}: {done.stderr.strip() or f'exit {done.returncode}'}")
    return done.stdout


def main():
    words = [word for word in sys.argv[1:] if word != "--update"]
    if not words:
        sys.exit(__doc__)
    if "--update" in sys.argv:
        FILE.write_text(run(words[0], "scalar"), encoding="utf-8")
    wanted = FILE.read_text(encoding="utf-8").splitlines()
    faults = []
    for level in words[1:] or LEVELS:
        output = run(words[0], level)
        if output is None:
            print(f"{level}: skipped, not to be had here")
            continue
        got = output.splitlines()
        wrong = [f"{level}: {a} instead of {b}" for a, b in zip(got, wanted) if a != b]
        if len(got) != len(wanted):
            wrong.append(f"{level}: {len(got)} results instead of {len(wanted)}")
        faults += wrong
        print(f"{level}: {len(got) - len(wrong)} of {len(wanted)} results as committed")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
