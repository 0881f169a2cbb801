#pragma once

#include <duckdb.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "database/DuckDBDatabase.h"
#include "duckdb_c/Handles.h"
#include "tarn/Location.h"

// The data that the cursor benchmark reads: one in-memory database object, and the same table in
// SQLite.
namespace lumora::bench {

[[noreturn]] inline void Stop(std::string const& inWhat) {
  std::fprintf(stderr, "bench_cursor: %s\n", inWhat.c_str());
  std::exit(1);
}

// Eight columns, 5 % NULL.
inline std::string MixedSelect(long inRows) {
  return "SELECT "
         "CASE WHEN hash(i, 1) % 20 = 0 THEN NULL ELSE (hash(i, 11) % 2000000000)::INTEGER END AS "
         "a, "
         "CASE WHEN hash(i, 2) % 20 = 0 THEN NULL ELSE (hash(i, 12) >> 2)::BIGINT END AS b, "
         "CASE WHEN hash(i, 3) % 20 = 0 THEN NULL ELSE (hash(i, 13) % 1000000) / 7.0::DOUBLE END "
         "AS c, "
         "CASE WHEN hash(i, 4) % 20 = 0 THEN NULL ELSE substr(md5(i::VARCHAR), 1, 8) END AS d, "
         "CASE WHEN hash(i, 5) % 20 = 0 THEN NULL ELSE md5(i::VARCHAR) || '-of-row-' END AS e, "
         "CASE WHEN hash(i, 6) % 20 = 0 THEN NULL ELSE DATE '1970-01-01' + "
         "(hash(i, 16) % 30000)::INTEGER END AS f, "
         "CASE WHEN hash(i, 7) % 20 = 0 THEN NULL ELSE ((hash(i, 17) % 100000000)::INTEGER / "
         "100)::DECIMAL(10, 2) END AS g, "
         "CASE WHEN hash(i, 8) % 20 = 0 THEN NULL ELSE hash(i, 18) % 2 = 0 END AS h "
         "FROM range(" +
         std::to_string(inRows) + ") r(i)";
}
inline std::string MixedTable(long inRows, std::string const& inName) {
  return "CREATE TABLE " + inName + " AS " + MixedSelect(inRows);
}

class Data {
 public:
  static Data& Get() {
    static Data sData;
    return sData;
  }

  I_DatabaseLink* get_Link() { return mDatabase.get(); }

  // A materialised result.
  duckdb_c::ResultHandle Query(std::string const& inSql) {
    duckdb_c::ResultHandle result;
    if (duckdb_query(mDatabase->get_Connection()->get(), inSql.c_str(), result.out()) !=
        DuckDBSuccess) {
      Stop(duckdb_result_error(result.ptr()));
    }
    return result;
  }

  sqlite3* get_Sqlite() { return mSqlite; }
  // Fills SQLite's table "mixed" from DuckDB's.
  void FillSqlite();

 private:
  Data()
      : mDatabase(new tarn::lsql::DuckDBDatabase(tarn::CreateLocation(tarn::String(":memory:")))) {
    mDatabase->Create();
    Query("SET threads = 1");
  }

  tarn::smart_ptr<tarn::lsql::DuckDBDatabase> mDatabase;
  sqlite3* mSqlite = nullptr;
};

inline void Data::FillSqlite() {
  sqlite3_open(":memory:", &mSqlite);
  sqlite3_exec(mSqlite,
               "CREATE TABLE mixed (a INTEGER, b INTEGER, c REAL, d TEXT, e TEXT, f TEXT, "
               "g REAL, h INTEGER)",
               nullptr, nullptr, nullptr);
  sqlite3_exec(mSqlite, "BEGIN", nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(mSqlite, "INSERT INTO mixed VALUES (?, ?, ?, ?, ?, ?, ?, ?)", -1, &insert,
                     nullptr);
  duckdb_c::ResultHandle result =
      Query("SELECT a::BIGINT, b, c, d, e, f::VARCHAR, g::DOUBLE, h::BIGINT FROM mixed");
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(result.get())}) {
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t r = 0; r < rows; ++r) {
      for (int c = 0; c < 8; ++c) {
        duckdb_vector const vector =
            duckdb_data_chunk_get_vector(chunk.get(), static_cast<idx_t>(c));
        std::uint64_t* const validity = duckdb_vector_get_validity(vector);
        void* const values = duckdb_vector_get_data(vector);
        if (validity && !duckdb_validity_row_is_valid(validity, r)) {
          sqlite3_bind_null(insert, c + 1);
        } else if (c == 0 || c == 1 || c == 7) {
          sqlite3_bind_int64(insert, c + 1, static_cast<std::int64_t*>(values)[r]);
        } else if (c == 2 || c == 6) {
          sqlite3_bind_double(insert, c + 1, static_cast<double*>(values)[r]);
        } else {
          auto* const text = static_cast<duckdb_string_t*>(values) + r;
          sqlite3_bind_text(insert, c + 1, duckdb_string_t_data(text),
                            static_cast<int>(duckdb_string_t_length(*text)), SQLITE_TRANSIENT);
        }
      }
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
  }
  sqlite3_finalize(insert);
  if (sqlite3_exec(mSqlite, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) Stop("sqlite3");
}

}  // namespace lumora::bench
