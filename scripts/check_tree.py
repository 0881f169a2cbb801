#!/usr/bin/env python3
"""Checks the rules of this tree; prints one line a breach and exits 1 when there is any.

  scripts/check_tree.py [ROOT]

layers      includes go only along extension -> procedures -> database -> statement -> cursor -> duckdb_c
            -> host; procedures uses duckdb_c alone; host and shell see no room, and no duckdb.h
releases    no DuckDB handle is released outside src/duckdb_c/Handles.h
length      a file has at most 500 lines, a function at most 60 (more than 40 is remarked upon)
words       no test is skipped, nothing is left for later, no merge is left half done
assertions  every test asserts something
headers     every header is included by something, and every host header is reached from tarn/tarn.h
names       in headers: a data member is mName, a class of pure virtual functions alone is I_Name, a class
            that derives from the host's exceptions is xName
"""

import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import cpp_text  # noqa: E402

MAX_FILE_LINES = 500
MAX_FUNCTION_LINES = 60
LONG_FUNCTION_LINES = 40

ROOMS = {
    "duckdb_c": set(),
    "cursor": {"duckdb_c"},
    "statement": {"cursor", "duckdb_c"},
    "database": {"statement", "cursor", "duckdb_c"},
    "procedures": {"duckdb_c"},
    "extension": {"procedures", "database", "statement", "cursor", "duckdb_c"},
}
CODE_FOLDERS = ("host", "src", "shell", "tests", "fuzz", "benchmarks")
TEXT_FOLDERS = CODE_FOLDERS + ("cmake", "scripts", "docs")
CODE_SUFFIXES = {".h", ".hpp", ".inc", ".cpp"}
TEXT_SUFFIXES = CODE_SUFFIXES | {".py", ".sh", ".cmake", ".md", ".txt", ".sql", ".map"}

RELEASE_CALL = re.compile(
    r"\b(duckdb_destroy_\w+|duckdb_close|duckdb_disconnect|duckdb_free|duckdb_appender_destroy)\b"
)
UMBRELLA = "host/include/tarn/tarn.h"
RELEASES_LIVE_IN = "src/duckdb_c/Handles.h"

# Spelled in halves, so that this file keeps its own rule.
BANNED_WORDS = re.compile(
    "|".join(["GTEST_" + "SKIP", "DISABLED" + "_", r"\bTO" + r"DO\b", r"\bFIX" + r"ME\b", r"^<{7} ", r"^>{7} "]),
    re.MULTILINE,
)

ASSERTION = re.compile(
    r"\b(?:(?:EXPECT|ASSERT)_\w+|FAIL|ADD_FAILURE|GTEST_FAIL)\s*\(|\b(?:Expect|Assert|Check|Verify)\w*\s*[(<]"
)


class Tree:
    """The files of a tree, read once, and the breaches and remarks found so far."""

    def __init__(self, root):
        self.root = Path(root).resolve()
        self.breaches = []
        self.remarks = []
        self.texts = {}
        for folder in TEXT_FOLDERS:
            for path in sorted((self.root / folder).rglob("*")):
                if path.suffix in TEXT_SUFFIXES and path.is_file() and "__pycache__" not in path.parts:
                    name = path.relative_to(self.root).as_posix()
                    self.texts[name] = path.read_text(encoding="utf-8", errors="replace")

    def code(self, *folders):
        """(name, text) of the C++ files under these folders."""
        for name, text in self.texts.items():
            if Path(name).suffix in CODE_SUFFIXES and name.split("/")[0] in folders:
                yield name, text

    def breach(self, name, line, what):
        self.breaches.append(f"{name}:{line}: {what}")

    def remark(self, name, line, what):
        self.remarks.append(f"{name}:{line}: {what}")


def check_layers(tree):
    for name, text in tree.code("host", "src", "shell"):
        parts = name.split("/")
        room = parts[1] if parts[0] == "src" else parts[0]
        if parts[0] == "src" and room not in ROOMS:
            tree.breach(name, 1, f"src/{room} is no room of the layer rule")
            continue
        for line, _, path in cpp_text.includes(text):
            reason = _forbidden_include(tree, room, path)
            if reason:
                tree.breach(name, line, f"includes {path}: {reason}")


def _forbidden_include(tree, room, path):
    target = path.split("/")[0]
    if ".." in path.split("/"):
        return "includes are relative to the include root, never upwards"
    if path in ("duckdb.h", "duckdb.hpp"):
        if path == "duckdb.hpp":
            return "DuckDB is used through its C interface alone"
        return "" if room in ROOMS else f"{room} never sees DuckDB"
    if target in ROOMS and "/" in path:
        if room not in ROOMS:
            return f"{room} includes no room"
        if target != room and target not in ROOMS[room]:
            return f"the layer rule has no way from {room} to {target}"
    if target in ("host", "shell", "tests", "fuzz", "benchmarks", "src") and "/" in path and room != target:
        if (tree.root / path).exists():
            return "not an include root of this room"
    return ""


def check_releases(tree):
    for name, text in tree.code("src", "shell"):
        if name == RELEASES_LIVE_IN:
            continue
        for match in RELEASE_CALL.finditer(cpp_text.without_comments_and_literals(text)):
            line = match.string.count("\n", 0, match.start()) + 1
            tree.breach(name, line, f"{match.group(1)} belongs in {RELEASES_LIVE_IN} alone")


def check_length(tree):
    for name, text in tree.texts.items():
        lines = text.count("\n")
        if lines > MAX_FILE_LINES and not name.startswith(("docs/", "tests/sql/")):
            tree.breach(name, 1, f"{lines} lines; a file has at most {MAX_FILE_LINES}")
    for name, text in tree.code(*CODE_FOLDERS):
        for function in cpp_text.functions(text):
            what = f"{function.name} has {function.length} lines"
            if function.length > MAX_FUNCTION_LINES:
                tree.breach(name, function.line, f"{what}; a function has at most {MAX_FUNCTION_LINES}")
            elif function.length > LONG_FUNCTION_LINES:
                tree.remark(name, function.line, f"{what}; {LONG_FUNCTION_LINES} are meant")


def check_words(tree):
    for name, text in tree.texts.items():
        for match in BANNED_WORDS.finditer(text):
            line = text.count("\n", 0, match.start()) + 1
            tree.breach(name, line, f"says {match.group(0)}")


def check_assertions(tree):
    for name, text in tree.code("tests"):
        if not name.endswith(".cpp") or name.split("/")[1] not in ("unit", "contract", "load", "stress"):
            continue
        tests = [f for f in cpp_text.functions(text) if re.match(r"(TYPED_)?TEST(_F|_P)?\(", f.name)]
        code = cpp_text.without_comments_and_literals(text)
        if len(tests) != len(re.findall(r"^\s*(?:TYPED_)?TEST(?:_F|_P)?\s*\(", code, re.MULTILINE)):
            tree.breach(name, 1, "its tests could not all be read")
        for test in tests:
            if not ASSERTION.search(test.body):
                tree.breach(name, test.line, f"{test.name} asserts nothing")
        # A file without tests is a fixture or a main beside files that have some.
        if not tests and not _has_tests_beside(tree, name):
            tree.breach(name, 1, "has no test, and none is beside it")


def _has_tests_beside(tree, name):
    folder = name.rsplit("/", 1)[0]
    return folder != "tests/stress" and any(
        other != name and other.rsplit("/", 1)[0] == folder and re.search(r"\bTEST(_F|_P)?\s*\(", text)
        for other, text in tree.code("tests")
    )


def check_headers(tree):
    included = set()
    for name, text in tree.code(*CODE_FOLDERS):
        for _, _, path in cpp_text.includes(text):
            included.add(path)
            included.add((Path(name).parent / path).as_posix())
    reached = _reached_from(tree, UMBRELLA)
    for name, _ in tree.code(*CODE_FOLDERS):
        if Path(name).suffix == ".cpp" or name == UMBRELLA:
            continue
        parts = name.split("/")
        spellings = {"/".join(parts[i:]) for i in range(1, len(parts))} | {name}
        if not spellings & included:
            tree.breach(name, 1, "is included by nothing")
        if name.startswith("host/include/") and reached and name not in reached:
            tree.breach(name, 1, "is not reached from tarn/tarn.h")


def _reached_from(tree, name):
    """The host headers that including this one brings in."""
    reached, waiting = set(), [name]
    while waiting:
        name = waiting.pop()
        if name in tree.texts and name not in reached:
            reached.add(name)
            waiting += ["host/include/" + path for _, _, path in cpp_text.includes(tree.texts[name])]
    return reached


# A declaration without parentheses: type, name, perhaps an initial value.
MEMBER = re.compile(
    r"^ +(?!(?:using|return|typedef|friend|static|inline|extern|template|namespace|class|struct|enum)\b)"
    r"(?:[\w:<>,&*]+\s+)+[*&]*(\w+)(?:\[[^\]]*\])?(?:\s*=\s*[^;()]*|\{[^;()]*\})?;"
)
CLASS = re.compile(r"^(?:class|struct)\s+(?:\w+_API\s+)?(\w+)(?:\s+final)?(\s*:[^{;]*)?\s*\{(.*?)^\};", re.M | re.S)
# The binary interface in C, and a class of the host's, have the host's names.
NAMED_BY_THE_HOST = ("host/include/tarn/ExtensionApi.h", "host/include/tarn/File.h")


def check_names(tree):
    for name, text in tree.code("host", "src", "shell"):
        if Path(name).suffix != ".h" or name in NAMED_BY_THE_HOST:
            continue
        text = cpp_text.without_comments_and_literals(text)
        local = set()
        for function in cpp_text.functions(text):
            local.update(range(function.line, function.line + function.length))
        for number, line in enumerate(text.split("\n"), 1):
            member = None if number in local else MEMBER.match(line)
            if member and not re.match(r"m[A-Z]", member.group(1)):
                tree.breach(name, number, f"the data member {member.group(1)} is not named mName")
        for found in CLASS.finditer(text):
            _check_class_name(tree, name, text.count("\n", 0, found.start()) + 1, *found.groups())


def _check_class_name(tree, name, line, class_name, bases, body):
    if re.search(r"\bx[A-Z]\w*", bases or "") and not re.match(r"x[A-Z]", class_name):
        tree.breach(name, line, f"the exception {class_name} is not named xName")
    virtual = re.findall(r"^ +virtual [^;]*;", body, re.M)
    abstract = virtual and all(text.endswith("= 0;") for text in virtual)
    if abstract and not re.search(r"^ +[^;{]*\)[^;]*\{|\bm[A-Z]\w*;", body, re.M) and not class_name.startswith("I_"):
        tree.breach(name, line, f"the interface {class_name} is not named I_Name")


CHECKS = (
    check_layers,
    check_releases,
    check_length,
    check_words,
    check_assertions,
    check_headers,
    check_names,
)


def main(arguments):
    root = arguments[0] if arguments else Path(__file__).resolve().parent.parent
    tree = Tree(root)
    for check in CHECKS:
        check(tree)
    for remark in tree.remarks:
        print(f"remark: {remark}")
    for breach in tree.breaches:
        print(f"breach: {breach}")
    code = [text for _, text in tree.code(*CODE_FOLDERS)]
    functions = sum(len(cpp_text.functions(text)) for text in code)
    print(f"check_tree: {len(code)} files, {functions} functions, {len(tree.breaches)} breaches, {len(tree.remarks)} remarks")
    return 1 if tree.breaches else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
