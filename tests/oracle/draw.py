"""Drawing one picture into another at a fractional position."""

import math

from .numbers import INT32_MAX, INT32_MIN, clamped, truncated


def _place(position):
    """Whole and fractional part; None when the picture lies wholly outside whatever its size."""
    if math.isnan(position) or math.isinf(position):
        return None
    whole = math.floor(position)
    if not INT32_MIN <= whole <= INT32_MAX:
        return None
    return whole, abs(position - whole)


def draw(target, source, mask, x, y, opacity, top):
    """Changes target.pixels in place, pixel after pixel in reading order; every top byte becomes `top`.

    Target, source and mask may be one and the same image: what was written already is read as written.
    """
    place_x, place_y = _place(x), _place(y)
    if place_x is None or place_y is None:
        target.pixels[:] = [pixel[:3] + (top,) for pixel in target.pixels]
        return
    (ix, fx), (iy, fy) = place_x, place_y
    neighbours = (
        (-1, -1, fx * fy * opacity),
        (0, -1, (1 - fx) * fy * opacity),
        (0, 0, (1 - fx) * (1 - fy) * opacity),
        (-1, 0, fx * (1 - fy) * opacity),
    )
    for row in range(target.height):
        for column in range(target.width):
            sums, rest = [0, 0, 0], 1.0
            for dx, dy, weight in neighbours:
                sx, sy = column - ix + dx, row - iy + dy
                if not (0 <= sx < source.width and 0 <= sy < source.height):
                    continue
                if mask is not None:
                    inside = sx < mask.width and sy < mask.height
                    hidden = mask.at(sx, sy)[0] if inside else 0
                    weight = (255 - hidden) * weight / 255
                pixel = source.at(sx, sy)
                for c in range(3):
                    sums[c] += truncated(pixel[c] * weight)
                rest -= weight
            at = row * target.width + column
            if rest > 0:
                for c in range(3):
                    sums[c] += truncated(target.pixels[at][c] * rest)
            target.pixels[at] = tuple(clamped(value, 0, 255) for value in sums) + (top,)
