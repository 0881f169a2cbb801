#pragma once

#include "tarn/String.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// The records that are left of a cursor, read by NextRecord, as a JSON array of one object a
// record, members in column order ([] for none). Numbers keep every digit; NaN and infinities are
// the strings "NaN", "Infinity", "-Infinity"; dates and date-times are strings as get_String gives
// them; JSON values stand as they are; bytes are base64 strings; NULL is null. A column name that
// occurs again gets "_1", "_2" and so on. Null cursor: "[]". Passes the cursor's errors on.
LSHARED_API String CursorToJSON(smart_ptr<I_DuckDBCursor> inCursor);

}  // namespace tarn::lsql
