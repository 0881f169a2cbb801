#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Input.h"
#include "support/LoadedExtension.h"
#include "support/TempFolder.h"
#include "tarn/tarn.h"

// What a sequence of calls of the database interfaces works on: the objects, and what is known of
// them.
namespace lumora::fuzz {

using namespace tarn::lsql;
using tarn::smart_ptr;
using test::LoadedExtension;

struct Script {
  char const* mSql;
  int mRows;  // of 0 to mRows - 1 in one column, when it is a query of that kind; else -1
};
inline constexpr std::array kScripts = {
    Script{"SELECT range FROM range(0)", 0},
    Script{"SELECT range FROM range(1)", 1},
    Script{"SELECT range FROM range(5)", 5},
    Script{"FROM range(2050)", 2050},
    Script{"CREATE OR REPLACE TABLE t (a INTEGER, b VARCHAR)", -1},
    Script{"INSERT INTO t VALUES (1, 'x')", -1},
    Script{"INSERT INTO t VALUES (?, ?)", -1},
    Script{"INSERT INTO t SELECT range, 'y' FROM range(?)", -1},
    Script{"SELECT * FROM t", -1},
    Script{"SELECT ?, ?", -1},
    Script{"SELECT $1", -1},
    Script{"UPDATE t SET b = ? WHERE a = ?", -1},
    Script{"DELETE FROM t", -1},
    Script{"BEGIN; INSERT INTO t VALUES (2, 'z'); COMMIT", -1},
    Script{"BEGIN", -1},
    Script{"COMMIT", -1},
    Script{"ROLLBACK", -1},
    Script{"SELECT 1; SELEKT", -1},
    Script{"SELECT 1; SELECT 2; SELECT 3", -1},
    Script{"INSERT INTO t VALUES (3, ''); SELECT CAST('x' AS INTEGER); SELECT 4", -1},
    Script{"SELECT CAST(x AS INTEGER) FROM (VALUES ('1'), ('x')) v(x)", -1},
    Script{"SELECT [1, NULL], {'a': 1}, 'x'::BLOB, DATE '2024-01-01', {'b': 2}::VARIANT, NULL", -1},
    Script{"DROP TABLE t", -1},
    Script{"ALTER TABLE t ADD COLUMN c DOUBLE", -1},
    Script{"CREATE TEMPORARY TABLE t (z INTEGER)", -1},
    Script{"DETACH x", -1},
    Script{"-- nothing", -1},
    Script{"", -1},
};

// An object that belongs to a database, and whether the two are still open.
template <typename T>
struct Child {
  smart_ptr<T> mObject;
  std::size_t mDatabase = 0;
  std::uint64_t mOpening = 0;  // of the database, when the child was made
  bool mIsClosed = false;
  int mRows = -1;
  int mRow = -1;  // of a cursor with known rows
  bool mIsClient = false;
};

struct Database {
  smart_ptr<I_DuckDBDatabase> mObject;
  bool mIsOpen = false;
  std::uint64_t mOpening = 0;  // changes whenever the object opens or closes
  bool mIsUsed = false;
};

inline constexpr std::array kPaths = {":memory:", "a.db", "a.db", "b.db"};
inline constexpr std::size_t kMostChildren = 6;

inline test::TempFolder& get_Folder() {
  static test::TempFolder folder;
  return folder;
}

// What a host value may throw, too: it is the host's own and comes out as it is.
struct ValueFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class ObjectModel {
 public:
  ObjectModel() {
    for (std::size_t i = 0; i < kPaths.size(); ++i) Renew(i);
  }

  // The call's own exceptions, of which only the promised ones are right.
  template <typename TCall>
  static bool Try(TCall inCall) {
    try {
      inCall();
      return true;
    } catch (tarn::xException const& error) {
      std::uint32_t const code = error.get_Code();
      Require(code == 0x72501 || code == 0x99000 || code == 0xA000 || code == 0x51501 ||
                  code == 0x66000 || code == 0x66001,
              "a promised error");
      Require(!error.get_Message().isEmpty(), "an error has a text");
    } catch (ValueFailure const&) {
      // Thrown through the library.
    } catch (std::logic_error const&) {
      // An INT8 envelope without a number.
    }
    return false;
  }

  template <typename T>
  bool IsAlive(Child<T> const& inChild) const {
    Database const& database = mDatabases[inChild.mDatabase];
    return !inChild.mIsClosed && database.mIsOpen && database.mOpening == inChild.mOpening;
  }

  template <typename T>
  Child<T>& Add(std::vector<Child<T>>& ioChildren, smart_ptr<T> inObject, std::size_t inDatabase,
                int inRows = -1, bool inIsClient = false) {
    if (ioChildren.size() == kMostChildren) ioChildren.erase(ioChildren.begin());
    Child<T> child{std::move(inObject), inDatabase};
    child.mOpening = mDatabases[inDatabase].mOpening;
    child.mIsClosed = !mDatabases[inDatabase].mIsOpen;
    child.mRows = inRows;
    child.mIsClient = inIsClient;
    ioChildren.push_back(std::move(child));
    return ioChildren.back();
  }

  void SetOpen(std::size_t inDatabase, bool inIsOpen) {
    mDatabases[inDatabase].mIsOpen = inIsOpen;
    if (inIsOpen) mDatabases[inDatabase].mIsUsed = true;
    ++mDatabases[inDatabase].mOpening;
  }

  void Renew(std::size_t inDatabase) {
    SetOpen(inDatabase, false);
    std::string const path = inDatabase == 0 ? kPaths[0] : get_Folder().At(kPaths[inDatabase]);
    mDatabases[inDatabase].mObject = LoadedExtension::Instance().Database(path);
  }

  // That the objects say what the model says.
  void Check();

  std::array<Database, kPaths.size()> mDatabases;
  std::vector<Child<I_DuckDBStatement>> mStatements;
  std::vector<Child<I_DuckDBCursor>> mCursors;
  std::vector<Child<I_DuckDBQueryResult>> mResults;
};

inline void ObjectModel::Check() {
  std::uint32_t users = 0;
  for (Database const& database : mDatabases) {
    Require(database.mObject->get_IsOpen() == database.mIsOpen, "open as the model says");
  }
  for (std::size_t i : {1U, 2U}) users += mDatabases[i].mIsOpen ? 1 : 0;
  Require(mDatabases[1].mObject->get_ConnectionCount() == users, "the count of connections");
  for (auto const& statement : mStatements) {
    Require((statement.mObject->get_Database() != nullptr) == IsAlive(statement),
            "a statement lives as long as its database is open");
  }
  for (auto const& cursor : mCursors) {
    Require((cursor.mObject->get_Database() != nullptr) == IsAlive(cursor),
            "a cursor lives as long as its database is open");
  }
}

}  // namespace lumora::fuzz
