#!/usr/bin/env python3
"""Draws the tables of docs/performance.md as bars: how much time nuv takes where a peer takes 1,
or of memory, where what is aimed at is 1.

    plot_tables.py PAGE FOLDER

PAGE is a copy of the document, in which a picture and the commands that repeat it go before each
table that has a mark, and the table is folded away; FOLDER beside it gets the pictures. A mark stands
right above its table:

    <!-- plot nuv | Peer
    build/bench/benchmarks/nuv_chains_bench -->

names the columns of nuv and, behind the bar, of peers, several with a + between them; "= a copy 13 ms"
is a peer for all rows. A cell has a name, figures and their unit: "OpenCV 15.4, 13.0 ms". What follows
a semicolon is of no concern in a column of nuv, and another peer in one of peers.
"""

import html
import re
import sys
from pathlib import Path

MARK = re.compile(r"^<!-- plot (.*?) \| (.*)\n((?:.*\n)*?.*) -->\n((?:\|.*\n)+)", re.MULTILINE)
UNITS = {"s": 1e9, "ms": 1e6, "us": 1e3, "ns": 1, "MiB": 1 << 20, "MB": 1e6}
RATES = {"GB/s": 1, "G/s": 1, "Gpixel/s": 1, "Mpixel/s": 1e-3}  # more of them is faster
NUMBER = r"\d+(?:\.\d+)?(?: \+ \d+(?:\.\d+)?)?"
FIGURES = re.compile(rf"(?<![\w.])({NUMBER}(?:(?:, | / ){NUMBER})*)"
                     rf"(?: ({'|'.join([*RATES, *UNITS])})\b)?(?![\w:.])")
LONG, SHORT = (70, 30), (26, 16)  # characters of a label and of a peer, on a screen and a telephone
ROW, BAR, TOP = 32, 9, 26  # pixels
STYLE = """
text { font: 13px system-ui, "DejaVu Sans", Helvetica, Arial, sans-serif; fill: #26231f; }
.faint { fill: #6d675e; }
.faster { fill: #3f7fae; }
.slower { fill: #cf7a3c; }
line { stroke: #b5aea2; }
.short { display: none; }
@media (max-width: 560px) { .short { display: inline; } .long { display: none; } }
@media (prefers-color-scheme: dark) {
text { fill: #dcd9d3; }
.faint { fill: #9b978f; }
.faster { fill: #6aa6d2; }
.slower { fill: #e59a63; }
line { stroke: #5a5e65; }
}
"""


def plain(text):
    """A cell without the marks of Markdown, and without the name of a benchmark."""
    return re.sub(r" \(`[^)]*\)", "", text).replace("`", "").replace("\\*", "*").strip()


def figures_of(text):
    """A name, and times in nanoseconds, sizes in bytes, or what has no unit; none where none are."""
    text = re.sub(r"[\d.]+ to (?=\d)|^under ", "", plain(text))
    found = list(FIGURES.finditer(text))
    match = next((one for one in found if one[2]), found[0] if found else None)
    if not match:
        return "", []
    values = [sum(map(float, value.split(" + "))) for value in re.split(", | / ", match[1])]
    if match[2] in RATES:
        values = [1 / (value * RATES[match[2]]) for value in values]
    return text[:match.start()].strip(" ,:"), [value * UNITS.get(match[2], 1) for value in values]


def labels_of(label, count):
    """"linear to 50 % / 30 %" and "a line, 8 / 16 bits" as two labels, anything else as the same one."""
    parts = [part.split(" ") for part in label.split(" / ")]
    if count == 1 or len(parts) != count or not re.search(r"\d", " ".join(parts[-1])):
        return [label] * count
    first, last = parts[0], parts[-1]
    if re.sub(r"\d", "0", first[-1]) == re.sub(r"\d", "0", last[-1]):
        return [" ".join(first), *(" ".join(first[:-len(part)] + part) for part in parts[1:])]
    return [" ".join(first[:-1] + [word] + last[1:])
            for word in (first[-1], *(part[0] for part in parts[1:]))]


def rows_of(ours, peers, table):
    """Label, peer and ratio of each bar."""
    heads, _, *lines = ([cell.strip() for cell in line.strip()[1:-1].split("|")]
                        for line in table.splitlines())
    label, own, last, named = "", {}, {}, {}
    for line in lines:
        cells = dict(zip(heads, line + [""] * len(heads)))
        if plain(line[0]):
            label = plain(line[0])
            own = {name: figures_of(cells[name].split(";")[0])[1] for name in ours}
        for name in peers:
            text = name[1:] if name.startswith("=") else cells[name]
            if not text and label.startswith("the same"):
                text = last.get(name, "")
            last[name] = text
            for peer, theirs in map(figures_of, text.split(";")):
                peer = named[name] = peer or named.get(name) or plain(name)
                for column, values in own.items():
                    count = max(len(values), len(theirs)) if values and theirs else 0
                    told = labels_of(label, count) if len(ours) == 1 else [f"{column}, {label}"] * count
                    spread = [list(side) * (count if len(side) == 1 else 1) for side in (values, theirs)]
                    yield from ((text, peer, a / b) for text, a, b in zip(told, *spread))


def shortened(text, length):
    return html.escape(text if len(text) <= length else text[:length - 1].rstrip(" ,") + "…", quote=False)


def drawn(rows):
    """An SVG as wide as its page, whose letters stay as large as they are."""
    end = 1.06 * max(1.2, *(ratio for _, _, ratio in rows))
    height = TOP + ROW * len(rows)
    one = 100 / end
    peers = {peer for _, peer, _ in rows}
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="100%" height="{height}">', f"<style>{STYLE}</style>",
             f'<line x1="{one:.2f}%" x2="{one:.2f}%" y1="{TOP - 6}" y2="{height}"/>',
             f'<text class="faint" x="{one:.2f}%" y="14" text-anchor="{"end" if one > 60 else "start"}">'
             f"{html.escape(peers.pop() if len(peers) == 1 else 'the peer')} is 1</text>"]
    for number, (label, peer, ratio) in enumerate(rows):
        y = TOP + ROW * number
        for kind, lengths in (("long", LONG), ("short", SHORT)):
            parts.append(f'<text class="{kind}" x="0" y="{y + 12}">{shortened(label, lengths[0])}</text>'
                         f'<text class="{kind} faint" x="100%" y="{y + 12}" text-anchor="end">{ratio:.2g} × '
                         f"{shortened(peer, lengths[1])}</text>")
        parts.append(f'<rect class="{"faster" if ratio <= 1 else "slower"}" x="0" y="{y + 17}" '
                     f'width="{max(0.3, ratio * one):.2f}%" height="{BAR}" rx="2"/>')
    return "\n".join([*parts, "</svg>\n"])


def main():
    page, folder = Path(sys.argv[1]), Path(sys.argv[2])
    folder.mkdir()
    count = 0

    def plot(mark):
        nonlocal count
        ours, peers = (names.split(" + ") for names in mark.group(1, 2))
        rows = list(rows_of(ours, peers, mark[4]))
        if not rows:
            sys.exit(f"plot_tables.py: nothing to compare in {mark[1]} | {mark[2]}")
        count += 1
        (folder / f"{count}.svg").write_text(drawn(rows), encoding="utf-8")
        height = TOP + ROW * len(rows)
        return (f'<img class="plot" src="{folder.name}/{count}.svg" height="{height}" '
                f'alt="The table below as bars: the time of nuv where a peer takes 1">\n\n'
                f"To repeat it:\n\n```sh\n{mark[3]}\n```\n\n"
                f'<details markdown="1">\n<summary>The figures</summary>\n\n{mark[4]}\n</details>\n')

    drawn_page = MARK.sub(plot, page.read_text(encoding="utf-8"))
    if count == 0:
        sys.exit(f"plot_tables.py: no table of {page} has a mark")
    page.write_text(drawn_page, encoding="utf-8")


if __name__ == "__main__":
    main()
