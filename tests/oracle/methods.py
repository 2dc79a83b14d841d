"""The five methods: what a call gives back, which pixels, and at how many points it offers to yield."""

import math
from dataclasses import dataclass
from typing import Optional

from . import picture as px
from .area_average import area_average
from .blur import blur
from .draw import draw
from .picture import Picture
from .resample import resample
from .smooth_enlarge import smooth_enlarge

MOST_BYTES = 2**31 - 1  # of one work buffer
LIST_BYTES = 12  # a pointer, a count and a single-precision sum in the resampler's tables


@dataclass
class Outcome:
    kind: str  # "nil", "same", "new", "true", "false", or "raised CLASS: MESSAGE"
    picture: Optional[Picture] = None  # with "new"
    yield_points: int = 0


def _nil(yield_points=0):
    return Outcome("nil", None, yield_points)


def _opened(world, picture):
    """The picture as it is read, and how; (None, None) when it can't be."""
    kind, copied = (None, False) if picture is None else world.reading(picture)
    if kind is None:
        return None, None
    if copied:  # drawn by the runtime, so nothing is known about the top bytes
        picture = Picture(picture.width, picture.height, [p[:3] + (px.ANY_TOP,) for p in picture.pixels])
    return picture, kind


def _new(width, height, kind, colours, alpha=False):
    top = px.TOP_WRITTEN[kind]
    return Picture(width, height, [tuple(c[:3]) + (top,) for c in colours], alpha=alpha)


def _resized_by_area(world, picture, width, height):
    source, kind = _opened(world, picture)
    if source is None:
        return _nil(1)
    written = world.writing(width, height, source.alpha)
    if written is None:
        return _nil(1)
    pixels = area_average(source, width, height)
    return Outcome("new", _new(width, height, written, pixels, source.alpha), height + 1)


def _enlarged(world, picture, width, height):
    source, kind = _opened(world, picture)
    written = source and grows(source, width, height) and world.writing(width, height, source.alpha) or None
    if written is None:
        return _nil()
    bytes_read = 3 if kind == px.BYTES3 else 4
    tops_known = all(p[3] is not px.ANY_TOP for p in source.pixels)
    both_words = bytes_read == 4 and written != px.BYTES3
    colours = smooth_enlarge(source, width, height, 4 if both_words and tops_known else 3)
    result = _new(width, height, written, colours, source.alpha)
    if both_words:  # the top byte is interpolated like the others
        tops = [c[3] for c in colours] if tops_known else [px.ANY_TOP] * len(colours)
        result.pixels = [p[:3] + (top,) for p, top in zip(result.pixels, tops)]
    return Outcome("new", result, 3 + bytes_read * height)


def grows(picture, width, height):
    return picture is not None and picture.width < width and picture.height < height


def scale(world, picture, width, height, smooth):
    if picture is None and (width, height) == (0, 0):
        return _nil()  # nil reads as 0 by 0, so this is the size it has
    if picture is not None and (picture.width, picture.height) == (width, height):
        return Outcome("same")
    if smooth and grows(picture, width, height):
        result = _enlarged(world, picture, width, height)
        if result.kind != "nil":
            return result
    return _resized_by_area(world, picture, width, height)


def _with_mask(world, picture, width, height, resize):
    result = resize(world, picture, width, height)
    if result.kind == "nil" or picture.mask is None:
        return result
    scaled = resize(world, picture.mask, width, height)
    result.yield_points += scaled.yield_points
    if scaled.kind != "nil":
        result.picture.mask = scaled.picture
    return result


def scale_image_and_mask(world, picture, width, height, smooth, mask_of_alpha=None):
    """`mask_of_alpha` is the picture that the runtime makes of an alpha channel when asked for the mask."""
    if picture is None:
        return _nil()
    if (picture.width, picture.height) == (width, height):
        return Outcome("same")
    if picture.alpha:
        plain = [p[:3] + (px.ANY_TOP,) for p in picture.pixels]
        picture = Picture(picture.width, picture.height, plain, world.new_plain, False, mask_of_alpha)
    if smooth and grows(picture, width, height):
        result = _with_mask(world, picture, width, height, _enlarged)
        if result.kind != "nil":
            return result
    return _with_mask(world, picture, width, height, _resized_by_area)


def scaling(world, picture, mode, width, height):
    if picture is None or width < 1 or height < 1 or not 1 <= mode <= 7:
        return _nil()
    source, _ = _opened(world, picture)
    if source is None or source.height * width * 4 > MOST_BYTES:
        return _nil()
    if width < height and height * LIST_BYTES > MOST_BYTES:  # the table of the second pass can't be had
        return _nil(3)
    written = world.writing(width, height, source.alpha)
    if written is None:
        return _nil(5)
    pixels = resample(source, mode, width, height)
    return Outcome("new", _new(width, height, written, pixels, source.alpha), 7 + height)


def blurred(world, picture, radius):
    if math.isnan(radius) or radius < 1:
        return Outcome("same" if picture else "nil")
    source, _ = _opened(world, picture)
    written = source and world.writing(source.width, source.height)
    if written is None:
        return _nil()
    whole = 2**31 if math.isinf(radius) else int(radius)
    if (2 * whole + 1) * 1024 + 1024 > MOST_BYTES:  # the table of quotients can't be had: nothing is set
        unset = [(0, 0, 0, px.ANY_TOP)] * (source.width * source.height)
        return Outcome("new", Picture(source.width, source.height, unset), 1)
    pixels = blur(source, whole)
    return Outcome("new", _new(source.width, source.height, written, pixels), 2 + 2 * source.height)


def draw_picture(world, target, source, x, y, opacity):
    """Changes `target` when it gives "true"."""
    for picture, message in ((target, "source is nil"), (source, "picture is nil")):
        if picture is None:
            return Outcome(f"raised NilObjectException: {message}")
    mask = source.mask
    if mask is not None and world.in_place(mask) is None:
        return Outcome("false")
    kind = world.in_place(target)
    opened, _ = _opened(world, source)
    if kind is None or opened is None:
        return Outcome("false")
    draw(target, opened, mask, x, y, opacity, px.TOP_WRITTEN[kind])
    return Outcome("true", None, 2 + target.height)
