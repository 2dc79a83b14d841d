"""Checks the evaluators against numbers worked out by hand. Run in tests/: python3 -m oracle.self_check"""

import math
import unittest
from fractions import Fraction

from .area_average import area_average
from .blur import blur
from .draw import draw
from .numbers import index_product, truncated
from .picture import Image
from .resample import FILTERS, contributions, resample
from .smooth_enlarge import smooth_enlarge


def grey(values, width=None):
    width = width or len(values)
    return Image(width, len(values) // width, [(v, v, v, 0) for v in values])


def reds(pixels):
    return [pixel[0] for pixel in pixels]


class AreaAverage(unittest.TestCase):
    def test_boxes(self):
        self.assertEqual(reds(area_average(grey([0, 100]), 6, 1)), [0, 0, 0, 0, 100, 100])
        self.assertEqual(reds(area_average(grey([1, 1, 1, 0], 2), 1, 1)), [0])
        values = [0, 60, 3, 90, 240, 9, 30, 81, 6, 0]
        self.assertEqual(reds(area_average(grey(values), 4, 1)), [21, 111, 40, 29])  # from columns 0, 2, 5, 7

    def test_products_are_not_rounded_to_double(self):
        for old in range(1, 60):
            for new in range(1, 60):
                for i in range(new):
                    self.assertEqual(index_product(i, old / new), math.floor(Fraction(old / new) * i))


class SmoothEnlarge(unittest.TestCase):
    def test_halves_and_quarters(self):
        self.assertEqual(reds(smooth_enlarge(grey([10, 21]), 4, 2, 3)), [10, 16, 21, 21] * 2)
        quarter = math.floor(0.84375 * 0 + 0.15625 * 200 + 0.5)
        self.assertEqual(reds(smooth_enlarge(grey([0, 200]), 8, 2, 3))[1], quarter)

    def test_the_top_byte_goes_along(self):
        image = Image(1, 1, [(1, 2, 3, 77)])
        self.assertEqual(set(smooth_enlarge(image, 3, 2, 4)), {(1, 2, 3, 77)})


class Resample(unittest.TestCase):
    def test_filter_values(self):
        value = {mode: entry[0] for mode, entry in FILTERS.items()}
        for mode in (1, 2, 3, 4, 6, 7):
            self.assertEqual(value[mode](0.0), 1)
        for mode, t, expected in (
            (5, 0.0, 8 / 9), (5, 1.0, 1 / 18), (5, 1.5, -5 / 144), (6, 1.0, 0), (6, 0.5, 0.59375),
            (7, 0.5, 7 / 12), (7, 1.5, -3 / 32), (7, 2.5, 1 / 96), (3, 1.5, -4 / (3 * math.pi**2)), (2, 0.5, 1), (2, 0.51, 0),
        ):
            self.assertAlmostEqual(value[mode](t), expected, places=14, msg=f"mode {mode} at {t}")

    def test_interpolating_filters_reproduce(self):
        image = grey([(i * 89) % 256 for i in range(35)], 7)
        for mode in (1, 2, 3, 4, 6, 7):
            self.assertEqual(reds(resample(image, mode, 7, 5)), reds(image.pixels), f"mode {mode}")

    def test_box_halves_round_up(self):
        self.assertEqual(reds(resample(grey([1, 2]), 2, 1, 1)), [2])

    def test_taps_stay_inside(self):
        for mode in FILTERS:
            for old, new in ((1, 9), (9, 1), (7, 5), (5, 7)):
                for taps, total in contributions(mode, old, new):
                    self.assertTrue(all(0 <= index < old for _, index in taps) and total > 0)


class Blur(unittest.TestCase):
    def test_edges_repeat_and_divisions_truncate(self):
        self.assertEqual(reds(blur(grey([0, 210]), 10)), [100, 110])
        self.assertEqual(reds(blur(grey([0, 1, 1]), 1))[1], 0)

    def test_against_the_plain_window(self):
        values = [(i * 57) % 256 for i in range(9)]
        for r in (1, 2, 5, 30):
            window = [[values[min(max(x + i, 0), 8)] for i in range(-r, r + 1)] for x in range(9)]
            self.assertEqual(reds(blur(grey(values), r)), [sum(w) // len(w) for w in window])
            self.assertEqual(reds(blur(grey(values, 1), r)), [sum(w) // len(w) for w in window])


class Draw(unittest.TestCase):
    def drawn(self, target, source, x, y, opacity=1.0, mask=None):
        image = grey(target) if isinstance(target, list) else target
        draw(image, source, mask, x, y, opacity, 255)
        return reds(image.pixels)

    def test_weights(self):
        white = grey([255] * 9, 3)
        self.assertEqual(self.drawn(grey([0] * 25, 5), white, 0.5, 0.5)[12], 252)
        self.assertEqual(self.drawn([255], grey([0]), 0, 0, 0.5), [127])
        self.assertEqual(self.drawn([9], grey([128]), 0, 0, 2), [255])
        self.assertEqual(self.drawn([0, 0], grey([100, 200]), -0.25, 0), [75 + 50, 150])
        self.assertEqual(self.drawn([7, 7], grey([100, 200]), 0, 0, 1, grey([255, 0])), [7, 200])

    def test_out_of_range(self):
        for position in (math.nan, math.inf, -1e300, 2.0**31, -5.0):
            self.assertEqual(self.drawn([3, 4], grey([200]), position, 0), [3, 4])
        self.assertEqual(truncated(math.nan), 0)
        self.assertEqual((truncated(1e99), truncated(-math.inf)), (2**31 - 1, -(2**31)))
        self.assertEqual(self.drawn([50], grey([200]), 0, 0, math.nan), [0])


if __name__ == "__main__":
    unittest.main()
