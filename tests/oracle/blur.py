"""Box blur over a square of 2r + 1 pixels a side, edge pixels repeated outwards."""


def _line(values, radius):
    last = len(values) - 1
    before = [0]
    for value in values:
        before.append(before[-1] + value)
    result = []
    for x in range(len(values)):
        low, high = x - radius, x + radius
        total = before[min(high, last) + 1] - before[max(low, 0)]
        total += max(-low, 0) * values[0] + max(high - last, 0) * values[-1]
        result.append(total // (2 * radius + 1))
    return result


def blur(image, radius):
    """A list of (red, green, blue) tuples: down the columns first, stored at 8 bits, then along the rows."""
    planes = []
    for c in range(3):
        columns = [
            _line([image.row(y)[x][c] for y in range(image.height)], radius) for x in range(image.width)
        ]
        planes.append([value for row in zip(*columns) for value in _line(list(row), radius)])
    return list(zip(*planes))
