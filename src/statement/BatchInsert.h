#pragma once

#include <string>

#include "duckdb_c/Handles.h"
#include "statement/InsertPattern.h"
#include "statement/RowBatch.h"

namespace lumora {

// Inserts many parameter rows by one INSERT … SELECT that reads them as data chunks, on the
// connection on which the same rows would be inserted one by one. Nothing of it is in the catalog.
//
// In a transaction of the host's a failure would abort the transaction, with another message than
// the row's own; there it inserts only what cannot fail. Otherwise the batch is a transaction of
// its own, in which it asks the catalog and inserts, so that the table cannot change in between.
class BatchInsert {
 public:
  enum class Outcome {
    kDone,
    kUnfit,   // nothing was done: these rows, or all, are to be inserted one by one
    kFailed,  // nothing stays; the rows are to be inserted in smaller parts
    kFinal,   // nothing stays and nothing more may be tried; get_Error is what a row would have got
  };

  explicit BatchInsert(ParameterInsert&& ioInsert) : mInsert(std::move(ioInsert)) {}

  // Whether the connection is in no transaction of the host's.
  bool IsOwnTransaction(duckdb_connection inConnection);
  // Rows inFirst to inFirst + inCount of a batch with a column for each parameter. In a transaction
  // of the host's a row of the same statement was inserted before.
  Outcome Run(duckdb_connection inConnection, RowBatch const& inRows, std::uint32_t inFirst,
              std::uint32_t inCount);
  std::string const& get_Error() const { return mError; }
  std::uint32_t get_ParameterCount() const {
    return static_cast<std::uint32_t>(mInsert.mParameters.size());
  }

 private:
  enum class Transaction { kUnknown, kOwn, kHosts, kUnfit };

  Transaction FindTransaction(duckdb_connection inConnection) const;
  bool IsOneTable(duckdb_connection inConnection) const;
  bool IsFit(duckdb_connection inConnection, RowBatch const& inRows);
  Outcome RunOwn(duckdb_connection inConnection, RowBatch const& inRows, std::uint32_t inFirst,
                 std::uint32_t inCount);
  Outcome TellFailedCommit(duckdb_c::ResultHandle& inResult);
  bool Append(duckdb_connection inConnection, RowBatch const& inRows, std::uint32_t inFirst,
              std::uint32_t inCount);
  Outcome TellFailure(duckdb_connection inConnection);

  ParameterInsert const mInsert;
  Transaction mTransaction = Transaction::kUnknown;
  std::string mError;
  bool mIsInterrupted = false;
};

}  // namespace lumora
