#include "TestConnection.h"

#include <memory>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {

TestConnection::TestConnection() {
  ConfigHandle config;
  EXPECT_EQ(duckdb_create_config(config.out()), DuckDBSuccess);
  EXPECT_EQ(duckdb_set_config(config.get(), "threads", "1"), DuckDBSuccess);
  TextHandle error;
  EXPECT_EQ(duckdb_open_ext(nullptr, mDatabase.out(), config.get(), error.out()), DuckDBSuccess);
  EXPECT_EQ(duckdb_connect(mDatabase.get(), mConnection.out()), DuckDBSuccess);
  Query("SET TimeZone = 'UTC'");
}

ResultHandle TestConnection::Query(std::string const& inSql) const {
  ResultHandle result;
  if (duckdb_query(mConnection.get(), inSql.c_str(), result.out()) != DuckDBSuccess) {
    ADD_FAILURE() << inSql << "\n" << TextOr(duckdb_result_error(result.ptr()), "");
  }
  return result;
}

std::string TestConnection::QueryError(std::string const& inSql) const {
  ResultHandle result;
  if (duckdb_query(mConnection.get(), inSql.c_str(), result.out()) == DuckDBSuccess) return {};
  return TextOr(duckdb_result_error(result.ptr()), "unknown");
}

std::string TestConnection::Text(std::string const& inSql) const {
  ResultHandle result = Query(inSql);
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  return chunk ? CellText(chunk.get(), 0, 0) : "(no rows)";
}

ValueHandle TestConnection::Value(std::string const& inSql) const {
  ResultHandle result = Query(inSql);
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  return ValueHandle(duckdb_data_chunk_get_value(chunk.get(), 0, 0));
}

PreparedHandle TestConnection::Prepare(std::string const& inSql) const {
  PreparedHandle statement;
  if (duckdb_prepare(mConnection.get(), inSql.c_str(), statement.out()) != DuckDBSuccess) {
    ADD_FAILURE() << inSql << "\n" << TextOr(duckdb_prepare_error(statement.get()), "");
  }
  return statement;
}

namespace {

// Closed after the last test and before the library's static objects go.
class SharedEnvironment : public testing::Environment {
 public:
  void TearDown() override { mConnection.reset(); }
  TestConnection const& get() {
    if (!mConnection) mConnection = std::make_unique<TestConnection>();
    return *mConnection;
  }

 private:
  std::unique_ptr<TestConnection> mConnection;
};

SharedEnvironment* const gShared = [] {
  auto* const shared = new SharedEnvironment;
  testing::AddGlobalTestEnvironment(shared);
  return shared;
}();

}  // namespace

TestConnection const& SharedConnection() { return gShared->get(); }

std::string CellText(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow) {
  const duckdb_vector vector = duckdb_data_chunk_get_vector(inChunk, inColumn);
  if (!duckdb_validity_row_is_valid(duckdb_vector_get_validity(vector), inRow)) return "(NULL)";
  return std::string(TextOf(static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector))[inRow]));
}

bool CellFlag(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow) {
  const duckdb_vector vector = duckdb_data_chunk_get_vector(inChunk, inColumn);
  return duckdb_validity_row_is_valid(duckdb_vector_get_validity(vector), inRow) &&
         static_cast<bool*>(duckdb_vector_get_data(vector))[inRow];
}

std::string TypeText(duckdb_logical_type inType) {
  return TextOr(TextHandle(duckdb_logical_type_to_string(inType)).get(), "(no type)");
}

std::string ValueTypeText(duckdb_value inValue) {
  return inValue ? TypeText(duckdb_get_value_type(inValue)) : "(no value)";
}

void ForEachChunk(ResultHandle& ioResult, std::function<void(duckdb_data_chunk)> const& inWork) {
  while (const ChunkHandle chunk{duckdb_fetch_chunk(ioResult.get())}) inWork(chunk.get());
}

}  // namespace lumora::duckdb_c::test
