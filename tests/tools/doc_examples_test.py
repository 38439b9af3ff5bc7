#!/usr/bin/env python3
"""Runs the examples of the documents, in folders with the pictures that they name: those in C and
C++, each compiled, and the lines for the shell. One that fails, that prints to stderr where it should
not, or that writes no file that it names is told.

    doc_examples_test.py COMPILER INCLUDE_FOLDER TOOL LIBRARY...

TOOL may be empty: lines for the shell are then left out.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
DATA = ROOT / "tests/data"
BLOCK = re.compile(r"^```(cpp|c|sh)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PICTURES = {"scan.ppm": "pnm/colour.ppm", "photo.jpg": "jpeg/420.jpg", "fax.tif": "tiff/fax_t6.tif",
            "pages.tif": "tiff/two_pages.tif", "icon.png": "png/palette_4.png",
            "cmyk.jpg": "jpeg/adobe_cmyk.jpg", "deep.png": "png/colour_16.png",
            "photos/a.jpg": "jpeg/420.jpg", "photos/b.jpg": "jpeg/422_restarts.jpg"}
LANGUAGES = {"cpp": ["-x", "c++", "-std=c++20"], "c": ["-x", "c", "-std=c99"]}
HEADER = "#include <nuv/nuv.hpp>\n#include <iostream>\n"


def fill(folder):
    for name, fixture in PICTURES.items():
        (folder / name).parent.mkdir(exist_ok=True)
        shutil.copy(DATA / fixture, folder / name)
    (folder / "samples.bin").write_bytes((folder / "scan.ppm").read_bytes()[-195:])
    (folder / "damaged.jpg").write_bytes((folder / "photo.jpg").read_bytes()[:900])


def missing(text, folder):
    names = re.findall(r"(?<![\w%])[\w/]+\.(?:jpg|ljpg|ppm|pgm|pbm|raw|bin)\b", text)
    return " ".join(name for name in names if not (folder / name).is_file())


def program(text):
    """The lines of an example as a whole program. Those of a page's short ones tell failures."""
    told = re.sub(r"^auto (\w+) = nuv::Job::open[^;]*;$",
                  r"\g<0> if (!\1) std::cerr << \1.error().message;", text, flags=re.MULTILINE)
    heads = [line for line in told.splitlines() if line.startswith("#include")]
    rest = [line for line in told.splitlines() if not line.startswith("#include")]
    return "\n".join(heads + ["int main(void) {"] + rest + ["return 0;", "}", ""])


def run_program(language, text, folder, compiler, include, libraries):
    paths = [f"-Wl,-rpath,{Path(library).resolve().parent}" for library in libraries]
    command = [compiler, *LANGUAGES[language], "-Wall", "-Wextra", f"-I{include}", "-",
               "-x", "none", *libraries, *paths, "-o", f"{folder}/example"]
    built = subprocess.run(command, input=program(text), capture_output=True, text=True, check=False)
    if built.returncode != 0 or built.stderr:
        return built.stderr
    done = subprocess.run([f"{folder}/example"], cwd=folder, capture_output=True, text=True,
                          check=False)
    return done.stderr or ("" if done.returncode == 0 else "exit status")


def run_lines(text, folder, tool):
    path = f"{Path(tool).resolve().parent}:{os.environ['PATH']}"
    done = subprocess.run(["bash", "-e", "-o", "pipefail", "-c", text], cwd=folder, text=True,
                          env=os.environ | {"PATH": path}, capture_output=True, check=False)
    is_told = re.search("photos|damaged|verbose", text)
    return done.stderr if done.returncode != 0 or (done.stderr and not is_told) else ""


def examples_of_help(tool):
    """Those with which each command ends its help; other than five of them are one that fails."""
    for command in ("", "info", "convert", "thumbnail", "help"):
        page = f"nuv {command} --help".replace("  ", " ")
        told = subprocess.run([tool, *command.split(), "--help"], capture_output=True, text=True,
                              check=True).stdout
        lines = told.partition("\nExamples:\n")[2].splitlines()
        yield from ((page, "sh", line if len(lines) == 5 else "false") for line in lines or [""])


def examples():
    """Each as the name of its page, its language and its text."""
    for page in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]:
        blocks = BLOCK.findall(page.read_text(encoding="utf-8"))
        yield from ((page.name, *block) for block in blocks if "#include <nuv/" in block[1])
        yield from ((page.name, *block) for block in blocks if block[0] == "sh")
        short = [text for language, text in blocks
                 if language == "cpp" and text.startswith("auto ") and "nuv::Job" in text]
        if short:
            yield page.name, "cpp", HEADER + "".join(short)


def main():
    compiler, include, tool, *libraries = sys.argv[1:]
    count = 0
    failed = 0
    for page, language, text in [*examples(), *(examples_of_help(tool) if tool else ())]:
        if language == "sh" and not tool:
            continue
        count += 1
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            fill(folder)
            if language == "sh":
                problem = run_lines(text, folder, tool)
            else:
                problem = run_program(language, text, folder, compiler, include, libraries)
            problem = problem or missing(text, folder)
        if problem:
            failed += 1
            print(f"{page}: {text}\n{problem}", file=sys.stderr)
    print(f"{count} examples, {failed} failed")
    return 1 if failed or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
