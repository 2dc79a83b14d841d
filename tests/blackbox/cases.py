"""Random calls of the five methods: what to send to the runner, and what must come back.

A case is made from a seed and a number alone, so that any one can be run again by itself. Numbers from SWEEP
on walk through every length from 1 to 130 in a few rows or columns instead.
"""

import math
import random
from dataclasses import dataclass, field

from oracle import methods
from oracle.picture import BYTES3, Picture, World
from oracle.yields import count_yields

VERSIONS = (2010.0, 2011.99, 2012.5, 2013.5, 2015.021, 3000.0)
DRAW_PICTURE = (
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, "
    "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"
)
SWEEP, SWEEP_LENGTHS = 1_000_000, 130
METHODS = ("scale", "scalewithmask", "scaling", "blur", "draw")
INT_MAX, INT_MIN = 2**31 - 1, -(2**31)


@dataclass
class Case:
    world: World
    pictures: dict  # by name; "self" and "other" take part in calls
    method: str
    arguments: tuple  # numbers, without the pictures and the interval
    other: str = ""  # the name of the picture that is drawn
    interval: int = 0
    clock: tuple = (1000.0, 0.0)
    stack: int = 0
    missing: str = ""
    layout: dict = field(default_factory=dict)  # by name: stride, scrambled, guard

    def set_up(self):
        w = self.world
        lines = ["reset", f"new {w.new_plain} {w.new_alpha} {w.new_mask} {self.layout.get('new', 0)}"]
        for name, p in self.pictures.items():
            stride, scrambled, guard = self.layout.get(name, (0, 0, 0))
            memory = f"{stride} {scrambled} {guard}"
            lines.append(f"picture {name} {p.store} {int(p.alpha)} {p.width} {p.height} {memory} {as_hex(p)}")
        lines += [f"mask {name} {p.mask.name}" for name, p in self.pictures.items() if p.mask]
        lines.append(f"without {self.missing}")
        lines += ["clock %s %s" % self.clock, f"stack {self.stack}"]
        return lines

    def call(self, result="result"):
        numbers = [n.hex() if isinstance(n, float) else str(int(n)) for n in self.arguments]
        receiver = "self" if "self" in self.pictures else "-"
        drawn = [self.other or "-"] if self.method == "draw" else []
        return " ".join(["call", result, self.method, receiver] + drawn + numbers + [str(self.interval)])

    def expected(self):
        """The outcome; a picture drawn into is changed in `pictures`."""
        picture, world, a = self.pictures.get("self"), self.world, self.arguments
        if self.method == "scale":
            return methods.scale(world, picture, *a)
        if self.method == "scalewithmask":
            return methods.scale_image_and_mask(world, picture, *a, mask_of_alpha(picture, world))
        if self.method == "scaling":
            return methods.scaling(world, picture, *a)
        if self.method == "blur":
            return methods.blurred(world, picture, *a)
        return methods.draw_picture(world, picture, self.pictures.get(self.other), *a)

    def yields(self, outcome):
        return count_yields(outcome.yield_points, self.interval, *self.clock)

    def described(self):
        p = self.pictures.get("self")
        shape = f"{p.width}x{p.height} {p.store}{' alpha' * p.alpha}{' mask' * bool(p.mask)}" if p else "nil"
        mode = "console" if self.world.console else "desktop"
        call = f"{self.method}{self.arguments}"
        return f"{mode} {self.world.version}: {call} of {shape}, interval {self.interval}"


def as_hex(picture):
    return "".join(f"{t:02x}{r:02x}{g:02x}{b:02x}" for r, g, b, t in picture.pixels)


def mask_of_alpha(picture, world):
    """The stand-in runtime shows an alpha channel as a mask of greys: opaque is black."""
    if picture is None or not picture.alpha:
        return None
    greys = [(255 - p[3],) * 3 + (None,) for p in picture.pixels]
    return Picture(picture.width, picture.height, greys, world.new_mask)


def random_pixels(rng, count, store):
    style = rng.randrange(4)
    if style == 0:
        values = [tuple(rng.randrange(256) for _ in range(4))] * count
    elif style == 1:
        values = [tuple(rng.choice((0, 255)) for _ in range(4)) for _ in range(count)]
    else:
        values = [tuple(rng.randrange(256) for _ in range(4)) for _ in range(count)]
    return [v[:3] + (0,) for v in values] if store == "gdk" else values


class Maker:
    def __init__(self, rng):
        self.rng = rng

    def picture(self, world, width, height, name, masks=False):
        rng = self.rng
        if world.console:
            store = "bitmap" if rng.random() < 0.95 else rng.choice(("cairo", "refusing"))
        else:
            store = rng.choices(("cairo", "gdk", "bitmap", "refusing"), (65, 20, 5, 10))[0]
        alpha = store != "gdk" and rng.random() < 0.25
        p = Picture(width, height, random_pixels(rng, width * height, store), store, alpha, name=name)
        self.layout[name] = (rng.choice((0, 0, 4, 12, 60)), rng.randrange(2), rng.randrange(3))
        self.pictures[name] = p
        if masks and not alpha and rng.random() < 0.5:
            same = rng.random() < 0.7
            size = (width, height) if same else (rng.randint(1, width + 3), rng.randint(1, height + 3))
            p.mask = self.picture(world, *size, name + "mask")
            p.mask.alpha = False
        return p

    def world(self):
        rng = self.rng
        version = rng.choice(VERSIONS)
        if rng.random() < 0.35:
            return World(True, version, "bitmap", "bitmap", "bitmap")
        stores = ("cairo", "gdk", "refusing")
        plain, mask = rng.choices(stores, (70, 28, 2))[0], rng.choices(stores, (70, 30, 0))[0]
        return World(False, version, plain, "cairo", mask)

    def size(self):
        rng = self.rng
        pick = rng.random()
        if pick < 0.12:
            return rng.choice(((1, rng.randint(1, 130)), (rng.randint(1, 130), 1)))
        limit = 40 if pick < 0.2 else 12
        return rng.randint(1, limit), rng.randint(1, limit)

    def new_size(self, world, p):
        """Often a growth on both sides, sometimes out of all range."""
        rng = self.rng
        pick = rng.random()
        if pick < 0.08:
            # Pictures with alpha know no largest size of their own, but cairo does.
            extremes = (32768, INT_MAX) if not p.alpha else (32768,) if world.console else ()
            extreme = rng.choice((0, -1, -5, 32767, INT_MIN) + extremes)
            size = [extreme, rng.choice((1, 1, p.height)) if extreme > 1000 else rng.randint(1, 9)]
            rng.shuffle(size)
            return tuple(size)
        if pick < 0.12:
            return p.width, p.height
        if pick < 0.45:
            return p.width + rng.randint(1, p.width + 4), p.height + rng.randint(1, p.height + 4)
        return rng.randint(1, 2 * p.width + 3), rng.randint(1, 2 * p.height + 3)

    def radius(self):
        rng = self.rng
        if rng.random() < 0.2:
            return rng.choice(
                (0.99, 0.0, -3.0, math.nan, math.inf, -math.inf, 1e5, 1048575.0, 2.0**31 - 0.1, 2.0**31, 1e300)
            )
        return rng.choice((1.0, 1.7, float(rng.randint(1, 12)), rng.uniform(1, 60)))

    def position(self, span):
        rng = self.rng
        if rng.random() < 0.06:
            edge = 2.0**31
            return rng.choice((math.nan, math.inf, -math.inf, 1e300, -1e300, edge, -edge, edge - 0.5, -edge - 0.5,
                               edge - 1, 5e-324, -5e-324, -1e-20))
        whole = rng.randint(-span - 1, span + 1)
        return whole + rng.choice((0.0, 0.0, 0.5, 0.25, rng.random()))

    def opacity(self):
        rng = self.rng
        if rng.random() < 0.1:
            return rng.choice((math.nan, math.inf, -math.inf, 1e300, -1e300, 2.0**23, 1e-320, -0.0))
        return rng.choice((1.0, 1.0, 0.5, 0.0, 2.0, -1.0, rng.random(), rng.uniform(-2, 3)))

    def timing(self, case):
        rng = self.rng
        if rng.random() < 0.5:
            case.interval = rng.choice((1, 2, 7, 60, -1, -15, -16, -400, 61000, INT_MAX, INT_MIN))
        case.clock = (rng.choice((1000.0, 5.015625, 3000000.25)), rng.choice((0.0, 1 / 64, 1 / 16, 2.5)))
        case.stack = rng.choice((0, 4, 8, 12))

    def make(self, method, world=None, size=None):
        rng = self.rng
        world = world or self.world()
        self.layout, self.pictures = {"new": rng.choice((0, 0, 4, 20))}, {}
        p = self.picture(world, *(size or self.size()), "self", masks=method in ("scalewithmask", "scale"))
        case = Case(world, self.pictures, method, (), layout=self.layout)
        self.timing(case)
        if method in ("scale", "scalewithmask"):
            case.arguments = (*self.new_size(world, p), rng.randrange(2))
            plain = all(q.store == "bitmap" for q in self.pictures.values())
            if world.console and plain and rng.random() < 0.3:
                case.missing = DRAW_PICTURE
        elif method == "scaling":
            mode = rng.randint(1, 7) if rng.random() < 0.95 else rng.choice((0, 8, -1, INT_MIN, INT_MAX))
            case.arguments = (mode, *self.new_size(world, p))
        elif method == "blur":
            case.arguments = (self.radius(),)
        else:
            self.drawn(case, p)
            p = self.pictures["self"]
        masked = any(other.mask is p for other in self.pictures.values())
        if rng.random() < 0.01 and case.other != "self" and not masked:
            self.pictures.pop("self")
        return case

    def drawn(self, case, p):
        rng = self.rng
        case.other = "other"
        source = self.picture(case.world, *self.size(), "other", masks=True)
        pick = rng.random()
        if pick < 0.06:
            case.other = "self"
        elif pick < 0.1 and source.mask:
            self.pictures.pop("self")
            self.pictures["self"], source.mask.name = source.mask, "self"
            self.layout["self"] = self.layout["othermask"]
            self.pictures.pop("othermask")
        elif pick < 0.11:
            case.other = ""
        span = max(p.width, source.width)
        case.arguments = (self.position(span), self.position(span), self.opacity())


def sweep_case(rng, index):
    """One row or column of a length that walks from 1 to 130, through every method and filter."""
    length, which = index % SWEEP_LENGTHS + 1, index // SWEEP_LENGTHS
    along, variant = which % 2, which // 2
    maker = Maker(rng)
    store = rng.choice(("bitmap", "cairo", "cairo", "gdk"))
    world = World(store == "bitmap", 2015.021, store, "bitmap" if store == "bitmap" else "cairo", store)
    rows = rng.choice((1, 1, 2, 3))

    def oriented(a, b):
        return (a, b) if along else (b, a)

    method = ("scale", "scale", "scale", "blur", "draw", "scaling", "scaling")[variant]
    while True:
        case = maker.make(method, world, oriented(length, rows))
        if "self" in case.pictures:
            break
    if variant == 0:
        case.arguments = (*oriented(max(1, length * rng.randint(1, 9) // 10), rows), 0)
    elif variant == 1:
        case.arguments = (*oriented(length + rng.randint(1, length), rows + 1), 1)
    elif variant == 2:
        case.arguments = (*oriented(length, rows * rng.randint(2, 3)), 0)
    elif variant == 3:
        case.arguments = (float(rng.randint(1, 9)),)
    elif variant >= 5:
        new = max(1, length * rng.randint(2, 9) // 10) if variant == 5 else length + rng.randint(0, 40)
        case.arguments = (index % 7 + 1, *oriented(new, rows + rng.randint(0, 2)))
    return case


SWEEP_CASES = 7 * 2 * SWEEP_LENGTHS


def make_case(seed, number):
    rng = random.Random(f"{seed}:{number}")
    if number >= SWEEP:
        return sweep_case(rng, number - SWEEP)
    return Maker(rng).make(rng.choices(METHODS, (22, 18, 22, 13, 25))[0])
