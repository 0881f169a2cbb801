// The operations of both cursors, over every type that DuckDB has.
#include <fmt/format.h>

#include "StatementFaultTest.h"
#include "tarn/lsql/CursorToJSON.h"

namespace {

using namespace lumora::test;
using tarn::lsql::kCursorClient;
using tarn::lsql::kCursorServer;
using Cursor = tarn::smart_ptr<tarn::lsql::I_DuckDBCursor>;

// A cell of each kind of VARIANT that is read in a way of its own.
constexpr char kVariants[] =
    "SELECT v FROM (VALUES (1::TINYINT::VARIANT), (2::INTEGER::VARIANT), (NULL::VARIANT), "
    "(170141183460469231731687303715884105727::HUGEINT::VARIANT), (12.5::DECIMAL(9,2)::VARIANT), "
    "('a text that is long enough not to be inside'::VARIANT), ({'a': [1, 2]}::VARIANT), "
    "('2026-11-21'::DATE::VARIANT), ('\\x01\\x02'::BLOB::VARIANT), "
    "('101010101'::BIT::VARIANT), (1e9::BIGNUM::VARIANT)) x(v)";

class ACursor : public StatementFaultTest {
 protected:
  Cursor Open(std::string const& inSql, std::uint32_t inKind) {
    return mDatabase->ExecuteQuery(Wide(inSql), inKind, nullptr);
  }
  // An operation of a new cursor over three rows.
  Attempt OnCursor(std::uint32_t inKind, std::function<std::string()> inRun) {
    Attempt attempt = OnDatabase(std::move(inRun));
    attempt.mPrepare = [this, inKind] {
      mCursor = Open(
          "SELECT i, 'a text that is long enough not to be inside' || i AS s "
          "FROM range(3) r(i)",
          inKind);
    };
    auto const check = attempt.mCheck;
    attempt.mCheck = [this, check] {
      if (mCursor) mCursor->Close();
      mCursor.reset();
      check();
    };
    return attempt;
  }

  Cursor mCursor;
};

// Every name of test_all_types() that is a column of its own here.
TEST_F(ACursor, OverEveryTypeReadsItOrThrows) {
  auto const columns = Open("SELECT * FROM test_all_types() LIMIT 0", kCursorServer);
  for (std::uint32_t i = 0; i < columns->get_ColumnCount() && !HasFailure(); ++i) {
    std::string const name = Utf8(columns->get_ColumnName(i));
    SCOPED_TRACE(name);
    auto const kind = i % 2 == 0 ? kCursorClient : kCursorServer;
    CheckEveryAllocation(OnDatabase(
        [&] { return TextOf(Open("SELECT \"" + name + "\" FROM test_all_types()", kind)); }));
  }
}

TEST_F(ACursor, OverVariantsReadsThemOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    Attempt attempt = OnDatabase([&] { return TextOf(Open(kVariants, kind)); });
    attempt.mSamples = 40;
    CheckEveryFault(attempt);
  }
}

TEST_F(ACursor, OverNestedValuesReadsThemOrThrows) {
  CheckEveryFault(OnDatabase([&] {
    return TextOf(
        Open("SELECT {'a': [i, 2], 'b': MAP {'k': 'v'}} AS s, "
             "union_value(n := i) AS u, 'x'::ENUM('x', 'y') AS e FROM range(2) r(i)",
             kCursorServer));
  }));
}

TEST_F(ACursor, DescribesItsColumnsWithoutMemory) {
  CheckEveryFault(OnCursor(kCursorServer, [&] {
    return fmt::format("{} {} {} {} {}", mCursor->get_ColumnCount(),
                       mCursor->get_ColumnName(1).length(), mCursor->get_ColumnTypeName(1).length(),
                       mCursor->get_ColumnType(1), mCursor->get_ColumnName(9).length());
  }));
}

TEST_F(ACursor, OfAClientMovesWithoutMemory) {
  CheckEveryFault(OnCursor(kCursorClient, [&] {
    std::string text = fmt::format("{} {}", mCursor->get_RecordCount(), mCursor->LastRecord());
    text += Utf8(mCursor->get_Value(1)->get_String());
    text += fmt::format(" {} {} {} {}", mCursor->PrevRecord(), mCursor->FirstRecord(),
                        mCursor->put_CurrentRecord(2), mCursor->get_CurrentRecord());
    return text;
  }));
}

TEST_F(ACursor, OfAServerRefusesToMoveOrThrows) {
  using Move = std::function<void()>;
  for (Move const& move :
       {Move([&] { (void)mCursor->get_RecordCount(); }),
        Move([&] { (void)mCursor->FirstRecord(); }), Move([&] { (void)mCursor->get_Value(7); }),
        Move([&] { (void)mCursor->get_Value(0); })}) {
    CheckEveryFault(OnCursor(kCursorServer, [&] {
      move();
      return "moved";
    }));
  }
}

// What failed once is there at the next call.
TEST_F(ACursor, ReadsTheValueThatFailedAtTheNextCall) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    Attempt attempt = OnCursor(kind, [&] { return Utf8(mCursor->get_Value(1)->get_String()); });
    auto const prepare = attempt.mPrepare;
    auto const check = attempt.mCheck;
    attempt.mPrepare = [&, prepare] {
      prepare();
      EXPECT_TRUE(mCursor->NextRecord());
    };
    attempt.mCheck = [&, check] {
      EXPECT_EQ(Utf8(mCursor->get_Value(1)->get_String()),
                "a text that is long enough not to be inside0");
      check();
    };
    CheckEveryFault(attempt);
  }
}

TEST_F(ACursor, BecomesJSONOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(OnCursor(kind, [&] { return Utf8(tarn::lsql::CursorToJSON(mCursor)); }));
  }
}

TEST_F(ACursor, HandsItsRowsOutOrThrows) {
  CheckEveryFault(OnCursor(kCursorClient, [&] {
    auto const& extension = LoadedExtension::Instance();
    auto const rows = extension->get_CursorRows(mCursor);
    return fmt::format("{} {}", rows->get_Count(), extension->get_IsClientCursor(mCursor));
  }));
}

TEST_F(ACursor, AnswersItsDatabaseOrThrows) {
  CheckEveryFault(
      OnCursor(kCursorServer, [&] { return mCursor->get_Database() == mDatabase ? "it" : "no"; }));
}

TEST_F(ACursor, ClosesAndDiesWithoutMemory) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(OnCursor(kind, [&] {
      mCursor->Close();
      mCursor.reset();
      return "gone";
    }));
    CheckEveryFault(OnCursor(kind, [&] {
      mCursor.reset();
      return "gone";
    }));
  }
}

TEST_F(ACursor, ThatIsClosedThrows) {
  Attempt attempt =
      OnCursor(kCursorServer, [&] { return fmt::format("{}", mCursor->NextRecord()); });
  auto const prepare = attempt.mPrepare;
  attempt.mPrepare = [&, prepare] {
    prepare();
    mCursor->Close();
  };
  CheckEveryFault(attempt);
}

// The last piece of a result that was kept while its cursor was made.
TEST_F(ACursor, OfManyChunksIsReadOrThrows) {
  Attempt attempt = OnDatabase([&] {
    auto const cursor = Open("SELECT i FROM range(5000) r(i)", kCursorServer);
    std::int64_t sum = 0;
    while (cursor->NextRecord()) sum += 1;
    return fmt::format("{}", sum);
  });
  CheckEveryFault(attempt);
}

TEST_F(ACursor, RegistersAndLeavesOrThrows) {
  Attempt attempt = OnCursor(kCursorServer, [&] {
    mDatabase->UnregisterCursor(mCursor.get());
    mDatabase->RegisterCursor(mCursor.get());
    return "registered";
  });
  CheckEveryFault(attempt);
}

}  // namespace
