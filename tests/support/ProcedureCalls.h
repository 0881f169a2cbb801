#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "duckdb_c/Handles.h"
#include "support/HostTable.h"
#include "support/TempFolder.h"

namespace lumora::test {

// The extension library, loaded and initialised once for the process with the test's host table.
class LoadedProcedures {
 public:
  static LoadedProcedures& Instance();
  // Ends the process when the extension did not register it.
  ProcedureDef const& Find(std::string const& inName) const;

  HostContext mRegistration;

 private:
  LoadedProcedures();
};

// A DuckDB of the test's own: the oracle, and the maker of the files.
class Oracle {
 public:
  // Empty: in memory. A file must not be open in the extension meanwhile.
  explicit Oracle(std::string const& inPath = {});
  Oracle(Oracle&&) = default;
  // Throws std::runtime_error with DuckDB's text.
  duckdb_c::ResultHandle Run(std::string const& inSql);
  // All cells of a query, each cast to text by DuckDB; "NULL" for NULL.
  std::vector<std::vector<std::string>> Texts(std::string const& inSql);
  std::string Text(std::string const& inSql) { return Texts(inSql).at(0).at(0); }

 private:
  duckdb_c::DatabaseHandle mDatabase;
  duckdb_c::ConnectionHandle mConnection;
};

std::string Quoted(std::string const& inText);  // as an SQL literal

class Procedures : public testing::Test {
 protected:
  using Args = std::vector<ValuePtr>;
  using Texts = std::vector<std::string>;

  CallOutcome Call(std::string const& inName, Args const& inArgs) {
    return CallProcedure(LoadedProcedures::Instance().Find(inName), inArgs);
  }
  // A call that must succeed.
  std::unique_ptr<HostCursor> Open(std::string const& inName, Args const& inArgs);
  // The one message of a call that must fail.
  std::string ErrorOf(std::string const& inName, Args const& inArgs);
  // All cells as text; "NULL" for a null handle.
  static std::vector<Texts> TextsOf(HostCursor& ioCursor);

  // Writes a query's rows to a new file of that name and returns its path.
  std::string MakeParquet(std::string const& inName, std::string const& inQuery);
  // A database file that a script was run on.
  std::string MakeDatabase(std::string const& inName, std::string const& inScript);

  TempFolder mFolder;
};

// A cell as text: numbers in decimal, packed values in hexadecimal with a letter before.
std::string TextOf(std::optional<HostValue> const& inValue);

}  // namespace lumora::test
