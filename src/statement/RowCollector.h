#pragma once

#include <cstdint>
#include <exception>
#include <vector>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/DeferredWork.h"
#include "statement/BatchInsert.h"
#include "statement/ParameterBinding.h"
#include "statement/RowBatch.h"
#include "tarn/Array.h"

namespace lumora {

// What the collector needs of the statement whose rows it collects.
class I_RowRunner {
 public:
  virtual void put_CurrentRow(tarn::smart_ptr<tarn::ValueRow> const& inRow) = 0;
  // Executes the statement with what is bound.
  virtual void RunBound() = 0;

 protected:
  ~I_RowRunner() = default;
};

// Reads parameter rows and inserts them many at once, where nobody can tell that from binding and
// executing them one by one: each value is read once, and in the same order; what a failing batch
// leaves is nothing, and it is repeated in halves until the failing row fails by itself; a host
// value that calls back finds the rows before its own inserted.
//
// The variables behind the references must outlive it. The caller holds the engine lock.
class RowCollector final : private I_DeferredWork {
 public:
  // Fewer rows are sooner done one by one.
  static constexpr std::uint32_t kFewestRows = 32;

  RowCollector(I_RowRunner& inRunner, duckdb_c::PreparedHandle const& inPrepared,
               I_DatabaseLink* const& inDatabase,
               std::shared_ptr<ParameterTypes const> const& inTypes, ParameterInsert&& ioInsert);

  // Whether the first row of the run may be taken; otherwise it is to be executed by itself.
  bool TakesFirst();
  // False: the row is the caller's to bind and execute, after Flush, and nothing of it was read.
  // True: it is inserted, or will be; which row is the statement's current one is then open, unless
  // it is seen from the host. Throws what binding and executing it, or one before it,
  // throws.
  bool Take(tarn::smart_ptr<tarn::ValueRow> const& inRow);
  // Inserts the rows that were taken. The last one inserted may be the statement's current row
  // then.
  void Flush();

 private:
  bool IsFull() const;
  bool ReadRow();
  void FinishSingly(std::uint32_t inIndex);
  void InsertWhatWasRead();
  void Finish() override;

  void Insert(std::uint32_t inFirst, std::uint32_t inCount);
  void InsertParts(std::uint32_t inFirst, std::uint32_t inCount);
  void InsertSingly(std::uint32_t inFirst, std::uint32_t inCount);

  I_RowRunner& mRunner;
  I_DatabaseLink* const& mDatabase;
  std::shared_ptr<ParameterTypes const> const mTypes;
  RowBinder mBinder;
  BatchInsert mInsert;
  RowBatch mBatch;
  std::vector<tarn::smart_ptr<tarn::ValueRow>> mRows;  // those of the batch
  bool mIsOff = false;

  // The row that is being read.
  tarn::smart_ptr<tarn::ValueRow> mRow;
  std::uint32_t mRead = 0;  // cells of it in the batch
  ParameterCell mCell;
  bool mIsEntered = false;  // a value of it has called back
  std::exception_ptr mError;
};

}  // namespace lumora
