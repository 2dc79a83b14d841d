#!/usr/bin/env python3
"""Random calls of the built library against the evaluators, byte for byte.

  run.py --runner R --library L                       the usual run: every length once, then random cases
  run.py --runner R --library L --long                many more
  run.py --runner R --library L --seed S --case N     one case alone
"""

import argparse
import sys
import time

import runner as case_runner
from cases import SWEEP, SWEEP_CASES, make_case
from oracle.resample import Sine

MOST_FAILURES = 20


def parsed(answer):
    """(width, height, alpha, intact, pixels) of an answer to `get`, or None."""
    if answer == "-":
        return None
    width, height, alpha, intact, digits = answer.split(" ")
    return int(width), int(height), alpha == "1", intact == "1", digits


def difference(answer, expected, tops=True):
    """What the first wrong thing about a picture is; empty when nothing is. Top bytes of None are any."""
    if (answer == "-") != (expected is None):
        return f"got {answer[:40]}, expected {expected and (expected.width, expected.height)}"
    if expected is None:
        return ""
    width, height, alpha, intact, digits = parsed(answer)
    if (width, height, alpha) != (expected.width, expected.height, expected.alpha):
        wanted = (expected.width, expected.height, expected.alpha)
        return f"got {(width, height, alpha)}, expected {wanted}"
    for at, (r, g, b, top) in enumerate(expected.pixels):
        got = digits[8 * at : 8 * at + 8]
        if got[2:] != f"{r:02x}{g:02x}{b:02x}" or (tops and top is not None and got[:2] != f"{top:02x}"):
            want = ("??" if top is None else f"{top:02x}") + f"{r:02x}{g:02x}{b:02x}"
            return f"pixel ({at % width}, {at // width}) is {got}, expected {want}"
    return "" if intact else "the padding behind a row was overwritten"


def faults_of(case, runners):
    """Runs a case; what is wrong with it, as a list."""
    process = runners.get(case.world.console, case.world.version)
    names = list(case.pictures)
    lines = case.set_up() + [case.call()] + [f"get {name}" for name in names]
    call, *seen = process.ask(lines)
    outcome = case.expected()
    kind, yields = call.rsplit(" ", 1)
    wrong = []
    if kind != outcome.kind:
        wrong.append(f"gave {kind}, expected {outcome.kind}")
    if int(yields) != case.yields(outcome):
        wrong.append(f"yielded {yields} times, expected {case.yields(outcome)}")
    for name, answer in zip(names, seen):
        changed = difference(answer, case.pictures[name])
        if changed:
            wrong.append(f"picture {name}: {changed}")
    if kind == outcome.kind == "new":
        picture, mask = process.ask(["get result", "getmask result"])
        wrong.append(difference(picture, outcome.picture))
        mask_wrong = difference(mask, outcome.picture.mask, tops=False)
        wrong.append(mask_wrong and "mask: " + mask_wrong)
    balance = process.ask(["check"])[0]
    if balance != "balanced":
        wrong.append(balance)
    return [text for text in wrong if text]


def run_one(seed, number, runners):
    """True when the case passes; otherwise says what is wrong."""
    case = make_case(seed, number)
    try:
        wrong = faults_of(case, runners)
    except case_runner.RunnerDied as death:
        runners.drop(case.world.console, case.world.version)
        wrong = [str(death)]
    for text in wrong:
        print(f"--seed {seed} --case {number}: {case.described()}\n    {text}")
    return not wrong


def numbers(options):
    if options.case is not None:
        return [options.case]
    randoms = list(range(options.count or (30000 if options.long else 3000)))
    sweeps = SWEEP_CASES * (5 if options.long else 1)
    return randoms + [SWEEP + n % SWEEP_CASES for n in range(sweeps)]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    case_runner.add_arguments(parser)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--case", type=int)
    parser.add_argument("--count", type=int, help="random cases")
    parser.add_argument("--long", action="store_true")
    options = parser.parse_args()
    runners = case_runner.Runners(options)
    Sine.of = runners.sines
    begun, ran, failed = time.monotonic(), 0, 0
    for number in numbers(options):
        ran += 1
        failed += not run_one(options.seed, number, runners)
        if failed == MOST_FAILURES:
            print("too many failures, stopping")
            break
    runners.close()
    print(f"{ran - failed} passed, {failed} failed (seed {options.seed}, {time.monotonic() - begun:.0f} s)")
    return failed > 0


if __name__ == "__main__":
    sys.exit(main())
