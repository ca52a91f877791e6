#!/usr/bin/env python3
"""Fails unless every link and picture of the reference leads to a file, and to a place in it: check_links.py FOLDER."""

import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urldefrag


class Page(HTMLParser):
    """The places that a page has, and where its links lead."""

    def __init__(self, path):
        super().__init__()
        self.places, self.links = set(), set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.places |= {attributes.get("id"), attributes.get("name")}
        for name in ("href", "src", "data"):
            link = attributes.get(name) or ""
            if link and not link.startswith(("http:", "https:", "javascript:", "mailto:", "data:")):
                self.links.add(unquote(link))


folder = Path(sys.argv[1])
pages = {path.name: Page(path) for path in folder.glob("*.html")}
dead = []
for name, page in sorted(pages.items()):
    for link in sorted(page.links):
        path, place = urldefrag(link)
        path = path or name
        if not (folder / path).is_file() or (place and path in pages and place not in pages[path].places):
            dead.append(f"{name}: {link}")
print(*dead, sep="\n", end="\n" if dead else "")
sys.exit(1 if dead or not pages else 0)
