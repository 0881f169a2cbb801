#pragma once

#include <memory>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "statement/ParameterTypes.h"
#include "tarn/ForeignPlugin.h"
#include "tarn/lsql/I_DuckDBStatement.h"
#include "tarn/noncopyable.h"

namespace tarn::lsql {

// One SQL text that is split by DuckDB's parser and prepared and executed piece by piece.
//
// Fresh: not split yet. Prepared: piece mNextIndex is the prepared one. Finished: after a full run;
// the text is split again by the next PrepareNext. Invalid: closed, or its database is; then every
// operation that would reach DuckDB throws ("unknown", "DuckDBDatabase is invalid").
class DuckDBStatement final : public I_DuckDBStatement,
                              public ForeignPlugin_imp,
                              public noncopyable {
 public:
  // The caller holds the engine lock, puts the new object into a smart_ptr at once and registers
  // it with the database; the statement unregisters itself when it is closed or dies.
  DuckDBStatement(lumora::I_DatabaseLink* inDatabase, String const& inSql);

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  String const& get_SqlText() const override { return mSqlText; }
  String const& get_CurrentSql() const override { return mCurrentSql; }
  smart_ptr<I_DuckDBDatabase> get_Database() override;
  // Before the first PrepareNext the number of pieces of the text (0 for a text that DuckDB cannot
  // split), after a full run 0.
  std::uint64_t get_RemainingStatements() override;
  void Close() override;

  void PrepareNext() override;
  void ExecuteNext(std::uint64_t& outRowsChanged) override;
  void ExecuteNext() override;
  void ExecuteAll() override;
  DuckDBExecutionResult TryExecuteAll() override;

  void ClearBindings() override;
  void Reserved16() override;
  void Reserved17() override;
  void Reserved18() override;
  void Reserved19() override;
  void Reserved20() override;
  void Reserved21() override;

  void BindParameters(smart_ptr<ValueRow> inRow) override;
  void BindParameterRows(smart_ptr<ValueRows> inRows) override;

  std::int64_t Execute() override;
  smart_ptr<I_DuckDBCursor> ExecuteCursor(std::uint32_t inCursorKind) override;
  String ExecuteToJSON() override;
  smart_ptr<I_DuckDBQueryResult> ExecuteResult(std::uint32_t inCursorKind) override;

 private:
  ~DuckDBStatement() override = default;

  void CheckDatabase() const;
  std::shared_ptr<lumora::duckdb_c::ConnectionHandle> get_Connection() const;
  void ReleaseHandles() noexcept;
  void ReleaseExtracted() noexcept;
  void Detach() noexcept;

  // Splitting. Extract leaves no pieces for a text that holds none; its errors are DuckDB's.
  void Extract();
  void ExtractAgain();
  void PreparePiece();
  void TakeCurrentSql();
  void FinishRun();
  void ExecuteAllRecorded(DuckDBExecutionResult& ioRecord);

  void BindCurrentParameters();
  void DropOutdatedTypes();

  // The execution step. outRowsChanged may be null.
  void Run(std::uint64_t* outRowsChanged);
  void RunRows(std::uint64_t* outRowsChanged);
  class RowRunner;
  void RunOnce(std::uint64_t* outRowsChanged);

  RefsCount mRefCount;
  String const mSqlText;

  // Guarded by the engine lock.
  lumora::I_DatabaseLink* mDatabase;
  String mCurrentSql;
  smart_ptr<ValueRows> mParameterRows;
  smart_ptr<ValueRow> mCurrentParameters;
  lumora::duckdb_c::ExtractedHandle mExtracted;
  std::uint64_t mStatementCount = 0;
  std::uint64_t mNextIndex = 0;
  // DuckDB gives a piece away when it prepares it, whether that succeeds or not: pieces below
  // this index can be prepared again only after splitting anew.
  std::uint64_t mSpentCount = 0;
  bool mFinished = false;
  lumora::duckdb_c::PreparedHandle mPrepared;
  std::shared_ptr<lumora::ParameterTypes const> mParameterTypes;  // null: each value has its own
  lumora::duckdb_c::ResultHandle mLastResult;
};

}  // namespace tarn::lsql
