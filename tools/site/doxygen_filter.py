#!/usr/bin/env python3
"""Prints a public header as Doxygen wants it, for INPUT_FILTER: a comment before a declaration or
behind one becomes one about it, and a headline begins a group of functions.

    doxygen_filter.py HEADER
"""

import re
import sys
from pathlib import Path

COMMENT = re.compile(r"^ *(//|/\*)(?!/|\*)")
BEHIND = re.compile(r"(?<=\S)( +)(//|/\*)(?= )")
HEADLINE = re.compile(r"-{3,4} (.*?)(?:\.(?: |$)| ----)(.*)", re.DOTALL)
END = re.compile(r"private:|} // namespace|#ifdef __cplusplus")


def blocks(lines):
    """The lines, those of a comment that stands alone as one text with newlines."""
    block = []
    for line in lines:
        begins = COMMENT.match(line)
        is_inside = block and ("*/" not in block[-1] if "/*" in block[0] else begins)
        if block and not is_inside:
            yield "\n".join(block)
            block = []
        if is_inside or begins:
            block.append(line)
        else:
            yield line
    if block:
        yield "\n".join(block)


def bare(comment):
    """The text of a comment without its marks."""
    lines = (re.sub(r"^ *(?:(?://|/\*|\*(?!/)) ?)?| *\*/$", "", line) for line in comment.split("\n"))
    return "\n".join(lines).strip()


def about(mark):
    """In place of what begins a comment behind a declaration."""
    return mark[1] + {"//": "///<", "/*": "/**<"}[mark[2]]


def filtered(lines):
    is_first = True
    is_open = False
    for block in blocks(lines):
        if not COMMENT.match(block):
            if is_open and END.match(block):
                yield "/** @} */"
                is_open = False
            yield block if block.startswith(("}", "#")) else BEHIND.sub(about, block)
            continue
        text = bare(block)
        headline = HEADLINE.match(text)
        if headline:
            if is_open:
                yield "/** @} */"
            yield f"/** @name {headline[1]}\n{headline[2].strip()} */\n/** @{{ */"
            is_open = True
        else:
            yield f"/** {'@file' if is_first else ''}\n{text} */"
        is_first = False


def main():
    print("\n".join(filtered(Path(sys.argv[1]).read_text(encoding="utf-8").splitlines())))


if __name__ == "__main__":
    main()
