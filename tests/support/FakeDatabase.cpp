#include "support/FakeDatabase.h"

#include <algorithm>
#include <stdexcept>

namespace lumora::test {

namespace {

[[noreturn]] void NotForChildren(char const* inOperation) {
  throw std::logic_error(std::string("FakeDatabase has no ") + inOperation);
}

template <typename T>
void RemoveFirst(std::vector<T*>& ioItems, T* inItem) {
  auto const found = std::find(ioItems.begin(), ioItems.end(), inItem);
  if (found != ioItems.end()) ioItems.erase(found);
}

}  // namespace

FakeDatabase::FakeDatabase() : mConnection(std::make_shared<duckdb_c::ConnectionHandle>()) {
  mRefs.Increment();
  if (duckdb_open(nullptr, mDuckDB.out()) != DuckDBSuccess ||
      duckdb_connect(mDuckDB.get(), mConnection->out()) != DuckDBSuccess) {
    throw std::runtime_error("no in-memory database");
  }
}

duckdb_c::ResultHandle FakeDatabase::Query(std::string const& inSql) {
  duckdb_c::ResultHandle result;
  if (duckdb_query(mConnection->get(), inSql.c_str(), result.out()) != DuckDBSuccess) {
    throw std::runtime_error(duckdb_result_error(result.ptr()));
  }
  return result;
}

std::string FakeDatabase::QueryText(std::string const& inSql) {
  duckdb_c::ResultHandle result = Query("SELECT CAST((" + inSql + ") AS VARCHAR)");
  duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
  if (!chunk) throw std::runtime_error("no row: " + inSql);
  duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), 0);
  std::uint64_t* const validity = duckdb_vector_get_validity(vector);
  if (validity && !duckdb_validity_row_is_valid(validity, 0)) return "NULL";
  auto* const text = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
  return std::string(duckdb_string_t_data(text), duckdb_string_t_length(*text));
}

void FakeDatabase::CloseCursors() {
  while (!mCursors.empty()) {
    tarn::lsql::I_DuckDBCursor* const cursor = mCursors.back();
    mCursors.pop_back();
    cursor->Close();
  }
}

tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> FakeDatabase::get_Self() {
  if (mIsDying) return nullptr;
  return tarn::smart_ptr<I_DuckDBDatabase>(this);
}

void FakeDatabase::UnregisterStatement(tarn::lsql::I_DuckDBStatement* inStatement) {
  RemoveFirst(mStatements, inStatement);
}
void FakeDatabase::RegisterCursor(tarn::lsql::I_DuckDBCursor* inCursor) {
  mCursors.push_back(inCursor);
}
void FakeDatabase::UnregisterCursor(tarn::lsql::I_DuckDBCursor* inCursor) {
  if (mOnUnregister) mOnUnregister(*inCursor);
  RemoveFirst(mCursors, inCursor);
}
void FakeDatabase::RegisterQueryResult(tarn::lsql::I_DuckDBQueryResult* inResult) {
  mResults.push_back(inResult);
}
void FakeDatabase::UnregisterQueryResult(tarn::lsql::I_DuckDBQueryResult* inResult) {
  RemoveFirst(mResults, inResult);
}

void FakeDatabase::put_BlockSize(std::uint32_t) { NotForChildren("put_BlockSize"); }
std::uint32_t FakeDatabase::get_ConnectionCount() { NotForChildren("get_ConnectionCount"); }
bool FakeDatabase::get_Exists() { NotForChildren("get_Exists"); }
void FakeDatabase::SetRemoteAccess(tarn::String, tarn::String) {
  NotForChildren("SetRemoteAccess");
}
void FakeDatabase::put_StorageVersion(tarn::String) { NotForChildren("put_StorageVersion"); }
void FakeDatabase::put_Settings(tarn::lsql::DuckDBSettings const&) {
  NotForChildren("put_Settings");
}
void FakeDatabase::Create() { NotForChildren("Create"); }
void FakeDatabase::Open() { NotForChildren("Open"); }
void FakeDatabase::Close() { NotForChildren("Close"); }
void FakeDatabase::Drop() { NotForChildren("Drop"); }
void FakeDatabase::Backup(tarn::smart_ptr<tarn::I_Location>&) { NotForChildren("Backup"); }
tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> FakeDatabase::CreateStatement(tarn::String const&) {
  NotForChildren("CreateStatement");
}
void FakeDatabase::ExecuteSQL(tarn::String const&, tarn::smart_ptr<tarn::ValueRow>) {
  NotForChildren("ExecuteSQL");
}
tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> FakeDatabase::Execute(
    tarn::String const&, std::uint32_t, tarn::smart_ptr<tarn::ValueRow>) {
  NotForChildren("Execute");
}
tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> FakeDatabase::ExecuteQuery(
    tarn::String const&, std::uint32_t, tarn::smart_ptr<tarn::ValueRow>) {
  NotForChildren("ExecuteQuery");
}

}  // namespace lumora::test
