#!/usr/bin/env python3
"""Fails when the README's folder map and the tree differ, or when a link in a Markdown file leads nowhere."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def tracked_files():
    out = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
    return [pathlib.PurePosixPath(line) for line in out.splitlines()]


def folders(files):
    """Top-level folders, and the folders of src in its place."""
    found = set()
    for file in files:
        if len(file.parts) > 2 and file.parts[0] == "src":
            found.add("/".join(file.parts[:2]))
        elif len(file.parts) > 1 and file.parts[0] != "src" and not file.parts[0].startswith("."):
            found.add(file.parts[0])
    return found


def mapped():
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    return set(re.findall(r"^\| `([^`]+)` \|", text, re.M))


def broken_links(files):
    for file in files:
        if file.suffix != ".md":
            continue
        text = (ROOT / file).read_text(encoding="utf-8")
        for target in re.findall(r"\]\(([^)#\s]+)", text):
            if "://" not in target and not (ROOT / file).parent.joinpath(target).exists():
                yield f"{file}: link to {target} leads nowhere"


def main():
    files = tracked_files()
    real, told = folders(files), mapped()
    faults = [f"README.md: folder {name} is not in the map" for name in sorted(real - told)]
    faults += [f"README.md: folder {name} is in the map but not in the tree" for name in sorted(told - real)]
    faults += broken_links(files)
    print("\n".join(faults) or f"{len(real)} folders mapped, all links lead somewhere")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
