"""Plots as SVG: small panels, one a kernel, in colours that follow the reader's light or dark setting."""
from docs.command import KERNELS

PANEL_WIDTH, PANEL_HEIGHT, MARGIN_LEFT, MARGIN_TOP, GAP = 150, 110, 34, 22, 22
COLUMNS = 4

STYLE = """text{font:11px system-ui,sans-serif;fill:#333}.t{font-weight:600}.g{stroke:#8885;fill:none}
.c{stroke:#1f6fb2;stroke-width:1.6;fill:none;stroke-linejoin:round}
@media(prefers-color-scheme:dark){text{fill:#ddd}.c{stroke:#7cb8ec}}"""


class Axes:
    """A panel's scales: the value ranges and the places of its ticks."""

    def __init__(self, x_range, y_range, x_ticks, y_ticks):
        self.x_range, self.y_range, self.x_ticks, self.y_ticks = x_range, y_range, x_ticks, y_ticks

    def x(self, value):
        low, high = self.x_range
        return round((value - low) / (high - low) * PANEL_WIDTH, 1)

    def y(self, value):
        low, high = self.y_range
        return round((high - min(max(value, low), high)) / (high - low) * PANEL_HEIGHT, 1)


def _panel(title, axes, points):
    parts = [f'<text class="t" x="0" y="-7">{title}</text>']
    for tick in axes.y_ticks:
        y = axes.y(tick)
        parts.append(f'<path class="g" d="M0 {y}H{PANEL_WIDTH}"/>')
        parts.append(f'<text x="-4" y="{y + 4}" text-anchor="end">{tick:g}</text>')
    for tick in axes.x_ticks:
        x = axes.x(tick)
        parts.append(f'<path class="g" d="M{x} 0V{PANEL_HEIGHT}"/>')
        parts.append(f'<text x="{x}" y="{PANEL_HEIGHT + 14}" text-anchor="middle">{tick:g}</text>')
    line = " ".join(f"{axes.x(x):g},{axes.y(y):g}" for x, y in points)
    parts.append(f'<polyline class="c" points="{line}"/>')
    return "".join(parts)


def panels(path, curves, axes, description):
    """Writes one panel for each mode of `curves`, each a list of (x, y)."""
    rows = -(-len(curves) // COLUMNS)
    width = COLUMNS * (PANEL_WIDTH + MARGIN_LEFT) + 10
    height = rows * (PANEL_HEIGHT + MARGIN_TOP + GAP)
    body = []
    for number, (mode, points) in enumerate(curves.items()):
        left = MARGIN_LEFT + number % COLUMNS * (PANEL_WIDTH + MARGIN_LEFT)
        top = MARGIN_TOP + number // COLUMNS * (PANEL_HEIGHT + MARGIN_TOP + GAP)
        body.append(f'<g transform="translate({left} {top})">'
                    f"{_panel(f'{mode} {KERNELS[mode]}', axes, points)}</g>")
    with open(path, "w", encoding="utf-8") as file:
        file.write(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" role="img">'
                   f"<title>{description}</title><style>{STYLE}</style>\n" + "\n".join(body) + "\n</svg>\n")
