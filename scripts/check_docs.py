#!/usr/bin/env python3
"""Checks what the documents point at; prints one line a breach and exits 1 when there is any.

  scripts/check_docs.py [ROOT]

links    a relative link leads to a file or folder of the tree, and its #anchor to a heading there
paths    a path in backticks that begins with a folder of the tree is there (<…> and * stand for a name)
targets  `make NAME` names a target of the Makefile
tests    `Suite.Name` in docs/limits.md names a test of the tree
blocks   a fenced block is one that a test runs, or a picture
"""

import re
import sys
from pathlib import Path

FOLDERS = ("benchmarks", "cmake", "docs", "fuzz", "host", "scripts", "shell", "src", "tests")
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\[[^\]\n]*\]\(\s*<?([^)\s>]+)>?(?:\s+\"[^\"]*\")?\s*\)|^\[[^\]\n]+\]:\s*<?([^\s>]+)", re.MULTILINE)
SPAN = re.compile(r"(`+)(.+?)\1", re.DOTALL)
PATH = re.compile(r"(?:%s)(?:/[\w.+*<>-]*)+" % "|".join(FOLDERS))
MAKE = re.compile(r"make ([a-z][\w-]*)")
TEST = re.compile(r"^TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)", re.MULTILINE)
NAMED_TEST = re.compile(r"[A-Z]\w*\.[A-Z]\w*")
PROOFS = {"docs/limits.md"}
SCHEME = re.compile(r"[a-z][a-z0-9+.-]*:", re.IGNORECASE)

# Run by tests/docs/run_examples.py, by tests/consumer, and not at all.
RUN_ANYWHERE = {"console"}
RUN_IN = {"docs/embedding.md": {"cmake", "cpp"}}
PICTURES = {"text", "mermaid"}


def documents(root):
    """The documents of the tree, by name."""
    paths = sorted(root.glob("*.md"))
    for folder in FOLDERS:
        paths += sorted((root / folder).rglob("*.md"))
    return {path.relative_to(root).as_posix(): path.read_text(encoding="utf-8") for path in paths}


def blanked(text, pattern):
    """The text with the matches blanked, line numbers kept."""
    return pattern.sub(lambda match: re.sub(r"[^\n]", " ", match.group(0)), text)


def line_of(text, position):
    return text.count("\n", 0, position) + 1


def anchors(text):
    """The anchors of a document's headings, as the common renderers spell them."""
    found, seen = set(), {}
    for heading in re.findall(r"^#{1,6} +(.*?)[ #]*$", blanked(text, FENCE), re.MULTILINE):
        plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
        anchor = re.sub(r"[^\w\- ]", "", plain).replace(" ", "-")
        count = seen.get(anchor, 0)
        seen[anchor] = count + 1
        found.add(f"{anchor}-{count}" if count else anchor)
    return found


def broken_links(root, name, text):
    prose = blanked(blanked(text, FENCE), SPAN)
    for match in LINK.finditer(prose):
        target = match.group(1) or match.group(2)
        if SCHEME.match(target):
            continue
        file, _, anchor = target.partition("#")
        path = (root / name).parent / file if file else root / name
        if file.startswith("/") or not path.resolve().is_relative_to(root):
            yield line_of(text, match.start()), f"the link {target} leads out of the tree"
        elif not path.exists():
            yield line_of(text, match.start()), f"the link {target} leads nowhere"
        elif anchor and (path.suffix != ".md" or anchor not in anchors(path.read_text(encoding="utf-8"))):
            yield line_of(text, match.start()), f"the link {target} names no heading"


def missing_paths(root, text):
    for match in SPAN.finditer(blanked(text, FENCE)):
        span = match.group(2).strip()
        if not PATH.fullmatch(span):
            continue
        pattern = re.sub(r"<[^<>]*>", "*", span).rstrip("/")
        if not any(root.glob(pattern)):
            yield line_of(text, match.start()), f"{span} is not there"


def missing_targets(text, targets):
    spans = [(match.start(), match.group(2)) for match in SPAN.finditer(blanked(text, FENCE))]
    for match in FENCE.finditer(text):
        position = match.start(2)
        for line in match.group(2).splitlines(keepends=True):
            spans.append((position, line))
            position += len(line)
    for position, span in spans:
        match = MAKE.match(span.strip())
        if match and match.group(1) not in targets:
            yield line_of(text, position), f"the Makefile has no target {match.group(1)}"


def tests_of(root):
    """The names of the tree's tests, as the framework spells them."""
    found = set()
    for path in (root / "tests").rglob("*.cpp"):
        text = path.read_text(encoding="utf-8", errors="replace")
        found |= {".".join(names) for names in TEST.findall(text)}
    return found


def missing_tests(name, text, tests):
    for match in SPAN.finditer(blanked(text, FENCE)):
        span = match.group(2)
        if name in PROOFS and NAMED_TEST.fullmatch(span) and span not in tests:
            yield line_of(text, match.start()), f"there is no test {span}"


def idle_blocks(name, text):
    if text.count("\n```") + text.startswith("```") != 2 * len(FENCE.findall(text)):
        yield 1, "its fenced blocks cannot be told apart"
    for match in FENCE.finditer(text):
        language = match.group(1)
        if language in RUN_ANYWHERE | PICTURES | RUN_IN.get(name, set()):
            continue
        lines = match.group(2).splitlines()
        if language == "sh" and all(line.startswith("make ") for line in lines):
            continue
        yield line_of(text, match.start()), f"no test runs a block of {language or 'no language'}"


def breaches(root):
    """(name, line, what) of every breach, and the number of documents."""
    root = Path(root).resolve()
    texts = documents(root)
    makefile = root / "Makefile"
    rules = makefile.read_text(encoding="utf-8") if makefile.exists() else ""
    targets = set(re.findall(r"^([a-z][\w-]*):", rules, re.MULTILINE))
    tests = tests_of(root)
    found = []
    for name, text in texts.items():
        for check in (
            broken_links(root, name, text),
            missing_paths(root, text),
            missing_targets(text, targets),
            missing_tests(name, text, tests),
            idle_blocks(name, text),
        ):
            found += [(name, line, what) for line, what in check]
    return found, len(texts)


def main(arguments):
    root = arguments[0] if arguments else Path(__file__).resolve().parent.parent
    found, count = breaches(root)
    for name, line, what in found:
        print(f"breach: {name}:{line}: {what}")
    print(f"check_docs: {count} documents, {len(found)} breaches")
    return 1 if found or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
