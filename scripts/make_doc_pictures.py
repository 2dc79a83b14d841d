#!/usr/bin/env python3
"""Makes the pictures and measured figures of the pages with the built command: docs/media and docs/data.

usage: make_doc_pictures.py PIXMORPH [PART ...]     parts: examples, sheets, footprints, measured; all without any
"""
import json
import math
import pathlib
import sys

sys.dont_write_bytecode = True

from docs import footprints, measure, plots, sheets  # noqa: E402
from docs.command import Command  # noqa: E402
from docs.examples import Example, examples  # noqa: E402
from docs.picture import write_png  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent
MEDIA = ROOT / "docs" / "media"
DATA = ROOT / "docs" / "data"
PHOTOS = ROOT / "media"

MOST_BYTES, MOST_BYTES_TOGETHER = 60_000, 1_000_000
JPEG_QUALITY = 82
FLOOR_DB = -60


def make_examples(command):
    """The pictures that the pages' examples save. A page that shows one as .jpg gets it packed with losses."""
    records = command.report("info", "--host-version", "none")["registrations"]
    declarations = {method.split("(")[0]: method for record in records for method in record["methods"]}
    for page in sorted((ROOT / "docs" / "reference").glob("*.md")):
        text = page.read_text(encoding="utf-8")

        def keep(name, path, _, text=text):
            jpeg = pathlib.Path(name).with_suffix(".jpg").name
            shown = jpeg if f"media/{jpeg})" in text else name
            command.unchanged(path, MEDIA / shown, "--force", "--quality", JPEG_QUALITY)

        for block in examples(text):
            Example(command, PHOTOS, declarations).run(block, keep)


def make_sheets(command):
    write_png(MEDIA / "kernels.png", sheets.kernels_on_photo(command, PHOTOS))
    write_png(MEDIA / "zone-plate.png", sheets.reduced_sheet(command, sheets.zone_plate(300), 3))
    write_png(MEDIA / "text.png", sheets.enlarged_sheet(command, sheets.line_of_text(), 4))
    write_png(MEDIA / "hard-edge.png", sheets.enlarged_sheet(command, sheets.hard_edge(), 8))
    write_png(MEDIA / "fringes.png", sheets.fringes(command))
    write_png(MEDIA / "differences.png", sheets.differences(command, PHOTOS))


def make_measured(command):
    curves, figures = measure.kernels(command)
    measured = {"kernels": figures, "ratios": [f"{up}/{down}" for up, down in measure.RATIOS],
                "shifts": measure.shifts(command)}
    text = json.dumps(measured, indent=1, ensure_ascii=False) + "\n"
    (DATA / "measured.json").write_text(text, encoding="utf-8")
    shown = {mode: [(x, y) for x, y in curve if abs(x) <= 4] for mode, curve in curves.items()}
    plots.panels(MEDIA / "kernel-curves.svg", shown, plots.Axes((-4, 4), (-0.25, 1.1), range(-4, 5, 2), (0, 0.5, 1)),
                 "Weight by distance in source pixels")
    frequencies = [step / 100 for step in range(201)]
    gains = {mode: [(f, max(FLOOR_DB, 20 * math.log10(gain + 1e-9)))
                    for f, gain in zip(frequencies, measure.frequency_response(curve, frequencies))]
             for mode, curve in curves.items()}
    plots.panels(MEDIA / "kernel-responses.svg", gains,
                 plots.Axes((0, 2), (FLOOR_DB, 5), (0, 0.5, 1, 1.5, 2), (-60, -40, -20, 0)),
                 "Gain in decibels by frequency in cycles a source pixel")


def make_footprints(command):
    footprints.draw(MEDIA / "footprints.svg", footprints.measure(command))


def too_large():
    sizes = {file.name: file.stat().st_size for file in MEDIA.iterdir()}
    faults = [f"{name}: {size} bytes, at most {MOST_BYTES} wanted" for name, size in sizes.items() if size > MOST_BYTES]
    if sum(sizes.values()) > MOST_BYTES_TOGETHER:
        faults.append(f"docs/media: {sum(sizes.values())} bytes together, at most {MOST_BYTES_TOGETHER} wanted")
    return faults


def main():
    parts = {"examples": make_examples, "sheets": make_sheets, "footprints": make_footprints,
             "measured": make_measured}
    MEDIA.mkdir(exist_ok=True)
    DATA.mkdir(exist_ok=True)
    with Command(sys.argv[1]) as command:
        for name in sys.argv[2:] or parts:
            parts[name](command)
    faults = too_large()
    print("\n".join(faults) or f"{len(list(MEDIA.iterdir()))} pictures made")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
