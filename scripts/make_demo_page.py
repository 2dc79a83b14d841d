#!/usr/bin/env python3
"""Makes one self-contained page of the pictures that "pixmorph gallery --json" made, and tells what was done.

usage: make_demo_page.py PAGE REPORT...   (each report: the gallery's output for one mode, one object a line)
"""
import base64
import html
import json
import os
import sys

ZOOM = 8
EMBEDDED_ORIGINAL_BYTES = 400_000

STYLE = """
:root { color-scheme: light dark; --line: #8884; }
* { box-sizing: border-box; }
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 76rem; padding: 1rem; }
h1 { font-size: 1.5rem; margin: .5rem 0; } h2 { border-top: 1px solid var(--line); margin-top: 2.5rem; padding-top: 1rem; }
h3 { font-size: 1rem; margin: 1.5rem 0 .5rem; }
nav a { margin-right: 1rem; }
.row { display: grid; gap: .75rem; grid-template-columns: repeat(auto-fill, minmax(min(100%, 20rem), 1fr)); }
.sheet { display: grid; gap: .75rem; grid-template-columns: repeat(auto-fill, minmax(9.5rem, 1fr)); }
figure { margin: 0; min-width: 0; } figcaption { font-size: .85rem; } figcaption small { opacity: .7; }
img { display: block; height: auto; max-width: 100%; }
.crop { background-repeat: no-repeat; border: 1px solid var(--line); image-rendering: pixelated; margin-top: .35rem;
        height: 160px; max-width: 100%; width: 160px; }
.see-through img { background: repeating-conic-gradient(#bbb 0 25%, #eee 0 50%) 0 / 16px 16px; }
.scroll { overflow-x: auto; } table { border-collapse: collapse; font-size: .85rem; }
th, td { border: 1px solid var(--line); padding: .2rem .5rem; text-align: right; white-space: nowrap; }
th:first-child, td:first-child { text-align: left; } .bad { color: #c22; }
"""


def read_reports(paths):
    rows = []
    for path in paths:
        with open(path, encoding="utf-8") as file:
            rows += [json.loads(line) for line in file if line.strip()]
    # What stopped a whole gallery belongs to no photo; the gallery has said it on stderr.
    return [row for row in rows if "input" in row]


def data_uri(path):
    kind = "png" if path.lower().endswith(".png") else "jpeg"
    with open(path, "rb") as file:
        return f"data:image/{kind};base64," + base64.b64encode(file.read()).decode()


def milliseconds(row):
    return f"{row['times']['methodMs']:.1f} ms"


class Page:
    """Every picture is embedded once, as a style rule where it is shown twice."""

    def __init__(self):
        self.rules, self.body = [], []

    def figure(self, source, caption, note=""):
        self.body.append(f"<figure><img src=\"{source}\" alt=\"{html.escape(caption)}\" loading=\"lazy\">"
                         f"<figcaption>{html.escape(caption)} <small>{html.escape(note)}</small></figcaption></figure>")

    def result(self, row, caption):
        self.figure(data_uri(row["output"]), caption, f"{size_text(row['result'])}, {milliseconds(row)}")

    def kernel(self, row):
        """The picture as it is, and its most detailed square with every pixel eight times as large."""
        name = f"k{len(self.rules)}"
        width, height = row["result"]["width"], row["result"]["height"]
        focus = row["parameters"]
        self.rules.append(f".{name} {{ background-image: url({data_uri(row['output'])}) }}")
        crop = (f"background-size: {width * ZOOM}px {height * ZOOM}px; "
                f"background-position: -{focus['focusX'] * ZOOM}px -{focus['focusY'] * ZOOM}px")
        self.body.append(
            f"<figure><div class=\"{name}\" role=\"img\" style=\"aspect-ratio: {width} / {height}; "
            f"background-size: 100% 100%; max-width: {width}px\"></div><div class=\"crop {name}\" style=\"{crop}\"></div>"
            f"<figcaption><b>{row['parameters']['kernel']}</b> <small>{milliseconds(row)}</small></figcaption></figure>")

    def open(self, title, kind):
        self.body.append(f"<h3>{html.escape(title)}</h3><div class=\"{kind}\">")

    def close(self):
        self.body.append("</div>")

    def text(self, title):
        return ("<!doctype html><html lang=\"en\"><meta charset=\"utf-8\">"
                "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
                f"<title>{title}</title><style>{STYLE}{' '.join(self.rules)}</style><body>{''.join(self.body)}</body></html>")


def size_text(size):
    return f"{size['width']}x{size['height']}"


def photos_in(rows):
    return list(dict.fromkeys(row["input"] for row in rows))


def with_method(rows, method):
    return [row for row in rows if row.get("method") == method and "output" in row]


def modes_in(rows):
    return list(dict.fromkeys(row["mode"] for row in rows))


def add_original(page, photo, scaled):
    page.open("Original and ScaleKTZ, the area average", "row")
    if os.path.getsize(photo) <= EMBEDDED_ORIGINAL_BYTES:
        page.figure(data_uri(photo), "original", size_text(scaled["source"]))
    page.result(scaled, "scaled")
    page.close()


def add_kernels(page, rows):
    for direction, title in (("reduced", "reduced to a third"), ("enlarged", "a detail, enlarged four times")):
        page.open(f"ScalingKTZ: the seven kernels, {title}; below each a crop, 8 times as large", "sheet")
        for row in with_method(rows, "ScalingKTZ"):
            if row["parameters"]["direction"] == direction:
                page.kernel(row)
        page.close()


def add_effects(page, rows):
    page.open("BlurKTZ at several radii", "row")
    for row in with_method(rows, "BlurKTZ"):
        page.result(row, f"radius {row['parameters']['radius']}")
    page.close()
    page.open("ScaleImageAndMaskKTZ: the transparency is scaled too", "row see-through")
    for row in with_method(rows, "ScaleImageAndMaskKTZ"):
        page.result(row, "half the size")
    page.close()
    page.open("DrawPictureFKTZ: a badge with its mask, between the pixels", "row")
    for row in with_method(rows, "DrawPictureFKTZ"):
        of = row["parameters"]
        page.result(row, f"at {of['x']:.2f}, {of['y']:.2f}, opacity {of['opacity']:g}")
    page.close()


def mode_cell(row, reference):
    if row is None:
        return "<td>-</td>"
    if "refused" in row:
        return "<td>refused: can only be read here</td>"
    if row["result"]["checksum"] != reference["result"]["checksum"]:
        return f"<td class=\"bad\">{milliseconds(row)}, another picture!</td>"
    return f"<td>{milliseconds(row)}</td>"


def find_run(rows, mode, reference):
    name = os.path.basename(reference["output"])
    for row in rows:
        if row["mode"] == mode and os.path.basename(row.get("output", "")) == name:
            return row
    refusals = [row for row in rows if row["mode"] == mode and "refused" in row]
    return refusals[0] if refusals and reference["method"] == "DrawPictureFKTZ" else None


def add_modes(page, rows):
    """The methods that ran in every mode: how long they took, and that the pictures are the same."""
    modes = modes_in(rows)
    page.open("The same calls in every mode of the runtime: the same pictures", "scroll")
    page.body.append("<table><tr><th>method</th>" + "".join(f"<th>{mode}</th>" for mode in modes) + "</tr>")
    for reference in (row for row in rows if row["mode"] == modes[0] and "output" in row):
        runs = [find_run(rows, mode, reference) for mode in modes]
        if None in runs:
            continue
        label = f"{reference['method']} ({os.path.basename(reference['output'])[:-4]})"
        page.body.append(f"<tr><td>{label}</td>" + "".join(mode_cell(run, reference) for run in runs) + "</tr>")
    page.body.append("</table>")
    page.close()


def add_photo(page, number, photo, rows):
    page.body.append(f"<h2 id=\"p{number}\">{html.escape(os.path.basename(photo))}</h2>")
    # A file that can't be read fails alike in every mode.
    for error in dict.fromkeys(row["error"] for row in rows if "error" in row):
        page.body.append(f"<p class=\"bad\">{html.escape(error)}</p>")
    shown = [row for row in rows if row["mode"] == modes_in(rows)[0]]
    if not with_method(shown, "ScaleKTZ"):
        return
    add_original(page, photo, with_method(shown, "ScaleKTZ")[0])
    add_kernels(page, shown)
    add_effects(page, shown)
    add_modes(page, rows)


def make_page(rows):
    page, photos = Page(), photos_in(rows)
    page.body.append("<h1>Pixmorph: five methods on photographs</h1><nav>")
    for number, photo in enumerate(photos, 1):
        page.body.append(f"<a href=\"#p{number}\">{html.escape(os.path.basename(photo))}</a>")
    page.body.append("</nav><p>All pictures were made by the built library in the stand-in runtime. Times are of "
                     "the method alone, without reading and writing files.</p>")
    for number, photo in enumerate(photos, 1):
        add_photo(page, number, photo, [row for row in rows if row["input"] == photo])
    return page.text("Pixmorph demo")


def print_summary(rows):
    """One line per photo and mode: the time each method took in all its runs."""
    for photo in photos_in(rows):
        for mode in modes_in(rows):
            runs = [row for row in rows if (row["input"], row["mode"]) == (photo, mode) and "method" in row]
            if not runs:
                continue
            parts = []
            for method in dict.fromkeys(row["method"] for row in runs):
                times = [row["times"]["methodMs"] for row in runs if row["method"] == method and "times" in row]
                parts.append(f"{method} {len(times)}x {sum(times):.0f} ms" if times else f"{method} refused")
            print(f"  {os.path.basename(photo)}, {mode}: {', '.join(parts)}")


def main():
    page, *reports = sys.argv[1:]
    rows = read_reports(reports)
    print_summary(rows)
    with open(page, "w", encoding="utf-8") as file:
        file.write(make_page(rows))


if __name__ == "__main__":
    main()
