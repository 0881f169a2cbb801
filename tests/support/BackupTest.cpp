#include "support/BackupTest.h"

#include <filesystem>

#include "support/Rounds.h"

namespace lumora::test {

namespace {

// Each gives one text for each row. Comments and texts of definitions are compared too.
constexpr char const* kCatalogQueries[] = {
    "SELECT schema_name FROM duckdb_schemas() WHERE NOT internal",
    "SELECT concat_ws('|', schema_name, table_name, comment) FROM duckdb_tables()",
    "SELECT concat_ws('|', schema_name, table_name, column_name, column_index, data_type, "
    "is_nullable, column_default, comment) FROM duckdb_columns() WHERE NOT internal",
    "SELECT concat_ws('|', schema_name, table_name, constraint_type, constraint_text) "
    "FROM duckdb_constraints()",
    "SELECT concat_ws('|', schema_name, view_name, sql, comment) FROM duckdb_views() "
    "WHERE NOT internal",
    "SELECT concat_ws('|', schema_name, index_name, table_name, is_unique, expressions, comment) "
    "FROM duckdb_indexes()",
    "SELECT concat_ws('|', schema_name, sequence_name, increment_by, cycle, comment) "
    "FROM duckdb_sequences()",
    "SELECT concat_ws('|', schema_name, type_name, logical_type, labels, comment) "
    "FROM duckdb_types() WHERE NOT internal",
    "SELECT concat_ws('|', schema_name, function_name, parameters, macro_definition, comment) "
    "FROM duckdb_functions() WHERE function_type IN ('macro', 'table_macro') AND NOT internal",
};

}  // namespace

void BackupTest::SetUp() {
  mServerHook = tarn::lsql::gServerBackupLocation;
  mCreateHook = tarn::lsql::gCreateBackupLocation;
}

void BackupTest::TearDown() {
  tarn::lsql::gServerBackupLocation = mServerHook;
  tarn::lsql::gCreateBackupLocation = mCreateHook;
}

tarn::smart_ptr<tarn::I_Location> BackupTest::LocationAt(std::string const& inName) const {
  return tarn::CreateLocation(Wide(mFolder.At(inName)));
}

std::string BackupTest::BackUp(Database const& inDatabase) {
  auto folder = LocationAt("backups");
  std::filesystem::create_directory(mFolder.At("backups"));
  static tarn::smart_ptr<tarn::I_Location> sMade;
  static tarn::smart_ptr<tarn::I_Location> (*sHook)(tarn::smart_ptr<tarn::I_Location>) = nullptr;
  sHook = mCreateHook;
  tarn::lsql::gCreateBackupLocation = [](tarn::smart_ptr<tarn::I_Location> inFolder) {
    return sMade = sHook(std::move(inFolder));
  };
  inDatabase->Backup(folder);
  std::string const path = Utf8(sMade->get_Path());
  sMade.reset();
  return path;
}

BackupTest::Database BackupTest::Restore(std::string const& inTarget,
                                         std::string const& inBackupPath) {
  return LoadedExtension::Instance()->RestoreDatabase(LocationAt(inTarget),
                                                      tarn::CreateLocation(Wide(inBackupPath)));
}

std::string BackupTest::Fingerprint(Database const& inDatabase) {
  auto const rows = [&](std::string const& sql) {
    std::string text;
    auto const cursor = inDatabase->ExecuteQuery(Wide(sql), 1, nullptr);
    while (cursor->NextRecord()) text += Utf8(cursor->get_Value(0)->get_String()) + "\n";
    return text;
  };
  std::string print;
  for (char const* const query : kCatalogQueries) {
    print += rows("SELECT * FROM (" + std::string(query) + ") q(x) ORDER BY x");
  }
  auto const tables = inDatabase->ExecuteQuery(
      Wide("SELECT format('\"{}\".\"{}\"', schema_name, replace(table_name, '\"', '\"\"')) "
           "FROM duckdb_tables() ORDER BY ALL"),
      1, nullptr);
  while (tables->NextRecord()) {
    std::string const table = Utf8(tables->get_Value(0)->get_String());
    print += table + rows("SELECT concat_ws(' ', count(*), sum(hash(CAST(t AS VARCHAR)))) FROM " +
                          table + " t");
  }
  return print;
}

std::string BackupTest::EverythingSql() {
  return R"(
CREATE SCHEMA zz; CREATE SCHEMA "Two words";
CREATE TYPE mood AS ENUM ('a', 'it''s', 'ü'); CREATE TYPE zz.point AS STRUCT(x INTEGER, y INTEGER);
CREATE SEQUENCE seq START 5 INCREMENT 2;
CREATE TABLE every AS SELECT * EXCLUDE (hugeint, uhugeint, time_tz, interval, struct_of_fixed_array)
  RENAME (varchar AS "ti""tle") FROM test_all_types();
CREATE TABLE delicate(h HUGEINT, u UHUGEINT, t TIMETZ, i INTERVAL, n STRUCT(a HUGEINT[], i INTERVAL));
INSERT INTO delicate VALUES (-5, 5, '12:34:56.123456+00', '1 year 2 days 3.004 seconds',
  {'a': [1, NULL], 'i': INTERVAL '5 ms'}), (NULL, NULL, NULL, NULL, NULL);
CREATE TABLE nested(v VARIANT, g GEOMETRY, m mood, p zz.point, u UNION(i INTEGER, s VARCHAR));
INSERT INTO nested VALUES ({'a': [1, 2]}::VARIANT, NULL, 'it''s', {'x': 1, 'y': 2}, 5),
  (1.5::VARIANT, 'POINT(1 2)'::GEOMETRY, NULL, NULL, 'text'::VARCHAR);
CREATE TABLE b_parent(i INTEGER PRIMARY KEY, n VARCHAR NOT NULL UNIQUE);
CREATE TABLE a_child(i INTEGER, p INTEGER REFERENCES b_parent(i), d INTEGER DEFAULT nextval('seq'),
  g INTEGER GENERATED ALWAYS AS (i * 2), CHECK (i > 0));
INSERT INTO b_parent VALUES (1, 'one'), (2, 'two'); INSERT INTO a_child(i, p) VALUES (1, 2), (2, 1);
CREATE TABLE zz."Größe ""x"""("select" INTEGER, "naïve 日本" VARCHAR); CREATE TABLE "Two words"."t 1"(a INTEGER);
CREATE TABLE nothing(a INTEGER, b VARCHAR[]);
CREATE TABLE many AS SELECT range AS i, range % 7 AS k, 'row ' || range AS s FROM range()" +
         std::to_string(Rounds(1000000, 50000)) +
         R"();
CREATE INDEX many_k ON many(k);
CREATE VIEW z_base AS SELECT * FROM a_child; CREATE VIEW a_top AS SELECT * FROM z_base;
CREATE VIEW b_count AS SELECT count(*) AS n FROM a_top;
CREATE MACRO twice(x) AS x * 2; CREATE MACRO numbers(n) AS TABLE SELECT * FROM range(n);
COMMENT ON TABLE many IS 'many ''rows'''; COMMENT ON COLUMN many.k IS 'key'; COMMENT ON VIEW a_top IS 'top';
COMMENT ON INDEX many_k IS 'index'; COMMENT ON SEQUENCE seq IS 'sequence'; COMMENT ON TYPE mood IS 'type';
COMMENT ON MACRO twice IS 'macro'; COMMENT ON MACRO TABLE numbers IS 'table macro';
)";
}

}  // namespace lumora::test
