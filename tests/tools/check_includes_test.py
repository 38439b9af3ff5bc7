#!/usr/bin/env python3
"""The rules of tools/check_includes.py on small trees: what is allowed and what is not."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
sys.dont_write_bytecode = True
import check_includes  # pylint: disable=wrong-import-position

ALLOWED = (
    ("framework/manager/a.h", "framework/base/b.h"),
    ("framework/io/a.h", "framework/containers/b.h"),
    ("core/tiff/a.h", "core/include/b.h"),
    ("core/tiff/source/a.cpp", "core/ccitt/b.h"),
    ("core/jpeg/decode/a.cpp", "core/jpeg/kernels/b.h"),
    ("wrapper/source/a.cpp", "extension/fast/b.h"),
    ("tests/core/tiff/a_test.cpp", "core/tiff/source/b.h"),
    ("benchmarks/a_bench.cpp", "core/jpeg/source/b.h"),
    ("fuzz/a_fuzz.cpp", "wrapper/nuv_wrapper.h"),
    ("fuzz/a_fuzz.cpp", "api/include/nuv/nuv.h"),
)
FORBIDDEN = (
    ("framework/base/a.h", "framework/containers/b.h"),
    ("framework/io/a.h", "core/include/b.h"),
    ("core/include/a.h", "core/tiff/b.h"),
    ("core/tiff/a.h", "core/ccitt/source/b.h"),
    ("core/tiff/a.h", "extension/fast/b.h"),
    ("core/jpeg/kernels/a.h", "core/jpeg/decode/b.h"),
    ("core/jpeg/attic/a.cpp", "core/jpeg/stream/b.h"),
    ("core/lut/a.cpp", "core/jpeg/kernels/b.h"),
    ("extension/fast/a.h", "wrapper/b.h"),
    ("wrapper/source/a.cpp", "core/tiff/source/b.h"),
    ("tests/core/tiff/a_test.cpp", "core/ccitt/source/b.h"),
    ("tools/nuv/a.cpp", "core/tiff/b.h"),
    ("examples/a.cpp", "wrapper/nuv_wrapper.h"),
)


class Includes(unittest.TestCase):
    def offences(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return check_includes.check(Path(folder))

    def test_layers(self):
        for user, header in ALLOWED:
            with self.subTest(user=user, header=header):
                self.assertEqual(self.offences({user: f'#include "{header}"\n', header: ""}), [])
        for user, header in FORBIDDEN:
            with self.subTest(user=user, header=header):
                found = self.offences({user: f'\n  # include "{header}"\n', header: ""})
                self.assertEqual(len(found), 1)
                self.assertTrue(found[0].startswith(f"{user}:2: "), found[0])

    def test_headers_are_named_from_the_root_in_quotes(self):
        header = {"core/tiff/b.h": ""}
        for text in ('"b.h"', '"../tiff/b.h"', '"core/tiff/c.h"', "<core/tiff/b.h>"):
            with self.subTest(text=text):
                found = self.offences(header | {"core/tiff/a.h": f"#include {text}\n"})
                self.assertEqual(len(found), 1)

    def test_a_circle_of_modules_is_found_through_others(self):
        chain = {"core/a/x.h": '#include "core/b/x.h"\n', "core/b/x.h": '#include "core/c/y.h"\n',
                 "core/c/x.h": "", "core/c/y.h": ""}
        self.assertEqual(self.offences(chain), [])
        found = self.offences(chain | {"core/c/x.h": '#include "core/a/x.h"\n'})
        self.assertEqual(len(found), 1)
        self.assertIn("core/a -> core/b -> core/c -> core/a", found[0])


if __name__ == "__main__":
    unittest.main()
