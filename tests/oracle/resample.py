"""Filtered resampling in two passes, with seven filters."""

import math

from .numbers import clamped, to_single, truncated

PI = 3.141592653589793


class Sine:
    """The sines that sinc needs. A runner of the library replaces `of`: C libraries differ."""

    known = {}

    @staticmethod
    def of(angles):
        return [math.sin(angle) for angle in angles]

    @classmethod
    def prepare(cls, angles):
        missing = sorted({angle for angle in angles if angle not in cls.known})
        if missing:
            cls.known.update(zip(missing, cls.of(missing)))


def _sinc(u):
    if u == 0:
        return 1.0
    angle = PI * u
    if angle not in Sine.known:
        Sine.prepare([angle])
    return Sine.known[angle] / angle


def _triangle(t):
    return 1 - t if t < 1 else 0.0


def _box(t):
    return 1.0 if t <= 0.5 else 0.0


def _lanczos3(t):
    return _sinc(t) * _sinc(t / 3) if t < 3 else 0.0


def _lanczos8(t):
    return _sinc(t) * _sinc(t * 0.125) if t < 8 else 0.0


def _mitchell(t):
    t2 = t * t
    t3 = t2 * t
    if t < 1:
        return (7 * t3 - 12 * t2 + 16 / 3) / 6
    if t < 2:
        return (-7 / 3 * t3 + 12 * t2 - 20 * t + 32 / 3) / 6
    return 0.0


def _poly3(t):
    if t < 1:
        return (1.25 * t - 2.25) * t * t + 1
    if t < 2:
        return ((-0.75 * t + 3.75) * t - 6) * t + 3
    return 0.0


def _cubic(t):
    t2 = t * t
    t3 = t2 * t
    if t <= 1:
        return 4 / 3 * t3 - 7 / 3 * t2 + 1
    if t <= 2:
        return -7 / 12 * t3 + 3 * t2 - 59 / 12 * t + 2.5
    if t <= 3:
        return 1 / 12 * t3 - 2 / 3 * t2 + 1.75 * t - 1.5
    return 0.0


# By mode: the filter and the half-width of its window.
FILTERS = {
    1: (_triangle, 1.0),
    2: (_box, 0.5),
    3: (_lanczos3, 3.0),
    4: (_lanczos8, 8.0),
    5: (_mitchell, 2.0),
    6: (_poly3, 4.0),
    7: (_cubic, 3.0),
}

# By mode: the argument of the second sine of a Lanczos filter.
SINE_STRETCH = {3: lambda t: t / 3, 4: lambda t: t * 0.125}


def contributions(mode, old, new):
    """Per output sample: the taps as (weight, index), and the sum of their weights."""
    kernel, support = FILTERS[mode]
    scale = new / old
    radius = support / scale if scale < 1 else support
    windows = []
    for i in range(new):
        centre = (i + 0.5) / scale
        window = []
        for j in range(max(0, int(centre - radius)), min(old - 1, int(centre + radius)) + 1):
            distance = centre - j - 0.5
            window.append((j, abs(distance * scale if scale < 1 else distance)))
        windows.append(window)
    if mode in SINE_STRETCH:
        arguments = [t for window in windows for _, t in window]
        Sine.prepare(PI * t for t in arguments)
        Sine.prepare(PI * SINE_STRETCH[mode](t) for t in arguments)
    lists = []
    for window in windows:
        taps, total = [], 0.0
        for j, t in window:
            weight = kernel(t)
            if weight != 0:
                taps.append((to_single(weight), j))
                total += weight
        lists.append((taps, to_single(total)))
    return lists


def _channel(total, weight_sum):
    if weight_sum == 0:  # 0 / 0 or infinite
        return 0
    return clamped(truncated(total / weight_sum + 0.5), 0, 255)


def _sample(samples, taps, weight_sum):
    red = green = blue = 0.0
    for weight, index in taps:
        pixel = samples[index]
        red += weight * pixel[0]
        green += weight * pixel[1]
        blue += weight * pixel[2]
    return _channel(red, weight_sum), _channel(green, weight_sum), _channel(blue, weight_sum)


def resample(image, mode, width, height):
    """A list of (red, green, blue) tuples. The rows are held at 8 bits between the passes."""
    across = contributions(mode, image.width, width)
    down = contributions(mode, image.height, height)
    middle = [[_sample(image.row(k), *entry) for entry in across] for k in range(image.height)]
    columns = list(zip(*middle))
    return [_sample(columns[i], *entry) for entry in down for i in range(width)]
