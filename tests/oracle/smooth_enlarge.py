"""Enlarging along the curve 3t^2 - 2t^3 between neighbours, one byte of the pixel after the other."""

from .numbers import clamped, to_single

A = 0.0  # the cubic's parameter


def _weights(position, old, new):
    """The weights of the samples at +2, +1, 0, -1 for one destination position."""
    t = ((position * old) % new) / new
    t2 = t * t
    t3 = t2 * t
    exact = (
        -A * t3 + A * t2,
        -(A + 2) * t3 + (2 * A + 3) * t2 - A * t,
        (A + 2) * t3 - (A + 3) * t2 + 1,
        A * t3 - 2 * A * t2 + A * t,
    )
    return [to_single(weight) for weight in exact]


def _byte(value):
    return 0 if value <= 0 else 255 if value >= 255 else int(value)


def smooth_enlarge(image, width, height, channels):
    """A list of `channels`-tuples (3: colours, 4: the top byte as well)."""
    columns = []
    for x in range(width):
        s = x * image.width // width
        taps = [clamped(s + offset, 0, image.width - 1) for offset in (-1, 0, 1, 2)]
        columns.append((taps, _weights(x, image.width, width)))
    planes = [[] for _ in range(channels)]
    for y in range(height):
        s = y * image.height // height
        rows = [image.row(clamped(s + offset, 0, image.height - 1)) for offset in (-1, 0, 1, 2)]
        weights = list(reversed(_weights(y, image.height, height)))
        for c in range(channels):
            buffer = []
            for x in range(image.width):
                total = 0.0
                for row, weight in zip(rows, weights):
                    total = to_single(total + to_single(row[x][c] * weight))
                buffer.append(total)
            for (before, here, after, beyond), (w0, w1, w2, w3) in columns:
                value = buffer[before] * w3 + 0.5 + buffer[here] * w2
                value = value + buffer[after] * w1 + buffer[beyond] * w0
                planes[c].append(_byte(value))
    return list(zip(*planes))
