#!/usr/bin/env python3
"""Checks the links of the site that tools/make_docs.sh makes, without a network: pages, places in
them, pictures, styles and scripts have to be there, no page may have two places of one name, and
nothing may be fetched from elsewhere. Prints one line for each fault and exits 1 if there is any.

    tools/check_links.py [SITE]      build/site
"""

import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

ROOT = Path(__file__).resolve().parent.parent
LINKS = {("a", "href"): False, ("link", "href"): True, ("img", "src"): True, ("script", "src"): True,
         ("source", "srcset"): True, ("form", "action"): False}  # whether a browser fetches it at once


class Page(HTMLParser):
    """The links and the places of one page."""

    def __init__(self, path):
        super().__init__()
        self.places = []
        self.links = []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id":
                self.places.append(value)
            elif (tag, name) in LINKS:
                self.links.append((value or "", LINKS[tag, name]))


def faults_of(path, pages):
    page = pages[path]
    yield from (f"two places are called {place}" for place in sorted(set(page.places))
                if page.places.count(place) > 1)
    for link, is_fetched in page.links:
        parts = urlsplit(link)
        if parts.scheme or parts.netloc:
            if is_fetched and parts.scheme != "data":
                yield f"fetches {link}"
            continue
        target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
        if not target.is_file():
            yield f"there is no {link}"
        elif parts.fragment and unquote(parts.fragment) not in pages[target].places:
            yield f"there is no place {link}"


def main():
    site = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/site").resolve()
    pages = {path: Page(path) for path in sorted(site.rglob("*.html"))}
    faults = [f"{path.relative_to(site)}: {fault}" for path in pages for fault in faults_of(path, pages)]
    print("\n".join([*faults, f"{sum(len(page.links) for page in pages.values())} links of "
                               f"{len(pages)} pages, {len(faults)} faults"]))
    return 1 if faults or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
