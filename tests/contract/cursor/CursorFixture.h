#pragma once

#include <string>
#include <vector>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/HostValueText.h"
#include "support/TestValue.h"

namespace lumora::test {

// One open in-memory database of the loaded library, and queries on it.
class CursorFixture : public DatabaseTest {
 protected:
  using Cursor = tarn::smart_ptr<tarn::lsql::I_DuckDBCursor>;
  using Value = tarn::smart_ptr<tarn::I_Value>;

  void SetUp() override {
    mDatabase = InMemory();
    mDatabase->Create();
    Run(mDatabase, "SET TimeZone = 'UTC'");
  }

  Cursor Query(std::string const& inSql, std::uint32_t inKind = 2,
               tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    return mDatabase->ExecuteQuery(Wide(inSql), inKind, inParameters);
  }

  // The values of the first row.
  std::vector<Value> FirstRow(std::string const& inSql, std::uint32_t inKind = 2,
                              tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    Cursor const cursor = Query(inSql, inKind, inParameters);
    std::vector<Value> values;
    if (!cursor->NextRecord()) return values;
    for (std::uint32_t c = 0; c < cursor->get_ColumnCount(); ++c) {
      values.push_back(cursor->get_Value(c));
    }
    return values;
  }

  // The texts of the first row; "<null>" for NULL.
  std::vector<std::string> FirstTexts(std::string const& inSql,
                                      tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    std::vector<std::string> texts;
    for (Value const& value : FirstRow(inSql, 2, inParameters)) {
      texts.push_back(value->get_IsNull() ? "<null>" : Utf8(value->get_String()));
    }
    return texts;
  }

  Database mDatabase;
};

// A VARIANT's inner value, and what the host must get of it.
struct VariantCase {
  char const* mSql;   // the inner value
  char const* mType;  // its name in an envelope, or the host's kind
  bool mIsEnvelope;
};
std::vector<VariantCase> const& VariantCases();

}  // namespace lumora::test
