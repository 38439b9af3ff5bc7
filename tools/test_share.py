#!/usr/bin/env python3
"""Prints how much of the tree is tests: lines neither blank nor comment, by folder.

    tools/test_share.py [--limit SHARE]

Tests are tests and fuzz, with what they share, but for the pictures in tests/data and the scripts
that made them; code is what is shipped. Tests are to stay at about a third of the code: with --limit
the answer is 1 when they are more than SHARE of it.
"""

import argparse
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
CODE = ("api", "core", "extension", "framework", "python", "tools/nuv", "wrapper")
TESTS = ("fuzz", "tests")
DATA = ROOT / "tests/data"
EMPTY = {
    **dict.fromkeys((".h", ".hpp", ".cpp", ".inc"), re.compile(r"\s*(//.*)?")),
    **dict.fromkeys((".py", ".sh"), re.compile(r"\s*(#.*)?")),
}


def lines_of(path):
    empty = EMPTY[path.suffix]
    return sum(not empty.fullmatch(line)
               for line in path.read_text(encoding="utf-8").splitlines())


def lines_below(folder):
    return sum(lines_of(path) for path in sorted(folder.rglob("*"))
               if path.suffix in EMPTY and DATA not in path.parents)


def parts_of(top):
    """The folders whose figures are shown: those of `top`, or `top` itself when it has none."""
    inside = [path for path in sorted((ROOT / top).iterdir()) if path.is_dir()]
    parts = [(f"{top}/{path.name}", lines_below(path)) for path in inside]
    rest = lines_below(ROOT / top) - sum(lines for _, lines in parts)
    return [(name, lines) for name, lines in parts if lines] + ([(top, rest)] if rest else [])


def print_share(title, tops):
    total = 0
    print(f"{title}:")
    for top in tops:
        if not (ROOT / top).is_dir():
            continue
        lines = lines_below(ROOT / top)
        total += lines
        parts = ", ".join(f"{name.removeprefix(top + '/')} {count}"
                          for name, count in parts_of(top) if name != top)
        print(f"  {lines:6} {top}" + (f" ({parts})" if parts else ""))
    print(f"  {total:6} in all")
    return total


def main():
    parser = argparse.ArgumentParser(description="How much of the tree is tests?")
    parser.add_argument("--limit", type=float, help="the share that may not be exceeded")
    limit = parser.parse_args().limit
    share = print_share("tests", TESTS) / print_share("code", CODE)
    print(f"share of tests: {share:.3f}")
    if limit is not None and share > limit:
        print(f"more than {limit}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
