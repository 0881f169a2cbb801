#include "database/DuckDBDatabase.h"
#include "tarn/Exceptions.h"

namespace tarn::lsql {

void DuckDBDatabase::Backup(smart_ptr<I_Location>&) { throw xFeatureError(0xA000, "Backup"); }

}  // namespace tarn::lsql
