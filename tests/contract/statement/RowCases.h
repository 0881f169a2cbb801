#pragma once

#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "support/TestValue.h"

namespace lumora::test {

// One case of parameter rows, told by texts and values alone, so that it can be run twice.
struct RowCase {
  bool mIsOtherAttached = false;    // the database "other"
  std::vector<std::string> mSetUp;  // statements, each of which may fail
  std::string mTable;               // as SQL names it
  std::string mContents;            // a query that tells everything of it, in its own order
  std::string mBefore;              // BEGIN, or nothing
  std::string mInsert;              // the statement; "@" stands where a comment may be put
  std::vector<tarn::smart_ptr<tarn::ValueRow>> mRows;
  int mOperation = 0;  // which of the statement's operations runs the rows
  bool mAgain = false;
  std::string mAfter;  // COMMIT or ROLLBACK, after BEGIN

  friend std::ostream& operator<<(std::ostream& ioStream, RowCase const& inCase);
};

RowCase MakeRowCase(std::mt19937_64& ioRandom);

}  // namespace lumora::test
