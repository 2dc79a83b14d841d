"""What the built library does to an impulse, an edge and a dot: figures taken from its results, not from formulas."""
import cmath
import math

from docs.command import KERNELS
from docs.picture import Picture

FACTOR = 25         # odd, so that one result pixel in 25 lies right on a source pixel
WIDTH = 48          # source pixels; the impulse is in the middle, farther from both ends than any kernel reaches
REPEATS = 5         # equal rows, so that the middle one is the same whatever happens along the columns
LOWEST, HIGHEST = 30, 225   # levels between which nothing is clamped: room for over- and undershoot
AMPLITUDES = range(132, 196)

SHIFT_BASE, SHIFT_DOT = 64, 255     # grey around a dot and the dot, so that negative lobes show


def _levels():
    """(ground, amplitude) pairs, one a row: rising from near the lowest level, falling from near the highest."""
    rising = [(LOWEST, amplitude) for amplitude in AMPLITUDES]
    return rising + [(HIGHEST, -amplitude) for amplitude in AMPLITUDES]


def _response(command, mode, shape, width):
    """The result of resampling a row of `shape` (0 or 1 a pixel) to `width`, recovered more finely than 8 bits.

    Each level gives an interval in which the true value must lie; what all of them share is taken.
    """
    levels = _levels()
    source = Picture(len(shape), len(levels) * REPEATS)
    for number, (ground, amplitude) in enumerate(levels):
        row = bytearray(ground + amplitude * value for value in shape)
        source.rows[number * REPEATS:(number + 1) * REPEATS] = [row] * REPEATS
    result = command.resample(command.save(source), mode, width, source.height)
    rows = [result.rows[number * REPEATS + REPEATS // 2] for number in range(len(levels))]
    return [_within(levels, [row[x * result.channels] for row in rows]) for x in range(width)]


def _within(levels, samples):
    ends = [sorted(((sample + half - ground) / amplitude) for half in (-0.5, 0.5))
            for (ground, amplitude), sample in zip(levels, samples)]
    value = (max(end[0] for end in ends) + min(end[1] for end in ends)) / 2
    return 0.0 if all(sample == ground for (ground, _), sample in zip(levels, samples)) else value


def weights(command, mode):
    """(distance in source pixels, weight) of one source pixel, enlarging."""
    middle = WIDTH // 2
    shape = [int(x == middle) for x in range(WIDTH)]
    values = _response(command, mode, shape, WIDTH * FACTOR)
    return [((x + 0.5) / FACTOR - 0.5 - middle, value) for x, value in enumerate(values)]


def reach(curve):
    """The largest distance at which the weight shows, in source pixels, to the half pixel above."""
    far = max(abs(distance) for distance, value in curve if value != 0)
    return math.ceil(far * 2) / 2


def frequency_response(curve, frequencies):
    """The gain at each frequency in cycles a source pixel; 1 at frequency 0."""
    def gain(frequency):
        return abs(sum(value * cmath.exp(-2j * math.pi * frequency * distance) for distance, value in curve))

    whole = gain(0)
    return [gain(frequency) / whole for frequency in frequencies]


def overshoot(command, mode, width, edge=WIDTH // 2):
    """How far beyond a hard edge's two levels the result goes, in percent of the step between them."""
    shape = [int(x >= edge) for x in range(WIDTH)]
    values = _response(command, mode, shape, width)
    return 100 * max(max(values) - 1, -min(values), 0)


def kernel_figures(curve, enlarged, reduced):
    quarter, half = frequency_response(curve, (0.25, 0.5))
    beyond = max(frequency_response(curve, [1 + step / 100 for step in range(201)]))
    return {"reach": reach(curve), "lowest": round(min(value for _, value in curve), 3),
            "overshootEnlarged": round(enlarged, 1), "overshootReduced": round(reduced, 1),
            "quarter": decibels(quarter), "half": decibels(half), "beyond": decibels(beyond)}


def decibels(gain):
    return round(20 * math.log10(max(gain, 1e-4)), 1)


def kernels(command):
    """Curves by mode, and the figures drawn from them."""
    curves, figures = {}, {}
    for mode in KERNELS:
        curves[mode] = weights(command, mode)
        enlarged = overshoot(command, mode, WIDTH * FACTOR)
        # Where the edge lies within a result pixel matters.
        reduced = max(overshoot(command, mode, WIDTH // 4, WIDTH // 2 + phase) for phase in range(4))
        figures[mode] = kernel_figures(curves[mode], enlarged, reduced)
    return curves, figures


# New size over old size, as numerator and denominator.
RATIOS = [(2, 1), (3, 1), (3, 2), (1, 2), (1, 4), (2, 5)]
SPACING, DOTS = 61, 20      # an odd spacing, so that dots lie at every phase; a length that 2, 4 and 5 divide


def _dots():
    source = Picture(SPACING * DOTS, 4, 1, SHIFT_BASE)
    for row in source.rows:
        for dot in range(DOTS):
            row[dot * SPACING + SPACING // 2] = SHIFT_DOT
    return source


def _shift(result, scale):
    """The mean distance of the dots' centroids from where they belong, in source pixels; negative: to the left."""
    row = result.rows[0][::result.channels]
    total = 0.0
    for dot in range(DOTS):
        middle = dot * SPACING + SPACING // 2
        first, last = (max(0, round((middle + side * SPACING / 2) * scale)) for side in (-1, 1))
        excess = {x: row[x] - SHIFT_BASE for x in range(first, min(last + 1, len(row)))}
        centroid = sum(x * value for x, value in excess.items()) / sum(excess.values())
        total += (centroid + 0.5) / scale - 0.5 - middle
    return total / DOTS


def shifts(command):
    """Rows of (method, shift or None by ratio)."""
    source = _dots()
    path = command.save(source)
    sizes = [(source.width * up // down, source.height * max(up, 2), up / down) for up, down in RATIOS]
    rows = []
    for name, options in (("ScaleKTZ", []), ("ScaleKTZ, AntiAlias", ["--antialias"])):
        rows.append((name, [None if options and scale < 1 else
                            _shift(command.scale(path, width, height, *options), scale)
                            for width, height, scale in sizes]))
    for mode in (2, 3, 5):
        rows.append((f"ScalingKTZ, {KERNELS[mode]}",
                     [_shift(command.resample(path, mode, width, source.height), scale) for width, _, scale in sizes]))
    return [{"method": name, "shifts": [value if value is None else round(value, 2) + 0.0 for value in values]}
            for name, values in rows]
