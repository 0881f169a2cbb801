#!/usr/bin/env python3
"""Plants a breach of each kind in documents of its own and sees it reported; good ones have none."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import check_docs  # noqa: E402

CLEAN = {
    "Makefile": "build: setup ## it\nsetup-data:\n.PHONY: all\n",
    "src/cursor/Cursor.h": "#pragma once\n",
    "README.md": "\n".join(
        [
            "# The tree",
            "[types](docs/types.md), [lost](docs/types.md#what-is-lost), [here](#make-it), [src](src/cursor)",
            "[far](https://example.org/no/such) and [mail](mailto:a@example.org) `[no](link.md)`",
            '[titled](docs/types.md "The types") ![picture](docs/picture.svg)',
            "[ref]: docs/types.md#what-is-lost-1",
            "`src/cursor/`, `src/<room>/Cursor.h`, `src/*/*.h`, `build/release/x`, `docs/types.md`, `src/a b`",
            "## Make it",
            "`make build`, `make setup-data PREFIX=x`, `make`",
            "```sh",
            "make build   # it",
            "```",
            "```text",
            "[no](link.md)",
            "```",
        ]
    ),
    "docs/types.md": "# Types\n[up](../README.md#make-it)\n## What is lost?\n## What is lost?\n```console\n$ true\n```\n",
    "docs/picture.svg": "<svg/>\n",
    "docs/limits.md": "`Drop.IsRefused` `Rows.AreKept/3` `Drop.isRefused`\n",
    "tests/a_test.cpp": "TEST_F(Drop, IsRefused) {}\n",
    "docs/embedding.md": "```cpp\nint x;\n```\n",
}

BREACHES = [
    ("docs/a.md", "one\n[x](type.md)\n", 2, "type.md leads nowhere"),
    ("docs/a.md", "[x](docs/types.md)\n", 1, "leads nowhere"),
    ("README.md", "![x](docs/none.png)\n", 1, "leads nowhere"),
    ("README.md", "[x]: none.md\n", 1, "leads nowhere"),
    ("docs/a.md", "[x](types.md#what-was-lost)\n", 1, "names no heading"),
    ("docs/a.md", "[x](#a)\n```console\n# a\n```\n", 1, "names no heading"),
    ("docs/a.md", "[x](picture.svg#a)\n", 1, "names no heading"),
    ("docs/a.md", "[x](../../a.md)\n", 1, "out of the tree"),
    ("docs/a.md", "[x](/etc/hosts)\n", 1, "out of the tree"),
    ("src/cursor/a.md", "[x](none.h)\n", 1, "leads nowhere"),
    ("docs/a.md", "see\n\n`src/cursor/Gone.h`\n", 3, "src/cursor/Gone.h is not there"),
    ("docs/a.md", "`tests/sql/`\n", 1, "tests/sql/ is not there"),
    ("docs/a.md", "`src/<room>/Gone.h`\n", 1, "is not there"),
    ("docs/a.md", "`make everything`\n", 1, "no target everything"),
    ("docs/a.md", "x\n```sh\nmake build\nmake tea\n```\n", 4, "no target tea"),
    ("docs/a.md", "```sh\nrm -rf /\n```\n", 1, "no test runs a block of sh"),
    ("docs/a.md", "```cpp\nint x;\n```\n", 1, "no test runs a block of cpp"),
    ("docs/a.md", "```\nint x;\n```\n", 1, "no test runs a block of no language"),
    ("docs/limits.md", "x\n`Drop.IsAllowed`\n", 2, "there is no test Drop.IsAllowed"),
    ("docs/a.md", "```text\nno end\n", 1, "cannot be told apart"),
]


def breaches_of(files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        return check_docs.breaches(folder)[0]


class Documents(unittest.TestCase):
    def test_good_documents_have_no_breach(self):
        self.assertEqual(breaches_of(CLEAN), [])

    def test_every_planted_breach_is_reported_at_its_line(self):
        for name, text, line, expected in BREACHES:
            with self.subTest(text=text):
                found = breaches_of({**CLEAN, name: text})
                self.assertEqual([(f[0], f[1]) for f in found if expected in f[2]], [(name, line)], found)

    def test_a_tree_without_documents_is_a_failure(self):
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stdout(io.StringIO()):
            self.assertEqual(check_docs.main([folder]), 1)


if __name__ == "__main__":
    unittest.main()
