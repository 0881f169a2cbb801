#include "cursor/DuckDBCursor_imp.h"

#include <new>
#include <utility>

#include "duckdb_c/EngineLockGuard.h"
#include "duckdb_c/TypeText.h"
#include "duckdb_c/Types.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace tarn::lsql {

using lumora::EngineLockGuard;
using lumora::I_DatabaseLink;
namespace duckdb_c = lumora::duckdb_c;
namespace errors = lumora::cursor_errors;

namespace {

String FromUTF8(char const* inText) {
  return inText ? StToUTF16(inText, -1, GetConverter_UTF8()) : String();
}

String TypeName(duckdb_logical_type inType) {
  auto const text = duckdb_c::GetTypeText(inType);
  return FromUTF8(text ? text->c_str() : nullptr);
}

template <typename T>
std::ptrdiff_t PluginDistance(T* inObject) {
  return reinterpret_cast<char*>(static_cast<ForeignPlugin_imp*>(inObject)) -
         reinterpret_cast<char*>(inObject);
}

}  // namespace

DuckDBCursor_imp::DuckDBCursor_imp(I_DatabaseLink* inDatabase, duckdb_c::ResultHandle&& ioResult)
    : mIsValid(inDatabase != nullptr), mDatabase(inDatabase), mResult(std::move(ioResult)) {
  EngineLockGuard guard;
  CheckValid();
  ReadColumns();
  // Last, so that a failure above leaves nothing in the registry.
  inDatabase->get_Interface().RegisterCursor(this);
}

// The last Release has detached already; this is for a subclass whose constructor threw.
DuckDBCursor_imp::~DuckDBCursor_imp() {
  EngineLockGuard guard(std::nothrow);
  Detach();
}

void DuckDBCursor_imp::ReadColumns() {
  idx_t const count = duckdb_column_count(mResult.ptr());
  mColumnNames.reserve(count);
  mColumnTypeNames.reserve(count);
  mColumnTypes.reserve(count);
  mReaders.reserve(count);
  for (idx_t i = 0; i < count; ++i) {
    duckdb_c::LogicalTypeHandle type(duckdb_column_logical_type(mResult.ptr(), i));
    mColumnNames.push_back(FromUTF8(duckdb_column_name(mResult.ptr(), i)));
    mColumnTypeNames.push_back(TypeName(type.get()));
    mColumnTypes.push_back(duckdb_c::GetColumnTypeId(mResult.ptr(), i));
    mReaders.emplace_back(std::move(type), i);
  }
  mColumnCount = static_cast<std::uint32_t>(count);
}

std::uint32_t DuckDBCursor_imp::AddRef() { return mRefCount.Increment(); }

std::uint32_t DuckDBCursor_imp::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count == 0) {
    {
      EngineLockGuard guard(std::nothrow);
      Detach();
    }
    delete this;
  }
  return count;
}

void* DuckDBCursor_imp::QueryInterface(std::uint32_t inInterfaceId) {
  static INTERFACE_ITEM const sTable[] = {
      {kIID_DuckDBCursor, 0}, {kIID_ForeignPlugin, PluginDistance(this)}, {0, 0}};
  return InterfaceTableQueryInterface(this, inInterfaceId, sTable);
}

std::uint32_t DuckDBCursor_imp::get_RefsCount() const { return mRefCount.get(); }

std::uint32_t DuckDBCursor_imp::get_ColumnCount() const { return mColumnCount; }

String const& DuckDBCursor_imp::get_ColumnName(std::uint32_t inColumnIndex) const {
  return inColumnIndex < mColumnNames.size() ? mColumnNames[inColumnIndex] : String::sEmpty;
}

String const& DuckDBCursor_imp::get_ColumnTypeName(std::uint32_t inColumnIndex) const {
  return inColumnIndex < mColumnTypeNames.size() ? mColumnTypeNames[inColumnIndex] : String::sEmpty;
}

std::uint32_t DuckDBCursor_imp::get_ColumnType(std::uint32_t inColumnIndex) const {
  return inColumnIndex < mColumnTypes.size() ? mColumnTypes[inColumnIndex] : 0;
}

smart_ptr<I_DuckDBDatabase> DuckDBCursor_imp::get_Database() {
  EngineLockGuard guard;
  return mDatabase ? mDatabase->get_Self() : nullptr;
}

void DuckDBCursor_imp::Invalidate() {
  EngineLockGuard guard(std::nothrow);
  mIsValid = false;
  if (mDatabase) mListedBy = std::exchange(mDatabase, nullptr);
  if (mListedBy && mListedBy->get_IsInvalidatingCursors()) mListedBy = nullptr;
  mResult.reset();
}

void DuckDBCursor_imp::Close() {
  EngineLockGuard guard(std::nothrow);
  Detach();
}

void DuckDBCursor_imp::Detach() {
  mIsValid = false;
  mResult.reset();
  I_DatabaseLink* const listedBy = std::exchange(mListedBy, nullptr);
  I_DatabaseLink* const database = std::exchange(mDatabase, nullptr);
  if (database || listedBy) {
    (database ? database : listedBy)->get_Interface().UnregisterCursor(this);
  }
}

void DuckDBCursor_imp::FailInvalid() {
  throw xDuckDBError(errors::kCode, errors::kUnknownDatabase, errors::kInvalid);
}

void DuckDBCursor_imp::Fail(char const* inMessage) const {
  EngineLockGuard guard;
  CheckValid();  // the database may have closed since the caller looked
  String const path = mDatabase->get_Interface().get_Path();
  throw xDuckDBError(errors::kCode, path.c_str(), String(inMessage).c_str());
}

void DuckDBCursor_imp::put_ReadersChunk(duckdb_data_chunk inChunk) {
  for (lumora::ColumnReader& reader : mReaders) reader.put_Chunk(inChunk);
}

duckdb_c::ChunkHandle DuckDBCursor_imp::FetchChunk() {
  duckdb_c::ChunkHandle chunk(duckdb_fetch_chunk(mResult.get()));
  idx_t const size = chunk ? duckdb_data_chunk_get_size(chunk.get()) : 0;
  if (size == 0) {
    chunk.reset();
    CheckComplete();
  }
  mRowsFetched += size;
  return chunk;
}

// duckdb_fetch_chunk answers a failure (no memory to read a spilled result back) as it answers the
// end: with no chunk. A materialised result knows how many rows it has.
void DuckDBCursor_imp::CheckComplete() {
  if (char const* const text = duckdb_result_error(mResult.ptr()); text && *text) Fail(text);
  if (mResult && !duckdb_result_is_streaming(mResult.get()) &&
      mRowsFetched != duckdb_row_count(mResult.ptr())) {
    Fail(errors::kCutShort);
  }
}

}  // namespace tarn::lsql
