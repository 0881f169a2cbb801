#!/usr/bin/env python3
"""Shows that the ledger check notices each way in which the ledger can be out of date."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import check_ledger  # noqa: E402

HEADER = """
typedef struct _duckdb_value { void *p; } *duckdb_value;
DUCKDB_C_API duckdb_state duckdb_query(duckdb_connection c, const char *q);
// DUCKDB_C_API void duckdb_in_a_comment();
DUCKDB_C_API duckdb_logical_type
duckdb_over_two_lines(idx_t col_idx);
#ifndef DUCKDB_API_NO_DEPRECATED
DUCKDB_C_API idx_t duckdb_old(duckdb_result *result);
#endif
DUCKDB_C_API void duckdb_odd(int i);
"""
FUNCTIONS = check_ledger.header_functions(HEADER)


def ledger_for(rooms, known=None):
    known = known or {name: ["", "", "a reason"] for name in check_ledger.SUPPLIED | check_ledger.NEWER}
    return check_ledger.as_text(check_ledger.current_ledger(FUNCTIONS, rooms, known))


class Ledger(unittest.TestCase):
    def problems(self, rooms, text):
        return check_ledger.problems(FUNCTIONS, rooms, HEADER, text)

    def test_the_header_is_read_whole(self):
        expected = {"duckdb_query": False, "duckdb_over_two_lines": False, "duckdb_old": True, "duckdb_odd": False}
        self.assertEqual(FUNCTIONS, expected)

    def test_a_true_ledger_has_no_problem(self):
        rooms = {"duckdb_query": {"cursor"}, "duckdb_value": {"cursor"}}
        self.assertEqual(self.problems(rooms, ledger_for(rooms)), [])

    def test_a_new_use_is_noticed(self):
        found = self.problems({"duckdb_query": {"cursor"}}, ledger_for({}))
        self.assertTrue(any("duckdb_query is used [cursor]" in problem for problem in found), found)

    def test_a_use_that_has_gone_is_noticed(self):
        found = self.problems({}, ledger_for({"duckdb_query": {"cursor"}}))
        self.assertTrue(any("duckdb_query is unused" in problem for problem in found), found)

    def test_a_use_without_a_reason_is_noticed(self):
        rooms = {"duckdb_odd": {"cursor"}}
        self.assertIn("duckdb_odd is used and has no reason", self.problems(rooms, ledger_for(rooms)))

    def test_a_function_that_left_the_header_is_noticed(self):
        found = self.problems({}, ledger_for({}) + "duckdb_zzz\tunused\n")
        self.assertIn("duckdb_zzz is no function of the header", found)

    def test_a_function_new_in_the_header_is_noticed(self):
        text = ledger_for({}).replace("duckdb_odd\tunused\n", "")
        self.assertIn("duckdb_odd (unused) is missing", self.problems({}, text))

    def test_a_name_that_the_header_does_not_know_is_noticed(self):
        found = self.problems({"duckdb_misspelt": {"cursor"}}, ledger_for({}))
        self.assertIn("duckdb_misspelt (cursor) is unknown to the header", found)

    def test_unsorted_and_doubled_lines_are_noticed(self):
        text = ledger_for({})
        self.assertTrue(self.problems({}, text + text.splitlines()[1] + "\n"))

    def test_update_keeps_the_reason_that_a_merge_left_twice(self):
        known = check_ledger.read_ledger("duckdb_query\tused\tcursor\nduckdb_query\tused\tcursor\twhy\n")
        self.assertEqual(known["duckdb_query"], ["used", "cursor", "why"])

    def test_comments_texts_and_includes_are_no_use(self):
        with tempfile.TemporaryDirectory() as folder:
            room = Path(folder) / "src/cursor"
            room.mkdir(parents=True)
            code = '#include <duckdb_x.h>\n// duckdb_old\nauto t = "duckdb_odd";\nvoid F() { duckdb_query(c, q); }\n'
            (room / "C.cpp").write_text(code)
            self.assertEqual(check_ledger.called_names(Path(folder)), {"duckdb_query": {"cursor"}})


if __name__ == "__main__":
    unittest.main()
