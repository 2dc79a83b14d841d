#!/usr/bin/env python3
"""Makes a static site of the pages in docs.

usage: build_site.py [FOLDER]    (default: out/site)

Needs the package python3-markdown and installs it where it is missing.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

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
STYLE = pathlib.Path(__file__).resolve().parent / "docs" / "site.css"
START = "guide/tasks.md"

# The navigation: headings and their pages in reading order. Pages that are not listed follow their folder's.
NAVIGATION = [
    ("Start", [START]),
    ("Methods", ["reference/scale.md", "reference/scale-image-and-mask.md", "reference/scaling.md",
                 "reference/blur.md", "reference/draw-picture.md"]),
    ("Guide", ["guide/kernels.md", "guide/edges.md", "guide/rounding.md", "guide/transparency.md",
               "guide/yielding.md", "guide/limits.md"]),
    ("Inside", ["performance.md", "architecture.md", "testing.md"]),
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


def source_pages():
    return sorted(path.relative_to(DOCS).as_posix() for path in DOCS.rglob("*.md"))


def title_of(page):
    line = (DOCS / page).read_text(encoding="utf-8").split("\n", 1)[0]
    return line.lstrip("# ").replace("`", "").strip()


def navigation_order(pages):
    groups = {heading: [page for page in listed if page in pages] for heading, listed in NAVIGATION}
    known = {page for listed in groups.values() for page in listed}
    for page in pages:
        if page not in known:
            groups[FOLDERS.get(page.split("/")[0], "Inside")].append(page)
    return {heading: listed for heading, listed in groups.items() if listed}


def navigation(groups, titles, current, up):
    parts = []
    for heading, pages in groups.items():
        parts.append(f"<h2>{heading}</h2><ul>")
        for page in pages:
            mark = ' aria-current="page"' if page == current else ""
            parts.append(f'<li><a href="{up}{html_name(page)}"{mark}>{titles[page]}</a></li>')
        parts.append("</ul>")
    return "".join(parts)


def html_name(page):
    return page.removesuffix(".md") + ".html"


def with_site_links(body, page):
    """Links between pages lead to the site's pages; those to files that are not on the site keep their text only."""
    def link(match):
        target, anchor, text = match[1], match[2] or "", match[3]
        if "://" in target or not target:
            return match[0]
        place = (DOCS / page).parent.joinpath(target).resolve()
        if place.is_dir() and (place / "README.md").exists():
            target = target.rstrip("/") + "/README.md"
        elif place.is_dir() and place.parent == DOCS:
            first = min(path.name for path in place.glob("*.md"))
            target = f"{target.rstrip('/')}/{first}"
        elif not place.is_relative_to(DOCS):
            return text
        return f'<a href="{html_name(target)}{anchor}">{text}</a>'

    return re.sub(r'<a href="([^"#]*)(#[^"]*)?">(.*?)</a>', link, body, flags=re.S)


def convert(page):
    text = (DOCS / page).read_text(encoding="utf-8")
    # Other readers of Markdown let a list follow a paragraph directly.
    text = re.sub(r"^(?![-\s|#])(.+:)\n(- )", r"\1\n\n\2", text, flags=re.M)
    body = load_markdown().markdown(text, extensions=["tables", "fenced_code", "toc"], output_format="html")
    body = re.sub(r"<table>.*?</table>", r'<div class="scroll" tabindex="0">\g<0></div>', body, flags=re.S)
    body = re.sub(r"<pre>", '<pre tabindex="0">', body)
    body = re.sub(r"<p>(?=<img )", '<p class="picture">', body)
    body = re.sub(r"<img ", '<img loading="lazy" ', body)
    return with_site_links(body, page)


def write_page(folder, name, page, groups, titles):
    up = "../" * name.count("/")
    target = folder / name
    target.parent.mkdir(parents=True, exist_ok=True)
    body = convert(page)
    if name == "index.html":
        # The start page stands in another folder than its source.
        body = re.sub(r'(href|src)="\.\./', r'\1="', re.sub(r'(href|src)="(?![./#]|\w+:)', r'\1="guide/', body))
    shown = PAGE.format(title=titles[page], kind=page.split("/")[0].removesuffix(".md"), up=up, body=body,
                        navigation=navigation(groups, titles, page, up))
    target.write_text(shown, encoding="utf-8")


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "out" / "site"
    pages = source_pages()
    titles = {page: title_of(page) for page in pages}
    groups = navigation_order(pages)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for page in pages:
        write_page(folder, html_name(page), page, groups, titles)
    write_page(folder, "index.html", START, groups, titles)
    for pattern in ("*.png", "*.jpg", "*.svg"):
        for file in DOCS.rglob(pattern):
            target = folder / file.relative_to(DOCS)
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(file, target)
    shutil.copyfile(STYLE, folder / "site.css")
    print(f"{len(pages)} pages in {folder}")


if __name__ == "__main__":
    main()
