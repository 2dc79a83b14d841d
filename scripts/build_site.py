#!/usr/bin/env python3
"""Makes a static site: the README's first half as the start page, the pages in docs, the command's manual.

Needs the package python3-markdown and installs it where it is missing.
"""
import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True

from docs.manual import manual_as_markdown  # noqa: E402

PACKAGE = "python3-markdown"


def load_markdown():
    """The converter, installed first where it is missing: the only thing here that is not in the standard library."""
    try:
        import markdown
        return markdown
    except ImportError:
        pass
    # The distribution's package serves the distribution's interpreter; another one may stand first in the path.
    system = "/usr/bin/python3"
    if os.path.realpath(sys.executable) != os.path.realpath(system):
        os.execv(system, [system, *sys.argv])
    if os.environ.get("PIXMORPH_SITE") == "installed":
        sys.exit(f"build_site.py: {PACKAGE} was installed and still can't be loaded")
    print(f"build_site.py: installing {PACKAGE}", flush=True)
    install = ["apt-get", "install", "-y", "-qq", "--no-install-recommends", PACKAGE]
    if os.geteuid() != 0:
        install.insert(0, "sudo")
    done = shutil.which(install[0]) and subprocess.run(install, stdout=subprocess.DEVNULL, check=False).returncode == 0
    if not done:
        sys.exit(f"build_site.py needs a package: apt-get install {PACKAGE}")
    os.environ["PIXMORPH_SITE"] = "installed"
    os.execv(system, [system, *sys.argv])


ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCS = ROOT / "docs"
README, MANUAL = ROOT / "README.md", DOCS / "man" / "pixmorph.1.scd"
STYLE = pathlib.Path(__file__).resolve().parent / "docs" / "site.css"
SHOWN_OF_README = "## Where things are"   # up to here; the rest is for those who change the code

# The navigation: headings and their pages in reading order. Pages that are not listed follow their folder's.
NAVIGATION = [
    ("Start", ["index", "guide/tasks", "command"]),
    ("Methods", ["reference/scale", "reference/scale-image-and-mask", "reference/scaling", "reference/blur",
                 "reference/draw-picture"]),
    ("Guide", ["guide/kernels", "guide/edges", "guide/rounding", "guide/transparency", "guide/yielding",
               "guide/limits"]),
    ("Inside", ["performance", "architecture", "testing"]),
    ("Decisions", []),
]
FOLDERS = {"guide": "Guide", "reference": "Methods", "decisions": "Decisions"}

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>{title} – Pixmorph</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="{up}site.css">
</head>
<body class="{kind}">
<a class="skip" href="#content">To the text</a>
<header><a href="{up}index.html">Pixmorph</a> <a class="to-pages" href="#pages">Pages</a></header>
<main id="content">
{body}
</main>
<nav id="pages">{navigation}</nav>
</body>
</html>
"""


class Source:
    """What a page is made of. `name`: its place on the site without the ending; `path`: the file it comes from."""

    def __init__(self, name, path, text):
        self.name, self.path, self.text = name, path, text
        self.title = text.split("\n", 1)[0].lstrip("# ").replace("`", "").strip()
        self.label = "Overview" if name == "index" else self.title

    def way_to(self, place):
        """A link from this page to a place on the site."""
        return os.path.relpath(place, os.path.dirname(self.name) or ".")


def sources():
    """All pages, by the file that each comes from."""
    found = [Source("index", README, README.read_text(encoding="utf-8").split(SHOWN_OF_README)[0]),
             Source("command", MANUAL, manual_as_markdown(MANUAL.read_text(encoding="utf-8")))]
    for path in sorted(DOCS.rglob("*.md")):
        name = path.relative_to(DOCS).with_suffix("").as_posix()
        found.append(Source(name, path, path.read_text(encoding="utf-8")))
    return {source.path: source for source in found}


def navigation_groups(pages):
    by_name = {source.name: source for source in pages.values()}
    groups = {heading: [by_name.pop(name) for name in listed] for heading, listed in NAVIGATION}
    for name, source in by_name.items():
        groups[FOLDERS.get(name.split("/")[0], "Inside")].append(source)
    return groups


def navigation(groups, current):
    parts = []
    for heading, listed in groups.items():
        parts.append(f"<h2>{heading}</h2><ul>")
        for source in listed:
            mark = ' aria-current="page"' if source is current else ""
            parts.append(f'<li><a href="{current.way_to(source.name)}.html"{mark}>{source.label}</a></li>')
        parts.append("</ul>")
    return "".join(parts)


def with_site_links(body, source, pages):
    """Links lead to the site's pages and pictures; those to files that are not on it keep their text only."""
    def target_of(link):
        place = source.path.parent.joinpath(link).resolve()
        if place.is_dir():
            place = min(place.glob("*.md"), default=place)
        if place in pages:
            return source.way_to(pages[place].name) + ".html"
        return source.way_to(place.relative_to(DOCS)) if DOCS in place.parents and place.is_file() else None

    def link(match):
        target, anchor, text = match[1], match[2] or "", match[3]
        if "://" in target or not target:
            return match[0]
        found = target_of(target)
        return f'<a href="{found}{anchor}">{text}</a>' if found else text

    body = re.sub(r'<a href="([^"#]*)(#[^"]*)?">(.*?)</a>', link, body, flags=re.S)
    return re.sub(r'(<img [^>]*src=")([^"]+)', lambda match: match[1] + (target_of(match[2]) or match[2]), body)


def convert(source, pages):
    # Other readers of Markdown let a list follow a paragraph directly.
    text = re.sub(r"^(?![-\s|#])(.+:)\n(- )", r"\1\n\n\2", source.text, flags=re.M)
    extensions = ["tables", "fenced_code", "toc", "def_list"]
    body = load_markdown().markdown(text, extensions=extensions, output_format="html")
    body = re.sub(r"<table>.*?</table>", r'<div class="scroll" tabindex="0">\g<0></div>', body, flags=re.S)
    body = re.sub(r"<pre>", '<pre tabindex="0">', body)
    body = re.sub(r"<p>(?=<img )", '<p class="picture">', body)
    body = re.sub(r"<img ", '<img loading="lazy" ', body)
    return with_site_links(body, source, pages)


def write_page(folder, source, pages, groups):
    target = folder / f"{source.name}.html"
    target.parent.mkdir(parents=True, exist_ok=True)
    shown = PAGE.format(title=source.title, kind=source.name.split("/")[0], up=source.way_to(".") + "/",
                        body=convert(source, pages), navigation=navigation(groups, source))
    target.write_text(shown, encoding="utf-8")


def emptied(folder):
    """The folder, made or emptied; only a site made before is thrown away."""
    if folder.exists() and (not folder.is_dir() or any(folder.iterdir()) and not (folder / STYLE.name).exists()):
        sys.exit(f"build_site.py: {folder} is there and holds no site; name another folder")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def copy_pictures(folder):
    for pattern in ("*.png", "*.jpg", "*.svg"):
        for file in DOCS.rglob(pattern):
            target = folder / file.relative_to(DOCS)
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(file, target)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder", nargs="?", type=pathlib.Path, default=ROOT / "out" / "site",
                        help="where the site goes (default: out/site)")
    folder = emptied(parser.parse_args().folder)
    pages = sources()
    groups = navigation_groups(pages)
    for source in pages.values():
        write_page(folder, source, pages, groups)
    copy_pictures(folder)
    shutil.copyfile(STYLE, folder / STYLE.name)
    print(f"{len(pages)} pages in {folder}: start with {folder / 'index.html'}")


if __name__ == "__main__":
    main()
