#include "support/DatabaseTest.h"

#include <stdexcept>

namespace lumora::test {

std::ostream& operator<<(std::ostream& ioStream, Thrown const& inThrown) {
  return ioStream << inThrown.mClass << " 0x" << std::hex << inThrown.mCode << std::dec << " ("
                  << inThrown.mText1 << ", " << inThrown.mText2 << ")" << inThrown.mOthers;
}

Thrown ThrownBy(std::function<void()> const& inOperation) {
  try {
    inOperation();
  } catch (tarn::xException const& error) {
    return {error.get_Name(), error.get_Code(), Utf8(error.get_Text(0)), Utf8(error.get_Text(1)),
            Utf8(error.get_Text(2)) + Utf8(error.get_Text(3))};
  } catch (std::runtime_error const& error) {
    return {"runtime_error", 0, error.what()};
  }
  return {};
}

std::string Utf8(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

DatabaseTest::Database DatabaseTest::At(std::string const& inName) const {
  return LoadedExtension::Instance().Database(mFolder.At(inName));
}

DatabaseTest::Database DatabaseTest::Created(std::string const& inName) const {
  Database database = At(inName);
  database->Create();
  return database;
}

DatabaseTest::Database DatabaseTest::Opened(std::string const& inName) const {
  Database database = At(inName);
  database->Open();
  return database;
}

std::string DatabaseTest::MakeFile(std::string const& inName) const {
  Database const database = Created(inName);
  Run(database, "CREATE TABLE t (a INTEGER); INSERT INTO t VALUES (1);");
  return mFolder.At(inName);
}

void DatabaseTest::Run(Database const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(Wide(inSql), nullptr);
}

std::int64_t DatabaseTest::Number(Database const& inDatabase, std::string const& inSql) {
  auto const cursor = inDatabase->ExecuteQuery(Wide(inSql), tarn::lsql::kCursorClient, nullptr);
  if (!cursor->NextRecord()) throw std::runtime_error("no row: " + inSql);
  return cursor->get_Value(0)->get_LLong();
}

Thrown DatabaseTest::DuckDBError(std::string const& inName, std::string const& inMessage) const {
  return {"xDuckDBError", 0x72501, mFolder.At(inName), inMessage};
}

}  // namespace lumora::test
