#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tarn/tarn.h"

// The place of every operation in its virtual table, which hosts that are built apart rely on. Told
// by the form that pointers to virtual operations have in the Itanium C++ ABI on x86-64.
#if defined(__x86_64__) && !defined(_WIN32)

namespace {

using namespace tarn::lsql;
using CountedRun = void (I_DuckDBStatement::*)(std::uint64_t&);
using PlainRun = void (I_DuckDBStatement::*)();

// The destructor counts as one; the table holds two forms of it.
template <typename TOperation>
std::size_t SlotOf(TOperation inOperation) {
  std::size_t place = 0;
  std::memcpy(&place, &inOperation, sizeof place);
  return (place - 1) / sizeof(void*) - 1;
}

void ExpectInOrder(std::vector<std::size_t> const& inSlots) {
  constexpr std::size_t kFirst = 5;  // behind those of I_Unknown
  for (std::size_t i = 0; i < inSlots.size(); ++i) EXPECT_EQ(inSlots[i], kFirst + i);
}

TEST(SlotOrder, OfTheRootOfAll) {
  EXPECT_EQ(SlotOf(&tarn::I_Unknown::AddRef), 1U);
  EXPECT_EQ(SlotOf(&tarn::I_Unknown::Release), 2U);
  EXPECT_EQ(SlotOf(&tarn::I_Unknown::QueryInterface), 3U);
  EXPECT_EQ(SlotOf(&tarn::I_Unknown::get_RefsCount), 4U);
}

TEST(SlotOrder, OfTheExtension) {
  ExpectInOrder(
      {SlotOf(&I_DuckDBExtension::get_LibraryVersion), SlotOf(&I_DuckDBExtension::CreateDatabase),
       SlotOf(&I_DuckDBExtension::get_CursorRows), SlotOf(&I_DuckDBExtension::get_IsClientCursor),
       SlotOf(&I_DuckDBExtension::get_IsDatabaseOpen), SlotOf(&I_DuckDBExtension::IsDuckDBFile),
       SlotOf(&I_DuckDBExtension::IsInMemoryPath), SlotOf(&I_DuckDBExtension::RestoreDatabase)});
}

TEST(SlotOrder, OfADatabase) {
  ExpectInOrder({SlotOf(&I_DuckDBDatabase::put_BlockSize),
                 SlotOf(&I_DuckDBDatabase::get_ConnectionCount),
                 SlotOf(&I_DuckDBDatabase::get_Exists),
                 SlotOf(&I_DuckDBDatabase::get_IsOpen),
                 SlotOf(&I_DuckDBDatabase::get_IsReadOnly),
                 SlotOf(&I_DuckDBDatabase::get_Path),
                 SlotOf(&I_DuckDBDatabase::get_Key),
                 SlotOf(&I_DuckDBDatabase::SetRemoteAccess),
                 SlotOf(&I_DuckDBDatabase::put_StorageVersion),
                 SlotOf(&I_DuckDBDatabase::put_Settings),
                 SlotOf(&I_DuckDBDatabase::Create),
                 SlotOf(&I_DuckDBDatabase::Open),
                 SlotOf(&I_DuckDBDatabase::Close),
                 SlotOf(&I_DuckDBDatabase::Drop),
                 SlotOf(&I_DuckDBDatabase::Backup),
                 SlotOf(&I_DuckDBDatabase::CreateStatement),
                 SlotOf(&I_DuckDBDatabase::UnregisterStatement),
                 SlotOf(&I_DuckDBDatabase::RegisterCursor),
                 SlotOf(&I_DuckDBDatabase::UnregisterCursor),
                 SlotOf(&I_DuckDBDatabase::RegisterQueryResult),
                 SlotOf(&I_DuckDBDatabase::UnregisterQueryResult),
                 SlotOf(&I_DuckDBDatabase::Flush),
                 SlotOf(&I_DuckDBDatabase::ExecuteSQL),
                 SlotOf(&I_DuckDBDatabase::Execute),
                 SlotOf(&I_DuckDBDatabase::ExecuteQuery)});
}

TEST(SlotOrder, OfAStatement) {
  ExpectInOrder({SlotOf(&I_DuckDBStatement::get_SqlText),
                 SlotOf(&I_DuckDBStatement::get_CurrentSql),
                 SlotOf(&I_DuckDBStatement::get_Database),
                 SlotOf(&I_DuckDBStatement::get_RemainingStatements),
                 SlotOf(&I_DuckDBStatement::Close),
                 SlotOf(&I_DuckDBStatement::PrepareNext),
                 SlotOf(static_cast<CountedRun>(&I_DuckDBStatement::ExecuteNext)),
                 SlotOf(static_cast<PlainRun>(&I_DuckDBStatement::ExecuteNext)),
                 SlotOf(&I_DuckDBStatement::ExecuteAll),
                 SlotOf(&I_DuckDBStatement::TryExecuteAll),
                 SlotOf(&I_DuckDBStatement::ClearBindings),
                 SlotOf(&I_DuckDBStatement::Reserved16),
                 SlotOf(&I_DuckDBStatement::Reserved17),
                 SlotOf(&I_DuckDBStatement::Reserved18),
                 SlotOf(&I_DuckDBStatement::Reserved19),
                 SlotOf(&I_DuckDBStatement::Reserved20),
                 SlotOf(&I_DuckDBStatement::Reserved21),
                 SlotOf(&I_DuckDBStatement::BindParameters),
                 SlotOf(&I_DuckDBStatement::BindParameterRows),
                 SlotOf(&I_DuckDBStatement::Execute),
                 SlotOf(&I_DuckDBStatement::ExecuteCursor),
                 SlotOf(&I_DuckDBStatement::ExecuteToJSON),
                 SlotOf(&I_DuckDBStatement::ExecuteResult)});
}

TEST(SlotOrder, OfAQueryResult) {
  ExpectInOrder(
      {SlotOf(&I_DuckDBQueryResult::get_RowsChanged), SlotOf(&I_DuckDBQueryResult::get_Cursor),
       SlotOf(&I_DuckDBQueryResult::get_Flags), SlotOf(&I_DuckDBQueryResult::get_ErrorPosition),
       SlotOf(&I_DuckDBQueryResult::get_ErrorMessage), SlotOf(&I_DuckDBQueryResult::get_ErrorType),
       SlotOf(&I_DuckDBQueryResult::NextResult), SlotOf(&I_DuckDBQueryResult::Close)});
}

TEST(SlotOrder, OfACursor) {
  ExpectInOrder({SlotOf(&I_DuckDBCursor::get_ColumnCount), SlotOf(&I_DuckDBCursor::get_ColumnName),
                 SlotOf(&I_DuckDBCursor::get_ColumnTypeName),
                 SlotOf(&I_DuckDBCursor::get_ColumnType), SlotOf(&I_DuckDBCursor::get_RecordCount),
                 SlotOf(&I_DuckDBCursor::get_CurrentRecord),
                 SlotOf(&I_DuckDBCursor::put_CurrentRecord), SlotOf(&I_DuckDBCursor::get_Database),
                 SlotOf(&I_DuckDBCursor::Invalidate), SlotOf(&I_DuckDBCursor::FirstRecord),
                 SlotOf(&I_DuckDBCursor::LastRecord), SlotOf(&I_DuckDBCursor::NextRecord),
                 SlotOf(&I_DuckDBCursor::PrevRecord), SlotOf(&I_DuckDBCursor::get_Value),
                 SlotOf(&I_DuckDBCursor::Close)});
}

TEST(SlotOrder, OfHostData) {
  ExpectInOrder({SlotOf(&tarn::I_ForeignPlugin::get_Xtra), SlotOf(&tarn::I_ForeignPlugin::put_Xtra),
                 SlotOf(&tarn::I_ForeignPlugin::get_BackRef),
                 SlotOf(&tarn::I_ForeignPlugin::put_BackRef),
                 SlotOf(&tarn::I_ForeignPlugin::put_Finalize)});
}

}  // namespace

#endif
