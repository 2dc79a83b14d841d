"""How often an operation hands control over, by its offers to yield and a clock that moves when read."""

import math


def _wrapped(value):
    return (value + 2**31) % 2**32 - 2**31


class Yielder:
    """The record of one operation: positive intervals count ticks of 1/60 s, negative ones milliseconds."""

    def __init__(self, clock, interval):
        self.clock, self.interval, self.last = clock, interval, 0

    def _now(self):
        return _wrapped(math.floor(self.clock.read() * (60 if self.interval > 0 else 1000)))

    def offer(self):
        """True when control was handed over."""
        if self.interval == 0 or abs(_wrapped(self._now() - self.last)) < abs(self.interval):
            return False
        self.last = self._now()
        return True


class Clock:
    def __init__(self, start, step):
        self.time, self.step = start, step

    def read(self):
        reading = self.time
        self.time += self.step
        return reading


def count_yields(points, interval, start, step):
    yielder = Yielder(Clock(start, step), interval)
    return sum(yielder.offer() for _ in range(points))
