#include "procedures/Handlers.h"

#include <new>
#include <stdexcept>

#include "ProcedureFixture.h"
#include "procedures/HandlerFrame.h"
#include "procedures/Registration.h"

namespace lumora::procedures {
namespace {

using HandlerFrame = ProcedureTest;
using Registration = ProcedureTest;

using Errors = std::vector<std::string>;

TEST_F(HandlerFrame, ReportsAStandardExceptionWithItsOwnMessage) {
  auto const cursor = RunHandler(&mContext, "unexpected",
                                 []() -> lumora_cursor { throw std::out_of_range("what it is"); });
  EXPECT_EQ(cursor, nullptr);
  EXPECT_EQ(mContext.mErrors, Errors{"what it is"});
}

TEST_F(HandlerFrame, ReportsAnythingElseWithItsFixedText) {
  auto const cursor = RunHandler(&mContext, "unexpected", []() -> lumora_cursor { throw 42; });
  EXPECT_EQ(cursor, nullptr);
  EXPECT_EQ(mContext.mErrors, Errors{"unexpected"});
}

TEST_F(HandlerFrame, ReportsALackOfMemory) {
  auto const cursor =
      RunHandler(&mContext, "unexpected", []() -> lumora_cursor { throw std::bad_alloc(); });
  EXPECT_EQ(cursor, nullptr);
  EXPECT_EQ(mContext.mErrors, Errors{std::bad_alloc().what()});
}

TEST_F(HandlerFrame, HandsACursorOnAndReportsNothing) {
  int cursor = 0;
  EXPECT_EQ(RunHandler(&mContext, "unexpected", [&]() -> lumora_cursor { return &cursor; }),
            &cursor);
  EXPECT_EQ(mContext.mErrors, Errors{});
}

TEST_F(Registration, OfARefusedProcedureIsReportedAndTheOthersFollow) {
  mContext.mRefusedProcedures = {"parquet_schema"};
  RegisterProcedures(&mContext);
  EXPECT_EQ(mContext.mErrors, Errors{"Cannot register parquet_schema procedure."});
  EXPECT_EQ(mContext.mOffered, (Errors{"fetch_parquet", "parquet_schema", "parquet_metadata",
                                       "parquet_count", "fetch_duckdb"}));
  EXPECT_EQ(mContext.mProcedures.size(), 4U);
}

TEST_F(Registration, OfAllRefusedReportsEachOnce) {
  mContext.mRefusedProcedures = {"fetch_parquet", "parquet_schema", "parquet_metadata",
                                 "parquet_count", "fetch_duckdb"};
  RegisterProcedures(&mContext);
  ASSERT_EQ(mContext.mErrors.size(), 5U);
  EXPECT_EQ(mContext.mErrors[4], "Cannot register fetch_duckdb procedure.");
}

}  // namespace
}  // namespace lumora::procedures
