#!/usr/bin/env python3
"""Plants a breach of each rule in a tree of its own and sees it reported; a clean tree has none."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import check_tree  # noqa: E402
import cpp_text  # noqa: E402

CLEAN = {
    "host/include/tarn/tarn.h": '#include "tarn/A.h"\n',
    "host/include/tarn/A.h": "#pragma once\nstruct A {\n    int mValue = 0;\n};\n",
    "host/src/A.cpp": '#include "tarn/A.h"\n#include "Pool.h"\n',
    "host/src/Pool.h": "#pragma once\n",
    "src/duckdb_c/Handles.h": '#include <duckdb.h>\ninline void Close(void** p) { duckdb_free(*p); }\n',
    "src/cursor/Cursor.cpp": '#include "duckdb_c/Handles.h"\n#include "tarn/A.h"\n// duckdb_free(x)\n',
    "src/procedures/P.cpp": '#include "duckdb_c/Handles.h"\nconst char* kText = "duckdb_close(";\n',
    "shell/main.cpp": '#include "tarn/A.h"\nint main() { return 0; }\n',
    "tests/unit/cursor/CursorTest.cpp": "TEST(Cursor, starts_before_the_first_row) {\n    EXPECT_EQ(1, 1);\n}\n",
    "tests/unit/cursor/main.cpp": "int main() { return RunTests(); }\n",
    "tests/support/Fixture.cpp": "int Fixture() { return 1; }\n",
}


def long_function(lines):
    return "void Long() {\n" + "    Call();\n" * (lines - 2) + "}\n"


# What is planted, the file that it is planted in, and what the report must say of that file.
BREACHES = [
    ("src/duckdb_c/Up.cpp", '#include "cursor/Cursor.h"\n', "no way from duckdb_c to cursor"),
    ("src/procedures/Side.cpp", '#include "cursor/Cursor.h"\n', "no way from procedures to cursor"),
    ("src/cursor/Up.cpp", '#include "statement/S.h"\n', "no way from cursor to statement"),
    ("src/statement/Up.cpp", '#include "database/D.h"\n', "no way from statement to database"),
    ("src/database/Up.cpp", '#include "extension/E.h"\n', "no way from database to extension"),
    ("src/other/Room.cpp", "int x;\n", "no room of the layer rule"),
    ("src/cursor/Dots.cpp", '#include "../duckdb_c/Handles.h"\n', "never upwards"),
    ("src/cursor/Cpp.cpp", "#include <duckdb.hpp>\n", "C interface alone"),
    ("host/src/Duck.cpp", "#include <duckdb.h>\n", "host never sees DuckDB"),
    ("host/src/Room.cpp", '#include "cursor/Cursor.h"\n', "host includes no room"),
    ("shell/Room.cpp", '#include "cursor/Cursor.h"\n', "shell includes no room"),
    ("shell/Duck.cpp", "#include <duckdb.h>\n", "shell never sees DuckDB"),
    ("shell/Host.cpp", '#include "host/src/Pool.h"\n', "not an include root"),
    ("src/cursor/Free.cpp", "void F(void* p) { duckdb_free(p); }\n", "duckdb_free belongs in"),
    ("src/cursor/Value.cpp", "auto gRelease = &duckdb_destroy_value;\n", "duckdb_destroy_value belongs in"),
    ("shell/Close.cpp", "void F(duckdb_database d) { duckdb_close(&d); }\n", "duckdb_close belongs in"),
    ("src/cursor/Leave.cpp", "void F() { duckdb_disconnect(c); }\n", "duckdb_disconnect belongs in"),
    ("src/cursor/App.cpp", "void F() { duckdb_appender_destroy(&a); }\n", "duckdb_appender_destroy belongs"),
    ("src/cursor/Big.cpp", "int x;\n" * 501, "501 lines"),
    ("tests/unit/cursor/Big.cpp", "// EXPECT\n" * 501, "501 lines"),
    ("src/cursor/Long.cpp", long_function(61), "Long has 61 lines"),
    ("tests/support/Long.cpp", "namespace a {\n" + long_function(61) + "}\n", "Long has 61 lines"),
    ("src/cursor/Ctor.cpp", "Foo::Foo() : mA{1}, mB(2) {\n" + "    F();\n" * 60 + "}\n", "Foo::Foo has 62"),
    ("tests/unit/cursor/Skip.cpp", "TEST(A, b) { GTEST_" + "SKIP(); EXPECT_EQ(1, 1); }\n", "says GTEST_"),
    ("tests/unit/cursor/Off.cpp", "TEST(A, DISABLED" + "_b) { EXPECT_EQ(1, 1); }\n", "says DISABLED"),
    ("src/cursor/Later.cpp", "// TO" + "DO: the rest\n", "says TO"),
    ("src/cursor/Merge.cpp", "int x;\n" + "<" * 7 + " HEAD\n", "says <<<"),
    ("docs/later.md", "FIX" + "ME\n", "says FIX"),
    ("tests/unit/cursor/None.cpp", "TEST(A, b) { Call(); }\n", "TEST(A, b) asserts nothing"),
    ("tests/contract/x/Empty.cpp", "// EXPECT_EQ(1, 1)\nint x;\n", "has no test"),
    ("tests/stress/Empty.cpp", "int x;\n", "has no test"),
    ("tests/stress/Half.cpp", "TEST(A, b) { EXPECT_EQ(1, 1); }\nTEST_F(A, c) { F(); }\n", "TEST_F(A, c) asserts"),
    ("src/cursor/Dead.h", "#pragma once\n", "is included by nothing"),
    ("src/cursor/Member.h", "class A {\n  std::string text = {};\n};\n", "the data member text is not named mName"),
    ("shell/Member.h", "struct A {\n  int const* values[3];\n};\n", "the data member values is not named"),
    ("src/cursor/Face.h", "class Face {\n public:\n  virtual void F() = 0;\n};\n", "the interface Face is not"),
    ("src/cursor/Error.h", "class Error : public tarn::xException {\n};\n", "the exception Error is not named"),
    ("host/include/tarn/Left.h", "#pragma once\n", "is not reached from tarn/tarn.h"),
]


def breaches_of(files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        tree = check_tree.Tree(folder)
        for check in check_tree.CHECKS:
            check(tree)
        return tree.breaches


class TreeRules(unittest.TestCase):
    def test_a_clean_tree_has_no_breach(self):
        self.assertEqual(breaches_of(CLEAN), [])

    def test_every_planted_breach_is_reported_at_its_file(self):
        for name, text, expected in BREACHES:
            with self.subTest(name=name, expected=expected):
                reports = [b for b in breaches_of({**CLEAN, name: text}) if b.startswith(name + ":")]
                self.assertTrue(any(expected in report for report in reports), reports)


class FunctionLengths(unittest.TestCase):
    CASES = [
        ("void F() {\n}\n", [("F", 2)]),
        ("int X::Get() const noexcept {\n\n}\n", [("X::Get", 3)]),
        ("class A {\n    int F() { return 1; }\n    void G();\n};\n", [("F", 1)]),
        ("struct R { int a; };\nconst R kTable[] = {\n{1},\n{2},\n};\n", []),
        ("constexpr auto kNames = Make({\n1,\n2,\n});\n", []),
        ("template <class T = int>\nT Max(T a) {\nreturn a;\n}\n", [("Max", 3)]),
        ("A::A(int x) : mX{x}, mY(x) {\nF();\n}\n", [("A::A", 3)]),
        ("A::A(int x)\n    : mX{x} {}\n", [("A::A", 1)]),
        ('void F() { auto s = R"(}}}{)"; auto c = \'{\'; }\nvoid G() {}\n', [("F", 1), ("G", 1)]),
        ("void F() {\n#define X {\n}\n", [("F", 3)]),
        ("bool operator==(A a, A b) {\nreturn true;\n}\n", [("operator==", 3)]),
        ("auto gCall = [](int x) {\nreturn x;\n};\n", [("a lambda", 3)]),
        ('extern "C" {\nvoid F() {}\n}\nextern "C" int G(void) {\n}\n', [("F", 1), ("G", 2)]),
        ("enum class E : int { a, b };\nnamespace x::y {\nvoid F() {\n}\n}\n", [("F", 2)]),
        ("TEST_F(Suite, says_something) {\n}\n", [("TEST_F(Suite, says_something)", 2)]),
        ("class LSHARED_API A final : public B<int(int)> {\npublic:\n    A() {}\n};\n", [("A", 1)]),
        ("struct P { std::vector<int> Rows(int n = 3) const {\nreturn {};\n} };\n", [("Rows", 3)]),
        ('#include <a>\n#include "b.h"\n\nnamespace x {\nvoid F() {\n}\n}\n', [("F", 2)]),
        ("int x = 1'000'000;\nvoid F() {\n}\n", [("F", 2)]),
    ]

    def test_functions_are_found_with_their_lines(self):
        for text, expected in self.CASES:
            with self.subTest(text=text):
                found = [(f.name, f.length) for f in cpp_text.functions(text)]
                self.assertEqual(found, expected)


if __name__ == "__main__":
    unittest.main()
