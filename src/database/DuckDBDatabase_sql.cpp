#include "database/DuckDBDatabase.h"
#include "tarn/Exceptions.h"

namespace tarn::lsql {

smart_ptr<I_DuckDBStatement> DuckDBDatabase::CreateStatement(String const&) {
  throw xFeatureError(0xA000, "CreateStatement");
}

void DuckDBDatabase::ExecuteSQL(String const&, smart_ptr<ValueRow>) {
  throw xFeatureError(0xA000, "ExecuteSQL");
}

smart_ptr<I_DuckDBQueryResult> DuckDBDatabase::Execute(String const&, std::uint32_t,
                                                       smart_ptr<ValueRow>) {
  throw xFeatureError(0xA000, "Execute");
}

smart_ptr<I_DuckDBCursor> DuckDBDatabase::ExecuteQuery(String const&, std::uint32_t,
                                                       smart_ptr<ValueRow>) {
  throw xFeatureError(0xA000, "ExecuteQuery");
}

}  // namespace tarn::lsql
