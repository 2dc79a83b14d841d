"""A diagram per method: lines from the source's pixels to the result's, as thick as the weight, along one axis.

The weights are what the built library does to one light column at a time; no formula is repeated here.
"""
from docs.picture import Picture

GROUND, STEP = 64, 128      # levels of the dark columns and of the light one above it: room for negative weights
DRAWN_AT, CANVAS = 1.25, 8  # where the drawn picture begins on its canvas, and the canvas's width, in pixels

WIDTH, HEIGHT, BOX, GAP, TITLE, COLUMNS = 300, 116, 16, 20, 20, 2

STYLE = """text{font:12px system-ui,sans-serif;fill:#333}.t{font-weight:600}.b{fill:#8882;stroke:#888}
.w{stroke:#1f6fb2}.n{stroke:#c2410c;stroke-dasharray:4 3}
@media(prefers-color-scheme:dark){text{fill:#ddd}.w{stroke:#7cb8ec}.n{stroke:#fb923c}}"""


class Footprint:
    """The weight of source pixel p in result pixel x by (p, x). `start` and `pitch` lay the source over the result:
    where its first pixel begins and how wide one is, in result pixels."""

    def __init__(self, title, source, result, method, start=0.0, pitch=None):
        self.title, self.source, self.result, self.start = title, source, result, start
        self.pitch = result / source if pitch is None else pitch
        self.weights = {}
        for pixel in range(source):
            row = method(_column(source, pixel))
            self.weights.update({(pixel, x): (sample - GROUND) / STEP for x, sample in enumerate(row)})


def _column(width, light):
    picture = Picture(width, width, 1, GROUND)
    for row in picture.rows:
        row[light] = GROUND + STEP
    return picture


def measure(command):
    """All methods' footprints."""
    def first_row(picture):
        return picture.rows[0][::picture.channels]

    def scale(side, *options):
        return lambda picture: first_row(command.scale(command.save(picture), side, side, *options))

    def resample(mode, side):
        return lambda picture: first_row(command.resample(command.save(picture), mode, side, picture.height))

    def draw(picture):
        canvas = command.save(Picture(CANVAS, picture.height, 1, GROUND))
        return first_row(command.draw(command.save(picture), canvas, DRAWN_AT, 0))

    return [Footprint("ScaleKTZ, 8 to 3", 8, 3, scale(3)), Footprint("ScaleKTZ, 3 to 8", 3, 8, scale(8)),
            Footprint("ScaleKTZ with AntiAlias, 4 to 8", 4, 8, scale(8, "--antialias")),
            Footprint("BlurKTZ, radius 1", 8, 8, lambda picture: first_row(command.blur(command.save(picture), 1))),
            Footprint("ScalingKTZ, triangle, 8 to 4", 8, 4, resample(1, 4)),
            Footprint("ScalingKTZ, box, 8 to 3", 8, 3, resample(2, 3)),
            Footprint("ScalingKTZ, Lanczos 3, 4 to 8", 4, 8, resample(3, 8)),
            Footprint(f"DrawPictureFKTZ at x = {DRAWN_AT}", 5, CANVAS, draw, DRAWN_AT, 1.0)]


def _panel(footprint):
    unit = WIDTH / footprint.result
    bottom = HEIGHT - BOX
    parts = [f'<text class="t" x="0" y="-7">{footprint.title}</text>']
    for (pixel, x), weight in footprint.weights.items():
        if abs(weight) > 1.5 / STEP:
            above = (footprint.start + (pixel + 0.5) * footprint.pitch) * unit
            kind = "w" if weight > 0 else "n"
            parts.append(f'<path class="{kind}" stroke-width="{max(0.6, 4 * abs(weight)):.1f}" '
                         f'd="M{above:.1f} {BOX}L{(x + 0.5) * unit:.1f} {bottom}"/>')
    for pixel in range(footprint.source):
        left = (footprint.start + pixel * footprint.pitch) * unit
        parts.append(_box(left, 0, footprint.pitch * unit, pixel))
    parts += [_box(x * unit, bottom, unit, x) for x in range(footprint.result)]
    return "".join(parts)


def _box(left, top, width, number):
    return (f'<rect class="b" x="{left:.1f}" y="{top}" width="{width:.1f}" height="{BOX}"/>'
            f'<text x="{left + width / 2:.1f}" y="{top + BOX - 4}" text-anchor="middle">{number}</text>')


def draw(path, footprints):
    """Writes one panel for each, the source above its result."""
    rows = -(-len(footprints) // COLUMNS)
    body = []
    for number, footprint in enumerate(footprints):
        left = GAP / 2 + number % COLUMNS * (WIDTH + GAP)
        top = TITLE + number // COLUMNS * (HEIGHT + TITLE + GAP)
        body.append(f'<g transform="translate({left:g} {top})">{_panel(footprint)}</g>')
    size = f"{COLUMNS * (WIDTH + GAP)} {rows * (HEIGHT + TITLE + GAP)}"
    with open(path, "w", encoding="utf-8") as file:
        file.write(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {size}" role="img">'
                   f"<title>Which source pixels make which pixels of the result</title><style>{STYLE}</style>\n"
                   + "\n".join(body) + "\n</svg>\n")
