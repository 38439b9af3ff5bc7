#!/usr/bin/env python3
"""Checks that the documents name what exists: files that they link, files and folders that they put
between backquotes, and names of the code; and that the site has each document in its menu. Prints one
line for each that is not there and exits 1 if there is any.

    tools/check_docs.py

A file is named from the root, from a folder that the document is about (ABOUT), or without any
folder. PLACEHOLDER is what documents call an operation that is still to be written.
"""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LINK = re.compile(r"\]\(([^)#]+)\)")
BLOCK = re.compile(r"```.*?```", re.S)
QUOTED = re.compile(r"`([^`]+)`")
FILE = re.compile(r"[\w./-]+\.(?:cmake|cpp|h|inc|json|map|md|py|sh|txt)")
FOLDER = re.compile(r"[\w/.-]+/|(?:core|extension|framework|fuzz|tests|tools|wrapper)/[\w/]+")
NAME = re.compile(r"\bNUV_\w+|\b[a-z]+(?:_[a-z0-9]+)+(?=\()")
IN_MENU = re.compile(r": ([\w./-]+\.md)$", re.MULTILINE)
PLACEHOLDER = re.compile(r"nuv_op|nuv_x|choose_(?:op|x)\b|NUV_Op|NUV_X(?:Engine)?$|core/op")
ABOUT = {"docs/jpeg.md": "core/jpeg", "docs/adding_an_operation.md": "core/mirror",
         "docs/style.md": "core/mirror"}


def files():
    """All files of the tree, from the root, without what was built."""
    tops = [top for top in ROOT.iterdir() if top.name != "build" and not top.name.startswith(".")]
    paths = [path for top in tops for path in ([top] if top.is_file() else top.rglob("*"))]
    return sorted(path.relative_to(ROOT).as_posix() for path in paths if path.is_file())


def missing_in(document, base_names, code):
    text = BLOCK.sub("", (ROOT / document).read_text(encoding="utf-8"))
    for link in LINK.findall(text):
        if "://" not in link and not (ROOT / document).parent.joinpath(link).exists():
            yield link
    for quoted in sorted(set(QUOTED.findall(text))):
        if PLACEHOLDER.search(quoted) or quoted.startswith("build/"):
            continue
        if FILE.fullmatch(quoted) or FOLDER.fullmatch(quoted):
            about = ROOT / ABOUT.get(document, "")
            if quoted not in base_names and not any((folder / quoted).exists()
                                                    for folder in (ROOT, about)):
                yield quoted
            continue
        for name in NAME.findall(quoted):
            if name not in code:
                yield name


def missing_in_menu(paths):
    """Documents that mkdocs.yml does not name as they lie in the site."""
    menu = IN_MENU.findall((ROOT / "mkdocs.yml").read_text(encoding="utf-8"))
    for path in paths:
        place = path.removeprefix("docs/").replace("README.md", "index.md")
        if re.fullmatch(r"docs/.*\.md|[A-Z_]+\.md", path) and place not in menu:
            yield "mkdocs.yml", f"{place} in the menu"


def main():
    paths = files()
    base_names = {Path(path).name for path in paths}
    code = "".join((ROOT / path).read_text(encoding="utf-8", errors="replace") for path in paths
                   if Path(path).suffix in {".cmake", ".cpp", ".h", ".json", ".py", ".sh", ".txt"})
    missing = [(document, name) for document in paths if document.endswith(".md")
               for name in missing_in(document, base_names, code)]
    missing += missing_in_menu(paths)
    for document, name in missing:
        print(f"{document}: there is no {name}")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
