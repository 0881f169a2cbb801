#pragma once

#include <functional>
#include <string>

#include "support/DatabaseTest.h"
#include "support/TestValue.h"

namespace lumora::test {

// One operation that is to fail in every way. All three run once for each way; what they leave
// behind must be nothing.
struct Attempt {
  std::function<void()> mPrepare;     // undisturbed; may be empty
  std::function<std::string()> mRun;  // the operation, disturbed; its answer as text
  std::function<void()> mCheck;       // undisturbed, whatever mRun did; may be empty
  // Whether an answer is right that is neither what the undisturbed operation answers, nor
  // std::bad_alloc for want of memory, nor an error of the database for a failing call of DuckDB's.
  // Answers are mRun's or "threw <class> <code> (<texts>)". May be empty.
  std::function<bool(std::string const&)> mAccepts;
  // DuckDB's splitting of a text does not fail. Without an error text, which it always gives, a
  // text that cannot be split is one without statements.
  bool mIsSplit = false;
  // For what is dear: about so many allocations fail, spread evenly from a random first one on, a
  // third of them under a sanitizer; the others in another run, or all with LUMORA_EVERY_FAULT in
  // the environment. 0: all.
  std::uint64_t mSamples = 0;
  bool mIsNeverThrownAt = false;  // want of memory is no answer either
  bool mIsNewcomer = false;       // mRun runs on a thread that never called before
};

inline constexpr char kNoMemory[] = "threw std::bad_alloc";

// Each allocation of our libraries fails, the first, the second and so on until the operation
// passes untouched; then all from the first on, all from the second on and so on.
void CheckEveryAllocation(Attempt const& inAttempt);
// Each call of DuckDB's that can fail does so once.
void CheckEveryCall(Attempt const& inAttempt);
void CheckEveryFault(Attempt const& inAttempt);  // both

class FaultTest : public DatabaseTest {
 protected:
  // A text that does not stand inside the object, so that every copy allocates.
  static std::string Long(std::string const& inText) { return inText + std::string(40, '.'); }
};

}  // namespace lumora::test
