#!/usr/bin/env python3
"""Keeps docs/duckdb-ledger.tsv true: every function of DuckDB's C header, the rooms of src/ that call it
and why.

  scripts/check_ledger.py            says what is out of date, exits 1 when anything is
  scripts/check_ledger.py --update   writes the ledger anew and keeps the reasons

A line is FUNCTION, STATE, ROOMS and WHY, parted by tabs and sorted by function. STATE is
  used       called by these rooms; the reason must stand there
  unused     in the header and not called
  deprecated in the header, marked as such there, and not called
  supplied   not in the library: this project supplies it under DuckDB's name
  newer      in the library and not yet in the pinned header: src/duckdb_c declares it
The header is the pinned one; a line that comes or goes after an upgrade tells what the upgrade changed.
"""

import os
import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import cpp_text  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent
HEADER = ROOT / "build/deps/duckdb/include/duckdb.h"
LEDGER = ROOT / "docs/duckdb-ledger.tsv"
TITLE = "function\tstate\trooms\twhy"

SUPPLIED = {
    "duckdb_cast_value",
    "duckdb_data_chunk_get_value",
    "duckdb_extracted_statement_sql",
    "duckdb_logical_type_to_string",
    "duckdb_value_variant_child",
    "duckdb_value_variant_type",
}

NEWER = {"duckdb_appender_clear", "duckdb_client_context_get_config_option"}

# Functions of our own rooms whose names merely look like DuckDB's.
OWN = {"duckdb_c", "duckdb_type_name"}

# Reasons that hold for a whole family; --update fills them in where no reason stands yet.
FAMILIES = [
    (r"duckdb_(destroy_\w+|free|close|disconnect|appender_destroy)$", "release, by its handle type alone"),
    (r"duckdb_bind_(get|set|add)_\w+$", "bind step of a table function of ours"),
    (r"duckdb_init_(get|set)_\w+$", "init step of a table function of ours"),
    (r"duckdb_function_(get|set)_\w+$", "run step of a table function of ours"),
    (r"duckdb_(create_table_function|register_table_function|table_function_\w+)$", "registers a table function of ours"),
    (r"duckdb_bind_\w+$", "binds a parameter"),
    (r"duckdb_param\w*$|duckdb_nparams$", "parameters of a prepared statement"),
    (r"duckdb_create_\w*_type$", "builds a type"),
    (r"duckdb_create_\w+$", "builds a value of that type"),
    (r"duckdb_(get_type_id|\w+_type_(?!error)\w+|(enum|decimal|list|map|array|struct|union)_\w*type\w*|enum_\w+|decimal_\w+)$", "takes a type apart"),
    (r"duckdb_get_\w+$", "reads a value of that type"),
    (r"duckdb_validity_\w+$|duckdb_vector_\w*validity\w*$", "null marks of a vector"),
    (r"duckdb_\w*vector\w*$", "reads or fills a vector"),
    (r"duckdb_data_chunk_\w+$|duckdb_fetch_chunk$", "walks a result by chunks"),
    (r"duckdb_\w*appender\w*$|duckdb_append_\w+$", "many rows in one statement"),
    (r"duckdb_open(_ext)?$|duckdb_\w*cache$", "opens an instance, and says why not"),
    (r"duckdb_connect$", "each caller has a connection of its own"),
    (r"duckdb_\w*config\w*$", "options of an instance"),
    (r"duckdb_library_version$", "tells which DuckDB this is"),
    (r"duckdb_interrupt$", "close must not wait for a long statement"),
    (r"duckdb_query_progress$", "progress of a long statement"),
    (r"duckdb_query$", "runs texts of our own"),
    (r"duckdb_(extract_statements\w*|prepare_extracted_statement)$", "a script, statement by statement"),
    (r"duckdb_prepare(_error)?$", "statements with parameters"),
    (r"duckdb_prepared_statement_\w+$|duckdb_clear_bindings$", "columns and kind of a prepared statement"),
    (r"duckdb_(execute_\w+|pending_\w+)$", "runs a prepared statement"),
    (r"duckdb_result_error\w*$", "text and kind of a failure"),
    (r"duckdb_(result_\w+|rows_changed)$", "what kind of result a statement gave"),
    (r"duckdb_row_count$", "rows of a materialised result are known beforehand"),
    (r"duckdb_column_\w+$", "names and types of a result's columns"),
    (r"duckdb_(value_type|get_value_type)$", "type of a value"),
    (r"duckdb_is_null_value$", "a null is told apart before its type is looked at"),
    (r"duckdb_error_data_\w+$", "text and kind of a failure"),
    (r"duckdb_(malloc|string_\w+)$", "texts in DuckDB's memory"),
    (r"duckdb_(from|to)_\w+$", "parts of dates and times"),
    (r"duckdb_\w*(decimal|hugeint|uhugeint)\w*$", "numbers wider than 64 bits"),
    (r"duckdb_scalar_function_\w+$|duckdb_\w*scalar_function\w*$", "a function of ours inside SQL"),
]


def header_functions(header):
    """name -> is it marked deprecated? for each function that the header declares."""
    functions = {}
    deprecated = False
    for line_or_name in re.finditer(
        r"^#(ifndef|endif|if|ifdef)[^\n]*|DUCKDB_C_API\s+[^;{]*?\b(duckdb_\w+)\s*\(",
        re.sub(r"//[^\n]*|/\*.*?\*/", "", header, flags=re.DOTALL),
        re.MULTILINE,
    ):
        name = line_or_name.group(2)
        if name:
            functions[name] = deprecated
        elif "DUCKDB_API_NO_DEPRECATED" in line_or_name.group(0):
            deprecated = True
        elif line_or_name.group(1) == "endif":
            deprecated = False
    return functions


def called_names(root):
    """duckdb_ name -> rooms of src/ whose code has it; names in comments and texts do not count."""
    rooms = {}
    for path in sorted((root / "src").rglob("*")):
        if path.suffix not in (".h", ".cpp", ".inc"):
            continue
        room = path.relative_to(root / "src").parts[0]
        code = cpp_text.without_comments_and_literals(path.read_text(encoding="utf-8"))
        code = re.sub(r"^[ \t]*#[ \t]*include[^\n]*", "", code, flags=re.MULTILINE)
        for name in set(re.findall(r"\bduckdb_\w+", code)):
            rooms.setdefault(name, set()).add(room)
    return rooms


def read_ledger(text):
    """function -> [state, rooms, why]; a function that stands twice keeps the longer reason."""
    lines = {}
    for line in text.splitlines():
        fields = (line.split("\t") + ["", "", ""])[:4]
        if line and line != TITLE and not line.startswith(("<", "=", ">")):
            known = lines.get(fields[0])
            if not known or len(known[2]) < len(fields[3]):
                lines[fields[0]] = fields[1:]
    return lines


def family_reason(name):
    for pattern, reason in FAMILIES:
        if re.match(pattern, name):
            return reason
    return ""


def current_ledger(functions, rooms, known):
    """The lines as they ought to be, with the reasons that are known."""
    lines = {}
    for name in sorted(set(functions) | SUPPLIED | NEWER):
        used_in = " ".join(sorted(rooms.get(name, ())))
        why = known.get(name, ["", "", ""])[2]
        if name in SUPPLIED:
            state = "supplied"
        elif name not in functions:
            state = "newer"
            why = why or family_reason(name)
        elif used_in:
            state = "used"
            why = why or family_reason(name)
        else:
            state = "deprecated" if functions[name] else "unused"
        lines[name] = [state, used_in, why]
    return lines


def as_text(lines):
    return "\n".join([TITLE] + ["\t".join([name] + fields).rstrip("\t") for name, fields in lines.items()]) + "\n"


def problems(functions, rooms, header_text, ledger_text):
    """What is wrong with the ledger, one line each."""
    known = read_ledger(ledger_text)
    expected = current_ledger(functions, rooms, known)
    found = []
    for name, (state, used_in, why) in expected.items():
        if name not in known:
            found.append(f"{name} ({state}) is missing")
        elif known[name][:2] != [state, used_in]:
            found.append(f"{name} is {state} [{used_in}], the ledger says {known[name][0]} [{known[name][1]}]")
        if state in ("used", "supplied", "newer") and not why:
            found.append(f"{name} is {state} and has no reason")
    found += [f"{name} is no function of the header" for name in known if name not in expected]
    for name in sorted(set(rooms) - set(functions) - SUPPLIED - NEWER - OWN):
        if not re.search(rf"\b{name}\b", header_text):
            found.append(f"{name} ({', '.join(sorted(rooms[name]))}) is unknown to the header")
    if not found and as_text(expected) != ledger_text:
        found.append("the lines are not sorted, or one stands twice")
    return found


def summary(lines):
    states = [fields[0] for fields in lines.values()]
    parts = [f"{states.count(state)} {state}" for state in ("used", "unused", "deprecated", "supplied", "newer")]
    return f"check_ledger: {len(lines)} functions: " + ", ".join(parts)


def main(arguments):
    if arguments not in ([], ["--update"]):
        print(__doc__, file=sys.stderr)
        return 2
    if not HEADER.exists() and os.environ.get("LUMORA_DUCKDB_ROOT"):
        print("check_ledger: not checked, it is about the pinned DuckDB and LUMORA_DUCKDB_ROOT names another")
        return 0
    if not HEADER.exists():
        print("check_ledger: the pinned duckdb.h is not here; run scripts/setup.sh", file=sys.stderr)
        return 1
    header_text = HEADER.read_text(encoding="utf-8")
    functions, rooms = header_functions(header_text), called_names(ROOT)
    ledger_text = LEDGER.read_text(encoding="utf-8") if LEDGER.exists() else ""
    if arguments:  # --update
        ledger_text = as_text(current_ledger(functions, rooms, read_ledger(ledger_text)))
        LEDGER.parent.mkdir(exist_ok=True)
        LEDGER.write_text(ledger_text, encoding="utf-8")
    found = problems(functions, rooms, header_text, ledger_text)
    for problem in found:
        print(f"ledger: {problem}")
    print(summary(read_ledger(ledger_text)))
    if found:
        print("run scripts/check_ledger.py --update, then write the missing reasons in docs/duckdb-ledger.tsv")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
