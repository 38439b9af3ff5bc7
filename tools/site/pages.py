#!/usr/bin/env python3
"""Gathers the pages of the site in a folder: the documents of the tree, with README.md as the first,
and links between them as they then lie. Examples of one task in several languages are set side by
side.

    pages.py FOLDER
"""

import os
import re
import shutil
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
LINK = re.compile(r"\[([^\]]*)\]\(([^)#:]+)(#[^)]*)?\)")
INDENTED = re.compile(r"^( +)```\w*\n.*?^\1```$", re.DOTALL | re.MULTILINE)
FENCES = re.compile(r"(?:^```\w+\n.*?^```\n\n?)+", re.DOTALL | re.MULTILINE)
FENCE = re.compile(r"^```(\w+)\n.*?^```\n", re.DOTALL | re.MULTILINE)
LANGUAGES = {"sh": "Tool", "cpp": "C++", "python": "Python", "c": "C"}


def documents():
    """Of each file that the site has where it lies there."""
    tops = {path: Path(path.name) for path in (*ROOT.glob("[A-Z]*.md"), ROOT / "LICENSE")}
    below = {path: path.relative_to(ROOT / "docs") for path in (ROOT / "docs").rglob("*.md")}
    return tops | below | {ROOT / "README.md": Path("index.md")}


def title(path):
    return path.read_text(encoding="utf-8").partition("\n")[0].removeprefix("# ")


def with_links(text, source, places):
    """Links between documents of the site go to their places; what else they link is only named."""
    folder = places[source].parent

    def link(match):
        target = (source.parent / match[2]).resolve()
        if target in places:
            named = title(target) if match[1].endswith(".md") else match[1]
            return f"[{named}]({os.path.relpath(places[target], folder)}{match[3] or ''})"
        return match[1] if target.exists() else match[0]
    return LINK.sub(link, text)


def to_the_left(match):
    """An example within a list, which mkdocs knows at the edge alone."""
    return re.sub(f"^{match[1]}", "", match[0], flags=re.MULTILINE)


def side_by_side(match):
    blocks = [(found[1], found[0]) for found in FENCE.finditer(match[0])]
    if len({language for language, _ in blocks}) == 1:
        return match[0]
    parts = (f'<div class="{language}" data-name="{LANGUAGES[language]}" markdown="1">\n\n{text}\n</div>\n'
             for language, text in blocks)
    return f'<div class="side" markdown="1">\n{"".join(parts)}</div>\n\n'


def main():
    folder = Path(sys.argv[1])
    places = documents()
    for source, place in places.items():
        (folder / place).parent.mkdir(parents=True, exist_ok=True)
        if place.suffix != ".md":
            shutil.copy(source, folder / place)
            continue
        text = with_links(source.read_text(encoding="utf-8"), source, places)
        text = INDENTED.sub(to_the_left, text)
        (folder / place).write_text(FENCES.sub(side_by_side, text), encoding="utf-8")


if __name__ == "__main__":
    main()
