"""A plain second evaluation of the five picture methods, written apart from the plugin.

Nothing here is tuned: pictures are lists of (red, green, blue, top) tuples, sums are integers or fractions
where a result is exactly defined, and IEEE doubles in a fixed order where it is not.
"""
