"""Pictures as plain lists, and how the runtime's memory shows them to the methods."""

from dataclasses import dataclass, field
from typing import Optional

# How a picture's memory is reached: words of the runtime's own bitmap, three bytes a pixel, words of a cairo
# surface with and without alpha.
HOST, BYTES3, CAIRO_ALPHA, CAIRO = "host", "bytes3", "cairo_alpha", "cairo"
ANY_TOP = None  # in a top byte's place: whatever the runtime left there

# The top byte that a method writes with a colour.
TOP_WRITTEN = {HOST: 0, BYTES3: ANY_TOP, CAIRO_ALPHA: 255, CAIRO: 255}


@dataclass
class Image:
    width: int
    height: int
    pixels: list  # (red, green, blue, top), top row first

    def row(self, y):
        return self.pixels[y * self.width : (y + 1) * self.width]

    def at(self, x, y):
        return self.pixels[y * self.width + x]


@dataclass
class Picture(Image):
    store: str = "cairo"  # "bitmap", "cairo", "gdk" or "refusing"
    alpha: bool = False
    mask: Optional["Picture"] = None
    name: str = field(default="", compare=False)


@dataclass
class World:
    """What the methods' outcome depends on beside their arguments."""

    console: bool = False
    version: float = 2015.021
    new_plain: str = "cairo"  # the memory of pictures that the runtime makes
    new_alpha: str = "cairo"
    new_mask: str = "cairo"

    def _direct(self, store, alpha):
        if self.console:
            return HOST if store == "bitmap" else None
        if alpha:
            return CAIRO_ALPHA if store == "cairo" else None
        return {"cairo": CAIRO, "gdk": BYTES3}.get(store)

    def in_place(self, picture):
        """How a picture's pixels can be changed where they are, or None."""
        kind = self._direct(picture.store, picture.alpha)
        return None if kind == BYTES3 else kind

    def reading(self, picture):
        """How a picture is read, and whether from a copy that the runtime draws; or (None, False)."""
        kind = self._direct(picture.store, picture.alpha)
        if kind is None and not self.console and not picture.alpha:
            return self._direct(self.new_plain, False), True
        return kind, False

    def writing(self, width, height, alpha=False):
        """How a new picture of that size is written, or None when there is none."""
        if width < 1 or height < 1:
            return None
        if alpha:
            return self._direct(self.new_alpha, True) if self.version >= 2011.04 else None
        if width > 32767 or height > 32767:
            return None
        return self._direct(self.new_plain, False)
