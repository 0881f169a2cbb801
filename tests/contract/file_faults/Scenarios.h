#pragma once

#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tarn/lsql/I_DuckDBDatabase.h"

// Operations of a database whose file calls fail, and what must hold afterwards.
namespace lumora::test {

using DatabasePtr = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;

// What the process of an operation told. A transaction puts its number into a table twice.
struct Told {
  std::set<int> mCommitted;         // acknowledged
  std::set<int> mTried;             // those too that failed, or that nobody heard of again
  bool mIsDone = false;             // the operation was acknowledged
  std::string mError = {};          // its error: class, code, texts
  std::vector<std::string> mWrong;  // what must never happen: a foreign exception, a leak

  explicit Told(std::vector<std::string> const& inLines);
};

// Where one scenario runs: a folder with a copy of what MakeTemplate made.
struct World {
  std::string mFolder;
  DatabasePtr mDatabase = {};

  std::string At(std::string const& inName) const { return mFolder + "/" + inName; }
};

struct Scenario {
  char const* mName;
  // Before the faults; may be null.
  void (*mPrepare)(World& ioWorld);
  // With them. Tells the parent.
  void (*mAct)(World& ioWorld);
  // After them, in the same process or in another one. Throws std::runtime_error with what is
  // wrong.
  void (*mCheck)(World const& inWorld, Told const& inTold);

  friend std::ostream& operator<<(std::ostream& ioStream, Scenario const& inScenario) {
    return ioStream << inScenario.mName;
  }
};

// a.db with the transactions 1 and 2 in it and 3 in its log; the folder "backup" with 11 and 12.
void MakeTemplate(std::string const& inFolder);

std::vector<Scenario> const& get_Scenarios();

}  // namespace lumora::test
