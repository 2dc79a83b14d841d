#!/usr/bin/env python3
"""Runs every example of the pages and compares the pictures; holds the reference pages to their form.

usage: run_examples.py PIXMORPH [--update]    (--update: writes checksums.txt anew and tells what changed)

A checksum is that of the decoded pixels, so it does not depend on how a file is packed.
"""
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.insert(0, str(ROOT / "scripts"))
sys.dont_write_bytecode = True

from docs.command import Command, CommandFailed  # noqa: E402
from docs.examples import Example, ExampleError, examples, parameters  # noqa: E402

CHECKSUMS = HERE / "checksums.txt"
HEADINGS = ["Parameters", "Result", "Failure", "Exceptions", "Memory and time", "Yields", "Example", "See also"]


def pages(folder):
    return sorted((ROOT / "docs" / folder).glob("*.md"))


def name_of(path):
    return path.relative_to(ROOT).as_posix()


def registered(command):
    """The declarations by method name. A runtime of no known version gets them in the form that scripts see."""
    records = command.report("info", "--host-version", "none")["registrations"]
    return {method.split("(")[0]: method for record in records for method in record["methods"]}


def run_page(path, command, declarations):
    """The results of a page's examples as {name: checksum}, and what went wrong."""
    results, faults = {}, []

    def keep(name, _, report):
        results[f"{name_of(path)} {name}"] = report["result"]["checksum"]

    for block in examples(path.read_text(encoding="utf-8")):
        try:
            Example(command, ROOT / "media", declarations).run(block, keep)
        except (ExampleError, CommandFailed, KeyError) as error:
            faults.append(f"{name_of(path)}: {error!r} in:\n{block}")
    return results, faults


def form_faults(path, declarations):
    """Where a reference page leaves the template, or declares and lists something else than is registered."""
    text = path.read_text(encoding="utf-8")
    title = re.match(r"# (\w+)\n", text)
    if not title or title[1] not in declarations:
        return [f"{name_of(path)}: the title is not that of a registered method"]
    declaration = declarations[title[1]]
    faults = []
    if f"\n    Picture.{declaration}\n" not in text:
        faults.append(f"{name_of(path)}: registered is {declaration}")
    headings = re.findall(r"^## (.*)$", text, re.M)
    if headings != HEADINGS:
        faults.append(f"{name_of(path)}: headings are {headings}, not {HEADINGS}")
    table = text.split("## Parameters")[-1].split("\n## ")[0]
    rows = [line.split("|")[1] for line in re.findall(r"^\| (?!name)\w.*$", table, re.M)]
    listed = [name.strip() for row in rows for name in row.split(",")]
    if listed != [name for name, _, _ in parameters(declaration)]:
        faults.append(f"{name_of(path)}: the table lists {listed}")
    if not examples(text):
        faults.append(f"{name_of(path)}: there is no example that can be run")
    return faults


def picture_faults(results, command):
    """A picture shown beside an example must be what the example makes now. Lossy copies can't be compared."""
    for key, checksum in results.items():
        shown = ROOT / "docs" / "media" / key.split()[1]
        if not shown.exists():
            continue
        report = command.unchanged(shown, command.new_file())
        if report["result"]["checksum"] != checksum:
            yield f"{name_of(shown)}: not what {key.split()[0]} makes; run scripts/make_doc_pictures.py"


def compare(results):
    """Differences between the committed checksums and the results, a line each."""
    lines = CHECKSUMS.read_text(encoding="utf-8").splitlines() if CHECKSUMS.exists() else []
    known = dict(line.rsplit(" ", 1) for line in lines)
    for key in sorted(known.keys() | results.keys()):
        if known.get(key) != results.get(key):
            yield f"{key}: {known.get(key, 'new')} -> {results.get(key, 'gone')}"


def main():
    with Command(sys.argv[1]) as command:
        declarations = registered(command)
        references = pages("reference")
        faults = [fault for path in references for fault in form_faults(path, declarations)]
        titles = {path.read_text(encoding="utf-8").split("\n")[0][2:] for path in references}
        faults += [f"{name} is registered and has no page" for name in sorted(declarations.keys() - titles)]
        results = {}
        for path in references + pages("guide"):
            made, wrong = run_page(path, command, declarations)
            results |= made
            faults += wrong
        faults += picture_faults(results, command)
    changes = list(compare(results))
    if "--update" in sys.argv[2:]:
        CHECKSUMS.write_text("".join(f"{key} {results[key]}\n" for key in sorted(results)), encoding="utf-8")
        print("\n".join(changes) or "no checksum changed")
    else:
        faults += changes
    print("\n".join(faults) or f"{len(results)} pictures of the examples as they should be")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
