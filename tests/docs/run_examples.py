#!/usr/bin/env python3
"""Runs the console blocks of documents and compares what comes out with what they show.

  run_examples.py BIN_FOLDER DOCUMENT...

A block is fenced as ```console. A line that begins with "$ " is a command for bash (a line that ends
with a backslash goes on in the next one); the lines below it are its output, both streams together.
A line that is only "…" stands for any lines. All blocks of one document run in one new folder, with
BIN_FOLDER first in PATH. Exits 1 when anything differs, or when a document has no block at all.
"""

import os
import re
import subprocess
import sys
import tempfile

ANY_LINES = "…"
TIME_LIMIT = 120


def blocks(text):
    """Yields (line number, lines) of each console block."""
    lines = text.split("\n")
    start = None
    for number, line in enumerate(lines):
        if start is None and line.strip() == "```console":
            start = number + 1
        elif start is not None and line.strip() == "```":
            yield start + 1, lines[start:number]
            start = None
    if start is not None:
        raise ValueError(f"line {start}: the block has no end")


def examples(first_line, lines):
    """Yields (line number, command, expected lines) of each command of a block."""
    found = []
    continues = False
    for number, line in enumerate(lines, first_line):
        if continues:
            found[-1][1] += "\n" + line
            continues = line.endswith("\\")
        elif line.startswith("$ "):
            found.append([number, line[2:], []])
            continues = line.endswith("\\")
        elif not found:
            raise ValueError(f"line {number}: output before any command")
        else:
            found[-1][2].append(line)
    return found


def matches(expected, actual):
    pattern = ""
    for line in expected:
        pattern += r"(?:[^\n]*\n)*?" if line == ANY_LINES else re.escape(line) + "\n"
    return re.fullmatch(pattern, "".join(line + "\n" for line in actual)) is not None


def run(command, folder, environment):
    result = subprocess.run(
        ["bash", "-c", command], cwd=folder, env=environment, timeout=TIME_LIMIT,
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    text = result.stdout.decode("utf-8", "replace").replace("\r\n", "\n")
    return text.removesuffix("\n").split("\n") if text else []


def check(document, environment):
    with open(document, encoding="utf-8") as file:
        text = file.read()
    count = 0
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        for first_line, lines in blocks(text):
            for number, command, expected in examples(first_line, lines):
                count += 1
                actual = run(command, folder, environment)
                if matches(expected, actual):
                    continue
                failures += 1
                print(f"{document}:{number}: $ {command}\n--- the document shows")
                print("\n".join(expected) + "\n--- it printed\n" + "\n".join(actual))
    print(f"{document}: {count} commands, {failures} differ")
    return count > 0 and failures == 0


def main():
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    environment = dict(os.environ)
    environment["PATH"] = os.path.abspath(sys.argv[1]) + ":" + environment["PATH"]
    environment["HOME"] = "/nonexistent"
    results = [check(document, environment) for document in sys.argv[2:]]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
