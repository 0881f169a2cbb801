#include "statement/StatementErrors.h"

#include "tarn/Converter.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace lumora {

tarn::String PathOf(I_DatabaseLink* inDatabase) {
  return inDatabase ? inDatabase->get_Interface().get_Path() : tarn::String();
}

void ThrowError(tarn::String const& inPath, std::string const& inMessage) {
  tarn::String const path = inPath.isEmpty() ? tarn::String(statement_text::kUnknown) : inPath;
  tarn::String const message = tarn::StToUTF16(
      inMessage.data(), static_cast<std::int64_t>(inMessage.size()), tarn::GetConverter_UTF8());
  throw tarn::lsql::xDuckDBError(kDuckDBErrorCode, path.c_str(), message.c_str());
}

void ThrowError(I_DatabaseLink* inDatabase, std::string const& inMessage) {
  ThrowError(PathOf(inDatabase), inMessage);
}

void ThrowDatabaseInvalid() {
  throw tarn::lsql::xDuckDBError(kDuckDBErrorCode, statement_text::kUnknown,
                                 statement_text::kDatabaseInvalid);
}

void RefuseNul(I_DatabaseLink* inDatabase, std::string const& inSql) {
  if (inSql.find('\0') != std::string::npos) {
    ThrowError(inDatabase, statement_text::kNulInSql);
  }
}

}  // namespace lumora
