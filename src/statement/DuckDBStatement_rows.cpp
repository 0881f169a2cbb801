#include <optional>

#include "statement/DuckDBStatement.h"
#include "statement/InsertPattern.h"
#include "statement/RowCollector.h"
#include "tarn/Converter.h"

// Execution once for each row of parameters.
namespace tarn::lsql {

class DuckDBStatement::RowRunner final : public lumora::I_RowRunner {
 public:
  RowRunner(DuckDBStatement& inStatement, std::uint64_t* outRowsChanged)
      : mStatement(inStatement), mRowsChanged(outRowsChanged) {}

  // Null when the rows are not such as can be inserted many at once.
  std::optional<lumora::RowCollector> MakeCollector(std::uint32_t inRows) {
    if (!mStatement.mPrepared || inRows < lumora::RowCollector::kFewestRows) return std::nullopt;
    mStatement.DropOutdatedTypes();
    if (!mStatement.mParameterTypes) return std::nullopt;
    if (duckdb_prepared_statement_type(mStatement.mPrepared.get()) !=
        DUCKDB_STATEMENT_TYPE_INSERT) {
      return std::nullopt;
    }
    auto insert =
        lumora::ReadParameterInsert(StFromUTF16(mStatement.mCurrentSql, GetConverter_UTF8()));
    if (!insert) return std::nullopt;
    return std::optional<lumora::RowCollector>(std::in_place, *this, mStatement.mPrepared,
                                               mStatement.mDatabase, mStatement.mParameterTypes,
                                               std::move(*insert));
  }

  void put_CurrentRow(smart_ptr<ValueRow> const& inRow) override {
    mStatement.mCurrentParameters = inRow;
  }
  void RunBound() override { mStatement.RunOnce(mRowsChanged); }

 private:
  DuckDBStatement& mStatement;
  std::uint64_t* const mRowsChanged;
};

// The last row is always bound and executed by itself: it leaves the count, the result and the
// bindings of the run. So is the first one in a transaction of the host's, where it shows that the
// statement can be executed at all.
void DuckDBStatement::RunRows(std::uint64_t* outRowsChanged) {
  // A host value may call back and bind other rows in the middle.
  smart_ptr<ValueRows> const rows = mParameterRows;
  RowRunner runner(*this, outRowsChanged);
  auto collector = runner.MakeCollector(rows->get_Count());
  std::uint32_t const first = collector && collector->TakesFirst() ? 0 : 1;
  for (std::uint32_t i = 0; i < rows->get_Count(); ++i) {
    CheckDatabase();
    smart_ptr<ValueRow> const row = rows->get_Item(i);
    bool const isInside = i >= first && i + 1 < rows->get_Count();
    if (collector && isInside && collector->Take(row)) continue;
    if (collector) collector->Flush();
    mCurrentParameters = row;
    BindCurrentParameters();
    // The count is that of the last run. DuckDB takes a sixteenth of a row's time to tell it, so it
    // is not asked for when another row is sure to follow.
    bool const isCounted = collector || i + 1 >= rows->get_Count();
    RunOnce(isCounted ? outRowsChanged : nullptr);
  }
  // A value that was read may have made the rows fewer.
  if (collector) collector->Flush();
}

}  // namespace tarn::lsql
