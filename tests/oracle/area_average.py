"""Resize by averaging boxes of source pixels."""

import math

from .numbers import index_product


def area_average(image, width, height):
    """Rows of (red, green, blue) tuples, top row first, as one list."""
    x_ratio, y_ratio = image.width / width, image.height / height
    box_width, box_height = math.ceil(x_ratio), math.ceil(y_ratio)
    count = box_width * box_height
    columns = [index_product(x, x_ratio) for x in range(width)]
    result = []
    for y in range(height):
        top_row = index_product(y, y_ratio)
        assert top_row + box_height <= image.height
        rows = [image.row(yy) for yy in range(top_row, top_row + box_height)]
        for left in columns:
            assert left + box_width <= image.width
            box = [pixel for row in rows for pixel in row[left : left + box_width]]
            # (0.5 + sum) / count, truncated: an odd over an even number, so never at a whole number's edge.
            result.append(tuple((2 * sum(pixel[c] for pixel in box) + 1) // (2 * count) for c in range(3)))
    return result
