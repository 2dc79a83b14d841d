#!/usr/bin/env python3
"""Fails where a site made by build_site.py has a link, picture or place in a page that is not there.

usage: check_site.py FOLDER
"""
import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """What a page offers as targets and what it refers to."""

    def __init__(self, path):
        super().__init__()
        self.places, self.targets, self.pictures_without_text = set(), [], []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        found = dict(attributes)
        if "id" in found:
            self.places.add(found["id"])
        for name in ("href", "src"):
            if name in found:
                self.targets.append(found[name])
        if tag == "img" and not found.get("alt"):
            self.pictures_without_text.append(found.get("src"))


def faults_of(path, page, pages):
    for target in page.targets:
        parts = urllib.parse.urlsplit(target)
        if parts.scheme:
            if parts.scheme not in ("http", "https", "data"):
                yield f"link of an odd kind: {target}"
            continue
        place = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
        if not place.is_file():
            yield f"leads nowhere: {target}"
        elif parts.fragment and parts.fragment not in pages[place].places:
            yield f"no such place in the page: {target}"
    for picture in page.pictures_without_text:
        yield f"a picture without text: {picture}"


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    faults = [f"{path.relative_to(folder)}: {fault}" for path, page in pages.items()
              for fault in faults_of(path, page, pages)]
    if not pages:
        faults.append(f"{folder}: no pages")
    print("\n".join(faults) or f"{len(pages)} pages, every link leads somewhere")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
