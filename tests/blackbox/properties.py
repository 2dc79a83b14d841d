#!/usr/bin/env python3
"""What holds for any picture, on pictures too large for the evaluators: through the built library alone."""

import argparse
import random
import sys

import runner as case_runner

STORES = ("bitmap", "cairo", "gdk")


def colours(pixels):
    return [pixel[2:] for pixel in pixels]


def split(digits):
    return [digits[i : i + 8] for i in range(0, len(digits), 8)]


class Checks:
    def __init__(self, runners, seed):
        self.runners, self.seed, self.rng = runners, seed, random.Random(seed)
        self.ran = self.failed = 0

    def noise(self, count):
        bits = self.rng.getrandbits(32 * count)
        return split(f"{bits:0{8 * count}x}")

    def start(self, store):
        self.store = store
        self.process = self.runners.get(store == "bitmap", 2015.021)
        alpha = "bitmap" if store == "bitmap" else "cairo"
        self.process.ask(["reset", f"new {store} {alpha} {store} {self.rng.choice((0, 4, 64))}", "stack 4"])

    def result(self, pixels, width, height, call, alpha=0):
        """Pixels of a call's result on a picture of these pixels; of the picture itself when it is drawn into."""
        stride, scrambled = self.rng.choice((0, 4, 60)), self.rng.randrange(2)
        line = f"picture self {self.store} {alpha} {width} {height} {stride} {scrambled} 1 {''.join(pixels)}"
        kind = self.process.ask([line, f"call result {call}"])[0].rsplit(" ", 1)[0]
        name = "self" if kind in ("true", "same") else "result"
        return split(self.process.ask([f"get {name}"])[0].rsplit(" ", 1)[1])

    def expect(self, what, holds):
        self.ran += 1
        if not holds:
            self.failed += 1
            print(f"--seed {self.seed}, check {self.ran}, {self.store}: {what}")

    def calls(self, width, height):
        rng = self.rng
        return [
            f"scale self {rng.randint(1, 300)} {rng.randint(1, 120)} 0 0",
            f"scale self {width + rng.randint(1, 99)} {height + rng.randint(1, 60)} 1 0",
            f"blur self {float(rng.randint(1, 40)).hex()} 0",
        ] + [f"scaling self {mode} {rng.randint(1, 300)} {rng.randint(1, 90)} 0" for mode in range(1, 8)]

    def source_top_bytes_never_matter(self, width, height):
        pixels = self.noise(width * height)
        others = [f"{self.rng.randrange(256):02x}{pixel[2:]}" for pixel in pixels]
        for call in self.calls(width, height):
            first, second = (self.result(p, width, height, call) for p in (pixels, others))
            if " 1 0" in call and call.startswith("scale "):  # the smooth enlargement carries the top byte along
                first, second = colours(first), colours(second)
            self.expect(f"top bytes matter to {call} of {width}x{height}", first == second)

    def flat_stays_flat(self, width, height):
        pixel = self.noise(1)[0]
        for call in self.calls(width, height):
            drawn = set(colours(self.result([pixel] * (width * height), width, height, call)))
            self.expect(f"{call} of {width}x{height} flat {pixel} gives {sorted(drawn)[:3]}", drawn == {pixel[2:]})

    def scale_one_reproduces(self, width, height):
        pixels = self.noise(width * height)
        for mode in (1, 2, 3, 4, 6, 7):
            kept = self.result(pixels, width, height, f"scaling self {mode} {width} {height} 0")
            self.expect(f"mode {mode} changes {width}x{height} at scale 1", colours(kept) == colours(pixels))

    def whole_positions_copy(self, width, height):
        if self.store == "gdk":  # can't be drawn into
            return
        w, h = self.rng.randint(1, 90), self.rng.randint(1, 50)
        x, y = self.rng.randint(-w, width), self.rng.randint(-h, height)
        pixels, source = self.noise(width * height), self.noise(w * h)
        self.process.ask([f"picture other {self.store} 0 {w} {h} 8 0 2 {''.join(source)}"])
        drawn = self.result(pixels, width, height, f"draw self other {float(x).hex()} {float(y).hex()} 0x1p+0 0")
        expected = colours(pixels)
        for row in range(max(0, -y), min(h, height - y)):
            for column in range(max(0, -x), min(w, width - x)):
                expected[(y + row) * width + x + column] = source[row * w + column][2:]
        self.expect(f"drawing {w}x{h} at {x}, {y} into {width}x{height} is no copy", colours(drawn) == expected)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    case_runner.add_arguments(parser)
    parser.add_argument("--seed", type=int, default=3)
    parser.add_argument("--rounds", type=int, default=8)
    options = parser.parse_args()
    checks = Checks(case_runner.Runners(options), options.seed)
    for _ in range(options.rounds):
        for store in STORES:
            checks.start(store)
            for check in (checks.source_top_bytes_never_matter, checks.flat_stays_flat, checks.scale_one_reproduces,
                          checks.whole_positions_copy):
                check(checks.rng.randint(1, 260), checks.rng.randint(1, 70))
    checks.runners.close()
    print(f"{checks.ran - checks.failed} passed, {checks.failed} failed")
    return checks.failed > 0


if __name__ == "__main__":
    sys.exit(main())
