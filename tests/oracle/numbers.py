"""Number formats: rounding to single precision, saturating truncation, products of limited significance."""

import math
import struct
from fractions import Fraction

INT32_MIN, INT32_MAX = -(2**31), 2**31 - 1
_SINGLE = struct.Struct("f")


def to_single(value):
    """The nearest single-precision number, as a double."""
    return _SINGLE.unpack(_SINGLE.pack(value))[0]


def truncated(value):
    """Toward zero; saturates at 32 bits, not a number gives 0."""
    if math.isnan(value):
        return 0
    if math.isinf(value):
        return INT32_MAX if value > 0 else INT32_MIN
    return max(INT32_MIN, min(INT32_MAX, int(value)))


def clamped(value, low, high):
    return low if value < low else high if value > high else value


def index_product(index, ratio):
    """Whole part of index * ratio, the product held to 64 significant bits (nearest, ties to even)."""
    product = Fraction(ratio) * index
    if product == 0:
        return 0
    significand, denominator = product.numerator, product.denominator  # the denominator is a power of two
    surplus = significand.bit_length() - 64
    if surplus > 0:
        kept, lost = significand >> surplus, significand & ((1 << surplus) - 1)
        half = 1 << (surplus - 1)
        kept += lost > half or (lost == half and kept & 1)
        significand = kept << surplus
    return significand // denominator
