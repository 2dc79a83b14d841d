#!/usr/bin/env python3
"""Failure walks through the built library: each service refuses or throws at its n-th call, for n = 1, 2, ...

Whatever fails, a call ends orderly: nothing crashes, every reference, lock and buffer is given back, a failed
call leaves pictures alone, and a result that does come is one of those promised for the failure.
"""

import argparse
import sys

import runner as case_runner
from cases import METHODS, make_case
from oracle import methods
from oracle.picture import Picture
from oracle.resample import Sine
from run import difference, parsed

# Services that only give something back: they are trusted not to throw.
GIVING_BACK = {"REALUnlockObject", "unlockPictureDescription", "REALPictureClearCache", "REALUnlockString"}
# The stand-in's ways to spoil a lock (refused, granted but empty, without data, of another kind).
LOCK_FAULTS = range(4)
LIMIT = 400


class Walk:
    def __init__(self, runners, seed):
        self.runners, self.seed = runners, seed
        self.calls = self.failed = 0

    def scenes(self, per_kind):
        """For each method, in the console and on the desktop: small cases that succeed and yield."""
        found = {}
        for number in range(100000):
            case = make_case(self.seed, number)
            kind = (case.method, case.world.console, case.world.new_plain == "gdk", case.method in METHODS[:2]
                    and bool(case.arguments) and case.arguments[-1])
            area = sum(p.width * p.height for p in case.pictures.values())
            wide = any(not isinstance(a, float) and abs(a) > 99 for a in case.arguments)
            if len(found.setdefault(kind, [])) >= per_kind or area > 250 or wide or "self" not in case.pictures:
                continue
            case.interval, case.clock = 1, (1000.0, 1.0)
            fresh = make_case(self.seed, number)
            if fresh.expected().kind in ("new", "true"):
                found[kind].append((number, case))
            if len(found) >= 21 and all(len(cases) >= per_kind for cases in found.values()):
                break
        return [scene for cases in found.values() for scene in cases]

    def run(self, scene, faults):
        """Runs a scene under faults; (answer of the call, counts, pictures before and after, result, mask)."""
        number, case = scene
        process = self.runners.get(case.world.console, case.world.version)
        self.calls += 1
        gets = [f"get {name}" for name in case.pictures]
        try:
            answers = process.ask(
                case.set_up() + gets + [f"faults {faults}", case.call(), "counts", "faults"] + gets + ["check"]
            )
            count = len(gets)
            before, (call, counts), after, balance = (
                answers[:count], answers[count : count + 2], answers[count + 2 : -1], answers[-1])
            kind = call.rsplit(" ", 1)[0]
            result = process.ask(["get result", "getmask result"]) if kind == "new" else None
        except case_runner.RunnerDied as death:
            self.runners.drop(case.world.console, case.world.version)
            self.report(scene, faults, str(death))
            return None
        # A buffer that was handed over is never touched again, not even when the taking throws.
        handed_over = kind.startswith("thrown") and faults.endswith("=REALBuildPictureFromBuffer")
        if balance != "balanced" and not (handed_over and balance.startswith("1 blocks of memory")):
            self.report(scene, faults, balance)
        return kind, [int(c) for c in counts.split()], before, after, result

    def report(self, scene, faults, text):
        self.failed += 1
        print(f"--seed {self.seed}, case {scene[0]} ({scene[1].described()}), faults {faults}:\n    {text}")

    def refusals(self, scene, what, extra=""):
        """Refuses the n-th, then everything from the n-th on, until nothing is left to refuse."""
        for persistent in (0, 1):
            for n in range(1, LIMIT):
                faults = f"{what}={n} persistent={persistent} {extra}"
                seen = self.run(scene, faults)
                if seen is None:
                    return
                if seen[1][5] == 0:
                    break
                self.judge(scene, faults, what, seen)
            else:
                self.report(scene, faults, "still refused something")

    def judge(self, scene, faults, what, seen):
        kind, _, before, after, result = seen
        case = make_case(self.seed, scene[0])
        outcome = case.expected()
        if kind == "true":
            pass  # the target is compared below: a refusal on the way may not change what is drawn
        elif kind == "false" or kind == "nil":
            if before != after:
                self.report(scene, faults, "failed, but changed a picture")
            smooth = case.method == "scale" and case.arguments[2] and "persistent=0" in faults
            must_succeed = what == "allocation" and case.method == "draw"
            if must_succeed or (smooth and methods.grows(case.pictures["self"], *case.arguments[:2])):
                self.report(scene, faults, f"gave {kind} although another way is left")
            return
        elif kind != "new":
            self.report(scene, faults, f"gave {kind}")
            return
        if what == "shrink" and self.copies(case):
            return
        if kind == "true":
            index = list(case.pictures).index("self")
            wrong = difference(after[index], case.pictures["self"], tops=False)
            if wrong:
                self.report(scene, faults, wrong)
        else:
            wrong = self.strange(case, outcome, what, *result)
            if wrong:
                self.report(scene, faults, wrong)

    @staticmethod
    def copies(case):
        """True when the runtime draws the source into a picture of its own first, which may be too small."""
        source = case.pictures[case.other or "self"]
        return case.method == "scalewithmask" or case.world.reading(source)[1]

    @staticmethod
    def strange(case, outcome, what, picture, mask):
        """What is wrong with a result that came in spite of a refusal."""
        wrong = difference(picture, outcome.picture, tops=False)
        if wrong and case.method in ("scale", "scalewithmask"):
            case.arguments = (*case.arguments[:2], 0)
            outcome = case.expected()
            wrong = difference(picture, outcome.picture, tops=False)
        if wrong and what == "allocation" and case.method == "blur":
            unset = [(0, 0, 0, None)] * len(outcome.picture.pixels)
            wrong = difference(picture, Picture(outcome.picture.width, outcome.picture.height, unset), tops=False)
        if wrong and what == "allocation" and case.method == "scaling":
            wrong = "" if only_lines_black(picture, outcome.picture) else wrong
        if not wrong and mask != "-" and case.method != "scalewithmask":
            wrong = "a mask from nowhere"
        return wrong

    def throws(self, scene):
        """Each service throws at each of its calls: the exception arrives, and nothing stays behind."""
        case = scene[1]
        process = self.runners.get(case.world.console, case.world.version)
        process.ask(case.set_up() + [case.call()])
        services = dict(entry.rsplit("=", 1) for entry in process.ask(["services"])[0].split("\t") if entry)
        for service in sorted(set(services) - GIVING_BACK):
            last = int(services[service])
            for n in sorted({*range(1, min(last, 12) + 1), last}):
                for thrown, name in ((0, "foreign"), (1, "bad_alloc")):
                    faults = f"throwat={n} thrown={thrown} service={service}"
                    seen = self.run(scene, faults)
                    if seen is None:
                        return
                    if seen[0] != f"thrown {name}":
                        self.report(scene, faults, f"gave {seen[0]}")
                    if case.method != "draw" and seen[2] != seen[3]:
                        self.report(scene, faults, "changed a picture")


def only_lines_black(answer, expected):
    """True when a picture is as expected but for whole rows and columns that are black."""
    width, height, _, _, digits = parsed(answer)
    if (width, height) != (expected.width, expected.height):
        return False
    got = [digits[8 * i + 2 : 8 * i + 8] for i in range(width * height)]
    black_rows = {y for y in range(height) if all(got[y * width + x] == "000000" for x in range(width))}
    black_columns = {x for x in range(width) if all(got[y * width + x] == "000000" for y in range(height))}
    return all(
        at // width in black_rows or at % width in black_columns or pixel == "%02x%02x%02x" % want[:3]
        for at, (pixel, want) in enumerate(zip(got, expected.pixels))
    )


def nested(walk, scenes):
    """Calls from inside a yield: both come out as if they had been alone."""
    for number, case in scenes:
        process = walk.runners.get(case.world.console, case.world.version)
        expected = make_case(walk.seed, number).expected()
        for inner_number, inner in scenes:
            source = inner.pictures["self"]
            if inner.world != case.world or inner.method == "draw":
                continue
            walk.calls += 1
            lines = case.set_up()
            lines.append(f"picture inner {source.store} {int(source.alpha)} {source.width} {source.height} 0 0 1 "
                         + next(line for line in inner.set_up() if line.startswith("picture self")).rsplit(" ", 1)[1])
            call = inner.call().replace("call result ", "").replace(" self ", " inner ", 1)
            answers = process.ask(lines + [f"onyield 1 {call}", case.call(), "check"])
            kind, balance = answers[0].rsplit(" ", 1)[0], answers[1]
            wrong = balance if balance != "balanced" else ""
            if kind != expected.kind:
                wrong = f"gave {kind}"
            elif kind == "new":
                wrong = wrong or difference(process.ask(["get result"])[0], expected.picture)
            inner_case = make_case(walk.seed, inner_number)
            inner_case.pictures["self"].mask = None
            wanted = inner_case.expected()
            if not wrong and wanted.kind == "new":
                wrong = difference(process.ask(["get nested"])[0], wanted.picture)
            if wrong:
                walk.report((number, case), f"with {call} in a yield", wrong)


def meddling(walk, scenes):
    """Script code draws into the source in every yield: the result may mix old and new pixels, not more."""
    for scene in scenes:
        case = scene[1]
        source = case.pictures["self"]
        if case.method == "draw" or case.world.in_place(source) is None:
            continue
        process = walk.runners.get(case.world.console, case.world.version)
        for white, opacity in ((255, 1.0), (0, 1.0), (255, 1e300)):
            walk.calls += 1
            pixels = f"{white:02x}" * 4 * (source.width * source.height)
            lines = [f"picture brush {source.store} 0 {source.width} {source.height} 0 0 1 {pixels}",
                     f"onyield 0 draw self brush {(0.5).hex()} 0x0p+0 {opacity.hex()} 0"]
            try:
                call, balance = process.ask(case.set_up() + lines + [case.call(), "check"])
            except case_runner.RunnerDied as death:
                walk.runners.drop(case.world.console, case.world.version)
                walk.report(scene, "with a drawing in each yield", str(death))
                break
            if not call.startswith("new ") or balance != "balanced":
                walk.report(scene, "with a drawing in each yield", f"{call}, {balance}")


def shared_record(walk):
    """A nested scaling sets the record that the outer one goes on with: interval 0 ends its yields."""
    process = walk.runners.get(True, 2015.021)
    pixels = "00112233" * 64
    for inner, yields in (("scale self 5 5 0 0", 1), ("blur self 0x1p+1 0", 5)):
        lines = ["reset", "new bitmap bitmap bitmap 0", "clock 1000 1", f"picture self bitmap 0 8 8 0 0 0 {pixels}"]
        answer = process.ask(lines + [f"onyield 1 {inner}", "call result scale self 4 4 0 1", "check"])
        walk.calls += 1
        if answer != [f"new {yields}", "balanced"]:
            walk.failed += 1
            print(f"scale with {inner} in its first yield: {answer}, expected {yields} yields")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    case_runner.add_arguments(parser)
    parser.add_argument("--seed", type=int, default=7)
    parser.add_argument("--long", action="store_true")
    options = parser.parse_args()
    walk = Walk(case_runner.Runners(options), options.seed)
    Sine.of = walk.runners.sines
    scenes = walk.scenes(5 if options.long else 1)
    for scene in scenes:
        for fault in LOCK_FAULTS:
            walk.refusals(scene, "lock", f"lockfault={fault}")
        for what in ("picture", "shrink", "instance", "allocation"):
            walk.refusals(scene, what)
        if scene[1].world.console:
            for word in (1, 2, 3):
                faults = f"bitmapfault={word}"
                seen = walk.run(scene, faults)
                if seen and (seen[0] not in ("nil", "false") or seen[2] != seen[3]):
                    walk.report(scene, faults, f"gave {seen[0]}, or changed a picture")
        walk.throws(scene)
    nested(walk, scenes)
    meddling(walk, scenes)
    shared_record(walk)
    walk.runners.close()
    print(f"{walk.calls - walk.failed} passed, {walk.failed} failed ({len(scenes)} scenes)")
    return walk.failed > 0


if __name__ == "__main__":
    sys.exit(main())
