"""The stubs name the arguments that the compiled part has, which stubtest cannot see."""

import ast
import re
from pathlib import Path

import nuv

STUB = ast.parse((Path(nuv.__file__).parent / "_nuv.pyi").read_text(encoding="utf-8"))


def stub_names(function):
    of = function.args
    names = [*(a.arg for a in of.posonlyargs), *(["/"] if of.posonlyargs else []),
             *(a.arg for a in of.args), *(["*"] if of.kwonlyargs else []),
             *(a.arg for a in of.kwonlyargs)]
    return [name for name in names if name != "self"]


def test_arguments_have_the_names_of_the_stubs():
    compared = 0
    scopes = [(nuv._nuv, STUB.body)] + [
        (getattr(nuv._nuv, c.name), c.body) for c in STUB.body
        if isinstance(c, ast.ClassDef) and hasattr(nuv._nuv, c.name)]
    for scope, body in scopes:
        for function in body:
            if not isinstance(function, ast.FunctionDef) or function.name.startswith("__"):
                continue
            told = re.match(r"\w+\((.*)\) -> ", getattr(scope, function.name).__doc__ or "")
            if told:
                names = re.findall(r"(?:^|, )(\w+(?=:)|/|\*)", told[1])
                assert [n for n in names if n != "self"] == stub_names(function), function.name
                compared += 1
    assert compared > 30
