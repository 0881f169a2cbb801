#include "FaultTest.h"

#include <execinfo.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <random>
#include <thread>

#include "AllocationFaults.h"
#include "ValueCalls.h"
#include "support/DuckDBCalls.h"
#include "support/Seed.h"

namespace lumora::test {
namespace {

// What is under way, for the message of a process that ends.
std::array<char, 256> gNow{};

void Note(char const* inWhat, std::uint64_t inNumber) {
  auto const* const info = testing::UnitTest::GetInstance()->current_test_info();
  auto const end = fmt::format_to_n(gNow.data(), gNow.size() - 1, "{}.{}: {} {}",
                                    info->test_suite_name(), info->name(), inWhat, inNumber);
  *end.out = 0;
}

// An exception that may not leave where it wants to ends the process: say where.
[[noreturn]] void Terminated() {
  std::fprintf(stderr, "std::terminate in %s\n", gNow.data());
  std::array<void*, 64> frames{};
  backtrace_symbols_fd(frames.data(), backtrace(frames.data(), 64), STDERR_FILENO);
  std::abort();
}

struct Totals : testing::Environment {
  std::uint64_t mOperations = 0;
  std::uint64_t mAllocations = 0;
  std::uint64_t mCalls = 0;
  void SetUp() override { std::set_terminate(Terminated); }
  void TearDown() override {
    fmt::print("{} operations, {} failing allocations, {} failing calls\n", mOperations,
               mAllocations, mCalls);
  }
};
Totals* const gTotals = static_cast<Totals*>(testing::AddGlobalTestEnvironment(new Totals));

std::string Describe(std::exception_ptr const& inException) {
  try {
    std::rethrow_exception(inException);
  } catch (tarn::xException const& error) {
    return fmt::format("threw {} 0x{:X} ({}, {})", error.get_Name(), error.get_Code(),
                       Utf8(error.get_Text(0)), Utf8(error.get_Text(1)));
  } catch (std::bad_alloc const&) {
    return kNoMemory;
  } catch (std::exception const& error) {
    return fmt::format("threw std::exception ({})", error.what());
  } catch (...) {
    return "threw something unknown";
  }
}

struct Counts {
  HandleCounts mHandles = get_LiveHandles();
  std::int64_t mChunks = get_LiveChunks();
  std::int64_t mValues = get_LiveValues();
  std::int64_t mAllocations = kIsPoolPlain ? get_LiveAllocations() : 0;
  friend bool operator==(Counts const&, Counts const&) = default;
  friend std::ostream& operator<<(std::ostream& ioStream, Counts const& inCounts) {
    return ioStream << inCounts.mHandles << ", chunks " << inCounts.mChunks << ", values "
                    << inCounts.mValues << ", allocations " << inCounts.mAllocations;
  }
};

// Failing allocations that tell how many there were (or failed) when they are over.
class Counting : public AllocationFaults {
 public:
  explicit Counting(std::uint64_t& outCount) : AllocationFaults(kNone), mCount(outCount) {}
  Counting(std::uint64_t inSuccesses, bool inForGood, std::uint64_t& outFailures)
      : AllocationFaults(inSuccesses, inForGood), mCount(outFailures), mIsOfFailures(true) {}
  ~Counting() { mCount = mIsOfFailures ? get_Failures() : get_Count(); }

 private:
  std::uint64_t& mCount;
  bool mIsOfFailures = false;
};

// Runs the operation once; TFault lives while it does.
template <typename TMakeFault>
std::string RunOnce(Attempt const& inAttempt, TMakeFault const& inMakeFault) {
  if (inAttempt.mPrepare) inAttempt.mPrepare();
  std::string answer;
  std::exception_ptr thrown;
  auto const run = [&] {
    [[maybe_unused]] auto const fault = inMakeFault();
    try {
      // A copy: the memory of the answer itself may be one of our libraries'.
      std::string const given = inAttempt.mRun();
      answer.assign(given.data(), given.size());
    } catch (...) {
      thrown = std::current_exception();
    }
  };
  inAttempt.mIsNewcomer ? std::thread(run).join() : run();
  if (thrown) answer = Describe(thrown);
  thrown = nullptr;
  if (inAttempt.mCheck) inAttempt.mCheck();
  return answer;
}

struct Undisturbed {
  std::string mAnswer;
  std::uint64_t mAllocations = 0;
};

// Twice, so that what the libraries keep from the first time on is there.
Undisturbed RunUndisturbed(Attempt const& inAttempt) {
  static_cast<void>(LoadedExtension::Instance());
  LearnLibraries();
  Undisturbed result;
  auto const run = [&] {
    return RunOnce(inAttempt, [&] { return Counting(result.mAllocations); });
  };
  Note("undisturbed", 0);
  result.mAnswer = run();
  Counts const before;
  EXPECT_EQ(run(), result.mAnswer);
  EXPECT_EQ(Counts(), before) << "undisturbed";
  return result;
}

void Expect(Attempt const& inAttempt, std::string const& inAnswer, std::string const& inRight,
            bool inIsRightError) {
  bool const right =
      inAnswer == inRight || inIsRightError || (inAttempt.mAccepts && inAttempt.mAccepts(inAnswer));
  EXPECT_TRUE(right) << "answered " << inAnswer << "\ninstead of " << inRight;
}

// Itself, or an error of the database with its text.
bool IsLackOfMemory(std::string const& inAnswer) {
  return inAnswer == kNoMemory || (inAnswer.starts_with("threw xDuckDBError 0x72501 ") &&
                                   inAnswer.find("std::bad_alloc") != std::string::npos);
}

// From one failing allocation to the next.
std::uint64_t StepOf(Attempt const& inAttempt, std::uint64_t inCount) {
  static bool const every = std::getenv("LUMORA_EVERY_FAULT") != nullptr;
  if (every || inAttempt.mSamples == 0) return 1;
  std::uint64_t const samples = kIsSanitized ? inAttempt.mSamples / 3 + 1 : inAttempt.mSamples;
  return std::max<std::uint64_t>(1, inCount / samples);
}

// The first of them, below the step.
std::uint64_t FirstOf(std::uint64_t inStep) {
  static std::mt19937_64 random(get_Seed("failing allocations"));
  return random() % inStep;
}

void FailAllocations(Attempt const& inAttempt, Undisturbed const& inRight, bool inForGood) {
  char const* const what = inForGood ? "all allocations from" : "allocation";
  std::uint64_t const step = StepOf(inAttempt, inRight.mAllocations);
  for (std::uint64_t i = FirstOf(step); !testing::Test::HasFailure(); i += step) {
    SCOPED_TRACE(fmt::format("{} {}", what, i));
    Note(what, i);
    Counts const before;
    std::uint64_t failures = 0;
    std::string const answer = RunOnce(inAttempt, [&] { return Counting(i, inForGood, failures); });
    Expect(inAttempt, answer, inRight.mAnswer,
           failures != 0 && !inAttempt.mIsNeverThrownAt && IsLackOfMemory(answer));
    EXPECT_EQ(Counts(), before);
    if (failures == 0) return;
    ++gTotals->mAllocations;
  }
}

// With a text: the second one of an error of a database, the only one of a failed opening.
bool IsDatabaseError(std::string const& inAnswer) {
  return (inAnswer.starts_with("threw xDuckDBError 0x72501 ") && !inAnswer.ends_with(", )")) ||
         (inAnswer.starts_with("threw xException 0x99000 ") && !inAnswer.ends_with("(, )")) ||
         inAnswer == "threw std::exception (Failed to create DuckDB config)";
}

// One failing call that tells how many calls there were when it is over.
template <typename TCall, typename TFailing>
class CountingCalls : public TFailing {
 public:
  CountingCalls(TCall inCall, std::uint64_t inNumber, std::uint64_t (*inAsk)(TCall),
                std::uint64_t& outCount)
      : TFailing(inCall, static_cast<std::int64_t>(inNumber), 1),
        mCall(inCall),
        mAsk(inAsk),
        mCount(outCount) {}
  ~CountingCalls() { mCount = mAsk(mCall); }

 private:
  TCall mCall;
  std::uint64_t (*mAsk)(TCall);
  std::uint64_t& mCount;
};

template <typename TCall, typename TFailing>
void FailCalls(Attempt const& inAttempt, std::string const& inRight, TCall inCall,
               std::uint64_t (*inCount)(TCall)) {
  for (std::uint64_t i = 0; !testing::Test::HasFailure(); ++i) {
    SCOPED_TRACE(fmt::format("call of kind {}, number {}", static_cast<int>(inCall), i));
    Note("call", static_cast<std::uint64_t>(inCall) * 1000 + i);
    Counts const before;
    std::uint64_t const calls = inCount(inCall);
    std::uint64_t made = 0;
    std::string const answer = RunOnce(
        inAttempt, [&] { return CountingCalls<TCall, TFailing>(inCall, i, inCount, made); });
    bool const failed = made - calls > i;
    Expect(inAttempt, answer, inRight,
           failed && !inAttempt.mIsNeverThrownAt && IsDatabaseError(answer));
    EXPECT_EQ(Counts(), before);
    if (!failed) return;
    ++gTotals->mCalls;
  }
}

}  // namespace

void CheckEveryAllocation(Attempt const& inAttempt) {
  ++gTotals->mOperations;
  Undisturbed const right = RunUndisturbed(inAttempt);
  FailAllocations(inAttempt, right, false);
  FailAllocations(inAttempt, right, true);
}

void CheckEveryCall(Attempt const& inAttempt) {
  std::string const right = RunUndisturbed(inAttempt).mAnswer;
  for (int i = 0; i < static_cast<int>(Call::kCount); ++i) {
    if (static_cast<Call>(i) == Call::kExtract && inAttempt.mIsSplit) continue;
    FailCalls<Call, FailingCall>(inAttempt, right, static_cast<Call>(i), get_CallCount);
  }
  for (int i = 0; i < static_cast<int>(ValueCall::kCount); ++i) {
    FailCalls<ValueCall, FailingValueCall>(inAttempt, right, static_cast<ValueCall>(i),
                                           get_CallCount);
  }
}

void CheckEveryFault(Attempt const& inAttempt) {
  CheckEveryAllocation(inAttempt);
  CheckEveryCall(inAttempt);
}

}  // namespace lumora::test
