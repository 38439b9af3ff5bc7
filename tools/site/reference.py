#!/usr/bin/env python3
"""Makes a page of each public header, out of what Doxygen has understood of it, and links to them
where the other pages name something of C.

    reference.py FOLDER      of the pages of the site; reference_c.md and its like go there
"""

import html
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

from doxygen_filter import filtered

ROOT = Path(__file__).resolve().parent.parent.parent
CONFIGURATION = ROOT / "tools/site/doxygen.conf"
PAGES = (  # the name of each, the header, and the names of what it tells of in Doxygen's files
    ("reference_c", "api/include/nuv/nuv.h", ("nuv_8h",)),
    ("reference_cpp", "api/include/nuv/nuv.hpp", ("nuv_8hpp", "namespacenuv")),
    ("reference_wrapper", "wrapper/nuv_wrapper.h", ("nuv__wrapper_8h",)),
)
TAGS = {"para": ("<p>", "</p>"), "computeroutput": ("<code>", "</code>"),
        "verbatim": ("</p>\n<pre>", "</pre>\n<p>")}
HIDDEN = {"NUV_API", "NUV_EXPORT", "Iterator", "NUV_Vector"}
PLAIN_NAME = re.compile(r"\b(?:nuv|NUV)_\w+\b")
SECOND_NAME = re.compile(r"typedef (?:enum|struct) (?!nuv_job)")  # of what is told without it
DEFAULT = re.compile(r"(?<!operator)(?<=[\w)])=(?=[\w{])")
FENCE = re.compile(r"^```.*?^```$", re.DOTALL | re.MULTILINE)
QUOTED = re.compile(r"(?<!\[)`((?:nuv|NUV)_\w+)(?:\([^`]*\))?`")
CALL = re.compile(r"\bnuv_\w+(?=\()")


def line_of(node):
    return int(node.find("location").get("line"))


def name_of(node):
    """Its own, or that of the first value of an enumeration without one."""
    name = (node.findtext("name") or node.findtext("compoundname") or "").split("::")[-1]
    return node.findtext("enumvalue/name", "") if name.startswith("@") else name


def flat(node):
    return re.sub(r"\s+", " ", "".join(node.itertext())).strip() if node is not None else ""


def parameters_of(node):
    parameters = node.find("templateparamlist")
    if parameters is None:
        return ""
    return f"template <{', '.join(flat(part.find('type')) for part in parameters)}> "


def signature(node):
    """A declaration as the headers write it."""
    kind, name = node.get("kind"), name_of(node)
    if kind in ("struct", "class", "enum"):
        kind += " class" if node.get("strong") == "yes" else ""
        is_named = not flat(node.find("name")).startswith("@")
        return f"{parameters_of(node)}{kind} {name}" if is_named else kind
    if kind == "define":
        return f"#define {name} {flat(node.find('initializer'))}"
    if kind == "typedef" and node.findtext("definition").startswith("using"):
        text = f"using {name} = {flat(node.find('type'))}"
    else:
        words = ("typedef" if kind == "typedef" else "static" if node.get("static") == "yes" else "",
                 flat(node.find("type")).removeprefix("static "),
                 name + (node.findtext("argsstring") or ""))
        text = parameters_of(node) + " ".join(filter(None, words)).replace("(* ", "(*")
    text = re.sub(r" ([*&]+)(?=\w)", r"\1 ", text)
    text = re.sub(r"(?<=\w) ([*&]+)(?= )", r"\1", text)
    return re.sub(r"< ", "<", re.sub(r" >", ">", re.sub(DEFAULT, " = ", text)))


def is_told(node, header):
    return (node.get("prot") == "public" and name_of(node) not in HIDDEN
            and not SECOND_NAME.match(node.findtext("definition") or "")
            and Path(node.find("location").get("file")).name == header)


def table(rows):
    lines = ("<tr>" + "".join(f"<td>{cell}</td>" for cell in row) + "</tr>" for row in rows)
    return "\n".join(["<table>", *lines, "</table>"])


class Header:
    """What Doxygen says of one header."""

    def __init__(self, folder, page, path, documents):
        self.page = page
        self.path = ROOT / path
        text = "\n".join(filtered(self.path.read_text(encoding="utf-8").splitlines()))
        self.lines = text.split("\n")
        tops = [ElementTree.parse(folder / f"{name}.xml").getroot()[0] for name in documents]
        self.intro = tops[0]
        names = dict.fromkeys(node.get("refid") for top in tops for node in top.iter("innerclass"))
        classes = [ElementTree.parse(folder / f"{name}.xml").getroot()[0] for name in names]
        classes = [node for node in classes if is_told(node, self.path.name)]
        loose, self.sections = self.members_of(*tops)
        for node in classes:
            members, sections = self.members_of(node)
            if any(member.get("kind") == "function" for member in node.iter("memberdef")):
                self.sections += [(line_of(node), node, members), *sections]
            else:
                loose.append(node)
        self.sections.sort(key=lambda section: section[0])
        loose.sort(key=line_of)
        self.types = [node for node in loose if node.get("kind") != "function"]
        self.functions = [node for node in loose if node.get("kind") == "function"]

    def members_of(self, *nodes):
        """Those without a section, and sections as line, node and members."""
        loose, sections = [], []
        for section in (part for node in nodes for part in node.findall("sectiondef")):
            members = [node for node in section.findall("memberdef") if is_told(node, self.path.name)]
            if section.get("kind") == "user-defined":
                sections.append((line_of(members[0]), section, members))
            else:
                loose += members
        return sorted(loose, key=line_of), sections

    def names(self):
        """Those that pages link, each with the name that it is told under."""
        for node in (*self.types, *self.functions, *(part for section in self.sections
                                                     for part in (section[1], *section[2]))):
            if node.tag == "compounddef" or self.page != "reference_cpp" or node in self.types:
                yield from ((name, name_of(node))
                            for name in (name_of(node), *map(name_of, node.findall("enumvalue"))))


class Writer:
    """Pages out of headers, with links between them."""

    def __init__(self, headers):
        self.headers = headers
        self.places = {name: f"{header.page}.html#{place}" for header in reversed(headers)
                       for name, place in header.names()}
        self.anchors = set()

    def linked(self, text, names=PLAIN_NAME):
        def link(match):
            place = self.places.get(match[0])
            return f'<a href="{place}">{match[0]}</a>' if place else match[0]
        return names.sub(link, html.escape(text, quote=False))

    def rich(self, node):
        if node is None:
            return ""
        parts = [self.linked(node.text or "")]
        for child in node:
            before, behind = TAGS.get(child.tag, ("", ""))
            parts += [before, self.rich(child).rstrip(), behind, self.linked(child.tail or "")]
        return "".join(parts)

    def told(self, node, header):
        """What the header says of something, or else which calls stand behind it."""
        text = "".join(self.rich(node.find(name)) for name in ("briefdescription", "detaileddescription"))
        if text.strip() or node.get("kind") != "function":
            return text.strip()
        place = node.find("location")
        first, last = (int(place.get(key) or 0) for key in ("bodystart", "bodyend"))
        body = "\n".join(header.lines[first - 1:last]) if 0 < first <= last else ""
        calls = [call for call in dict.fromkeys(CALL.findall(body)) if call in self.places]
        return f"<p>By {' and '.join(self.linked(call + '()') for call in calls)}.</p>" if calls else ""

    def anchor(self, name):
        base = re.sub(r"\W+", "-", name).strip("-") or "unnamed"
        ways = (base if number == 1 else f"{base}-{number}" for number in range(1, 99))
        self.anchors.add(found := next(way for way in ways if way not in self.anchors))
        return found

    def entry(self, node, header, owner=""):
        text = self.told(node, header)
        fields = [part for part in node.iter("memberdef") if part.get("kind") == "variable"]
        values = list(node.iter("enumvalue"))
        if values:
            text += table((f"<code>{name_of(value)}</code>", f"<code>{value.findtext('initializer', '')}</code>",
                           self.rich(value.find("detaileddescription"))) for value in values)
        if node.tag == "compounddef" and fields:
            text += table((f"<code>{self.linked(flat(field.find('type')))}</code>",
                           f"<code>{name_of(field)}</code>", self.told(field, header)) for field in fields)
        code = self.linked(signature(node), re.compile(r"\w+"))
        return (f'<dt id="{self.anchor(owner + name_of(node))}"><code>{code}</code></dt>\n'
                f"<dd>{text}</dd>\n")

    def entries(self, nodes, header, owner=""):
        return "<dl>\n" + "".join(self.entry(node, header, owner) for node in nodes) + "</dl>\n"

    def write(self, header, folder):
        self.anchors = set()
        parts = [f"# {header.path.name}\n", self.told(header.intro, header),
                 "## Types\n", self.entries(header.types, header)]
        for _, node, members in header.sections:
            owner = ""
            if node.tag == "compounddef":
                owner = name_of(node) + "-"
                title = f"{html.escape(signature(node))} {{#{self.anchor(name_of(node))}}}"
                text = self.told(node, header)
            else:
                title = node.findtext("header")
                title = title[0].upper() + title[1:]
                text = self.rich(node.find("description"))
            parts += [f"## {title}\n", text, self.entries(members, header, owner)]
        if header.functions:
            parts += ["## Functions\n", self.entries(header.functions, header)]
        (folder / f"{header.page}.md").write_text("\n\n".join(parts), encoding="utf-8")


    def link(self, page):
        """Links names of C between backquotes, but not within examples."""
        text = page.read_text(encoding="utf-8")
        examples = iter(FENCE.findall(text))
        parts = [QUOTED.sub(self.link_of, part) + next(examples, "") for part in FENCE.split(text)]
        page.write_text("".join(parts), encoding="utf-8")

    def link_of(self, match):
        place = self.places.get(match[1], "")
        return f"[{match[0]}]({place.replace('.html', '.md')})" if place else match[0]


def main():
    folder = Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        settings = f"{CONFIGURATION.read_text(encoding='utf-8')}OUTPUT_DIRECTORY = {name}\n"
        done = subprocess.run(["doxygen", "-"], input=settings, cwd=ROOT, text=True, check=False)
        if done.returncode != 0:
            return 1
        headers = [Header(Path(name) / "xml", *page) for page in PAGES]
    writer = Writer(headers)
    for page in folder.glob("*.md"):
        writer.link(page)
    for header in headers:
        writer.write(header, folder)
    return 0


if __name__ == "__main__":
    sys.exit(main())
