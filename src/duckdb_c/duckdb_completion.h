#pragma once

#include <duckdb.h>

#include <cstdint>

// Calls in DuckDB's own style that the stock library does not have, built on its public C API
// alone. DuckDB's manners hold: a null handle in gives null out, values are destroyed by the
// caller with duckdb_destroy_value, texts and error texts freed with duckdb_free. They may be
// called from any thread; a handle is used by one thread at a time. None of them throws.
extern "C" {

// The cell as a value of its column's exact type, nested to any depth. A NULL cell is a null value.
// Null handle: null chunk, or a column or row past the end.
duckdb_value duckdb_data_chunk_get_value(duckdb_data_chunk chunk, idx_t column, idx_t row);

// DuckDB's own cast. On failure null, and *out_error (when it is not null) is DuckDB's message as
// plain text.
duckdb_value duckdb_cast_value(duckdb_value value, duckdb_logical_type type, char** out_error);

// The text of one extracted statement as it was written, without the semicolon and the blanks and
// comments around it. Statements that one text was expanded into all answer that text. Null when
// the index is past the end.
char* duckdb_extracted_statement_sql(duckdb_extracted_statements statements, idx_t index);

// The text that typeof() gives for the type, aliases included.
char* duckdb_logical_type_to_string(duckdb_logical_type type);

// The inner type code (0 to 33) of a VARIANT value; UINT32_MAX for any other value.
uint32_t duckdb_value_variant_type(duckdb_value value);

// The inner value of a VARIANT value, of its exact inner type; for the codes OBJECT and ARRAY a
// VARCHAR with the value's JSON text. Null for any other value.
duckdb_value duckdb_value_variant_child(duckdb_value value);

}  // extern "C"
