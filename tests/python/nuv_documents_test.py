"""The examples in Python of the documents that are whole programs: those of a page one behind the
other, in a folder with the pictures that they name. tests/tools/doc_examples_test.py compares those of
the cookbook with the other languages."""

import re
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parent.parent.parent
BLOCK = re.compile(r"^```python\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PAGES = {page.name: [block for block in BLOCK.findall(page.read_text(encoding="utf-8"))
                     if "import nuv" in block]
         for page in [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]}

sys.path.insert(0, str(ROOT / "tests/tools"))
from doc_examples_test import fill, missing  # noqa: E402


@pytest.mark.parametrize("page", [name for name, blocks in PAGES.items() if blocks])
def test_the_examples_of_a_page_run(page, tmp_path, monkeypatch):
    fill(tmp_path)
    monkeypatch.chdir(tmp_path)
    for block in PAGES[page]:
        exec(compile(block, page, "exec"), {"__name__": "example"})
        assert missing(block, tmp_path) == ""


def test_there_are_examples():
    assert len(PAGES["README.md"]) == 1 and len(PAGES["python.md"]) > 8
