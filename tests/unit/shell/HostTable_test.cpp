#include "HostTable.h"

#include <cmath>
#include <limits>
#include <set>

#include <gtest/gtest.h>

#include "HostContext.h"
#include "Procedures.h"

namespace lumora::shell {
namespace {

template <typename TFunction>
TFunction Entry(lumora_api_index inIndex) {
  return reinterpret_cast<TFunction>(get_HostTable()[inIndex]);
}

HostValue const& ValueOf(lumora_value inHandle) { return *static_cast<HostValue const*>(inHandle); }

std::string TextOf(HostContext& ioContext, lumora_value inHandle) {
  std::uint64_t length = 99;
  auto const text =
      Entry<lumora_value_get_text>(lumora_api_value_get_text)(&ioContext, inHandle, &length);
  if (!text) return length == 0 ? "(none)" : "(none, but a length)";
  return {text, length};
}

TEST(HostTable, AnswersMisuseOfEveryEntryThatIsNotForExtensions) {
  std::set<int> const used = {2,  6,  10, 15, 17, 20, 21, 22, 23, 24, 25,
                              28, 30, 31, 33, 34, 35, 36, 42, 44, 45};
  ASSERT_GE(get_HostTableSize(), static_cast<std::size_t>(lumora_api_size));
  for (std::size_t i = 0; i < get_HostTableSize(); ++i) {
    ASSERT_NE(get_HostTable()[i], nullptr) << i;
    if (used.count(static_cast<int>(i))) continue;
    testing::internal::CaptureStderr();
    auto const entry = reinterpret_cast<std::uintptr_t (*)() noexcept>(get_HostTable()[i]);
    EXPECT_EQ(entry(), 0U);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "lumora: misuse by the extension: function " + std::to_string(i) +
                  " of the host is not defined for extensions\n");
  }
}

TEST(HostTable, SurvivesCallsWithoutAContextOrAValue) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Entry<lumora_value_new_int64>(lumora_api_value_new_int64)(nullptr, 1), nullptr);
  EXPECT_EQ(Entry<lumora_value_new_text>(lumora_api_value_new_text)(nullptr, "a", 1, 0), nullptr);
  EXPECT_NE(Entry<lumora_register_procedure>(lumora_api_register_procedure)(nullptr, nullptr), 0);
  Entry<lumora_report_error>(lumora_api_report_error)(nullptr, "a", 1);
  lumora_cursor cursor = nullptr;
  HostContext context;
  EXPECT_NE(Entry<lumora_create_callback_cursor>(lumora_api_create_callback_cursor)(
                &context, nullptr, &cursor),
            0);
  lumora_cursor_def empty{};
  EXPECT_NE(Entry<lumora_create_callback_cursor>(lumora_api_create_callback_cursor)(
                &context, &empty, &cursor),
            0);
  EXPECT_NE(Entry<lumora_create_row_cursor>(lumora_api_create_row_cursor)(&context, 1, 0, nullptr,
                                                                          nullptr, &cursor),
            0);
  EXPECT_EQ(cursor, nullptr);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Entry<lumora_value_is_null>(lumora_api_value_is_null)(nullptr), 1);
  EXPECT_EQ(Entry<lumora_value_get_kind>(lumora_api_value_kind)(nullptr), lumora_kind_null);
  EXPECT_EQ(Entry<lumora_array_count>(lumora_api_array_count)(nullptr), 0);
  EXPECT_EQ(Entry<lumora_array_item>(lumora_api_array_item)(nullptr, 0), nullptr);
  EXPECT_EQ(Entry<lumora_value_get_int64>(lumora_api_value_get_int64)(nullptr), 0);
  EXPECT_EQ(TextOf(context, nullptr), "(none)");
}

TEST(HostTable, GivesArgumentsByKindTextAndNumber) {
  struct Case {
    HostValue mValue;
    lumora_value_kind mKind;
    std::string mText;
    std::int64_t mInt64;
    std::uint64_t mUInt64;
  };
  constexpr auto kMax64 = std::numeric_limits<std::uint64_t>::max();
  constexpr auto kMaxSigned = std::numeric_limits<std::int64_t>::max();
  Case const cases[] = {
      {HostValue(), lumora_kind_null, "(none)", 0, 0},
      {HostValue::Text("a\xE6\x97\xA5"), lumora_kind_text, "a\xE6\x97\xA5", 0, 0},
      {HostValue::Text("-12x"), lumora_kind_text, "-12x", -12, 0},
      {HostValue::Text(""), lumora_kind_text, "", 0, 0},
      {HostValue::Int64(-5), lumora_kind_int64, "-5", -5, 0},
      {HostValue::UInt64(kMax64), lumora_kind_uint64, "18446744073709551615", kMaxSigned, kMax64},
      {HostValue::Double(2.5), lumora_kind_double, "2.5", 2, 2},
      {HostValue::Double(1e300), lumora_kind_double, "1e+300", kMaxSigned, kMax64},
      {HostValue::Double(std::nan("")), lumora_kind_double, "NaN", 0, 0},
      {HostValue::Boolean(true), lumora_kind_bool, "true", 1, 1},
      {HostValue::Array({}), lumora_kind_array, "(none)", 0, 0},
  };
  for (Case const& c : cases) {
    HostContext context;
    std::vector<HostValue> const arguments = {c.mValue};
    context.put_Arguments(arguments);
    ASSERT_EQ(Entry<lumora_arg_count>(lumora_api_arg_count)(&context), 1);
    lumora_value const handle = context.get_Arguments()[0];
    EXPECT_EQ(Entry<lumora_value_get_kind>(lumora_api_value_kind)(handle), c.mKind);
    EXPECT_EQ(Entry<lumora_value_is_null>(lumora_api_value_is_null)(handle) != 0,
              c.mKind == lumora_kind_null);
    EXPECT_EQ(TextOf(context, handle), c.mText);
    EXPECT_EQ(Entry<lumora_value_get_int64>(lumora_api_value_get_int64)(handle), c.mInt64);
    EXPECT_EQ(Entry<lumora_value_get_uint64>(lumora_api_value_get_uint64)(handle), c.mUInt64);
  }
}

TEST(HostTable, GivesTheItemsOfAnArray) {
  HostValue array = HostValue::Array({HostValue::Text("x"), HostValue(), HostValue::Int64(3)});
  EXPECT_EQ(Entry<lumora_array_count>(lumora_api_array_count)(&array), 3);
  auto const item = Entry<lumora_array_item>(lumora_api_array_item);
  EXPECT_EQ(ValueOf(item(&array, 0)).get_Kind(), lumora_kind_text);
  EXPECT_TRUE(ValueOf(item(&array, 1)).get_IsNull());
  EXPECT_EQ(ValueOf(item(&array, 2)).get_Int64(), 3);
  EXPECT_EQ(item(&array, 3), nullptr);
  EXPECT_EQ(item(&array, -1), nullptr);
  EXPECT_EQ(item(&array, std::numeric_limits<std::int64_t>::min()), nullptr);
}

std::uint32_t PackDate(int inYear, unsigned inMonth, unsigned inDay) {
  return static_cast<std::uint32_t>(inYear) << 9 | inMonth << 5 | inDay;
}
std::uint32_t PackTime(unsigned inHour, unsigned inMinute, unsigned inSecond, unsigned inMilli) {
  return inHour << 27 | inMinute << 21 | inSecond << 15 | inMilli;
}

TEST(HostTable, UnpacksDatesAndTimes) {
  EXPECT_EQ(PackedDateText(PackDate(2024, 3, 5)), "2024-03-05");
  EXPECT_EQ(PackedDateText(PackDate(1, 1, 1)), "0001-01-01");
  EXPECT_EQ(PackedDateText(PackDate(0, 12, 31)), "0001-12-31 (BC)");
  EXPECT_EQ(PackedDateText(PackDate(-43, 3, 15)), "0044-03-15 (BC)");
  EXPECT_EQ(PackedDateText(PackDate(294247, 1, 10)), "294247-01-10");
  EXPECT_EQ(PackedTimeText(PackTime(14, 7, 9, 123)), "14:07:09.123");
  EXPECT_EQ(PackedTimeText(0), "00:00:00.000");
  EXPECT_EQ(PackedTimeText(PackTime(24, 0, 0, 0)), "24:00:00.000");
  HostContext context;
  auto const make = Entry<lumora_value_new_datetime>(lumora_api_value_new_datetime);
  std::uint64_t const packed = std::uint64_t{PackDate(2024, 3, 5)} << 32 | PackTime(14, 7, 9, 123);
  EXPECT_EQ(TextOf(context, make(&context, packed)), "2024-03-05 14:07:09.123");
}

lumora_procedure_def Definition(char const* inName, std::uint32_t inMin, std::uint32_t inMax,
                                lumora_procedure_handler inHandler) {
  return {inName, inMin, inMax, "x [, y]", "Does it.", nullptr, nullptr, inHandler};
}

lumora_cursor Silent(void*, lumora_value const*) { return nullptr; }

lumora_cursor Complaining(void* inContext, lumora_value const*) {
  Entry<lumora_report_error>(lumora_api_report_error)(inContext, "broken, too long", 6);
  return nullptr;
}

lumora_cursor Counting(void* inContext, lumora_value const* inArguments) {
  auto const count = Entry<lumora_arg_count>(lumora_api_arg_count)(inContext);
  char const* names[] = {"argument"};
  std::vector<lumora_value> cells(inArguments, inArguments + count);
  std::vector<lumora_value*> rows;
  for (lumora_value& cell : cells) rows.push_back(&cell);
  lumora_cursor cursor = nullptr;
  Entry<lumora_create_row_cursor>(lumora_api_create_row_cursor)(inContext, 1, rows.size(), names,
                                                                rows.data(), &cursor);
  return cursor;
}

TEST(Procedures, RefusesRecordsThatCannotBeUsed) {
  ProcedureRegistry registry;
  HostContext context(&registry);
  auto const add = Entry<lumora_register_procedure>(lumora_api_register_procedure);
  EXPECT_NE(add(&context, nullptr), 0);
  lumora_procedure_def const cases[] = {
      Definition(nullptr, 0, 1, Silent), Definition("", 0, 1, Silent),
      Definition("p", 0, 1, nullptr), Definition("p", 2, 1, Silent)};
  for (lumora_procedure_def const& def : cases) EXPECT_NE(add(&context, &def), 0);
  lumora_procedure_def const good = Definition("p", 1, 1, Silent);
  EXPECT_EQ(add(&context, &good), 0);
  lumora_procedure_def const again = Definition("P", 1, 1, Silent);
  EXPECT_NE(add(&context, &again), 0);
  EXPECT_EQ(registry.get_All().size(), 1U);
}

std::string CallError(Procedure const& inProcedure, std::vector<HostValue> const& inArguments) {
  try {
    CallProcedure(inProcedure, inArguments);
  } catch (ProcedureError const& error) {
    return error.what();
  }
  return "no error";
}

TEST(Procedures, RefusesTheWrongNumberOfArgumentsWithTheHelpText) {
  Procedure const one{"p", 1, 1, "x", "Does it.", Silent};
  Procedure const some{"q", 1, 2, "x [, y]", "Does it.", Silent};
  HostValue const value = HostValue::Int64(1);
  EXPECT_EQ(CallError(one, {}), "p takes 1 argument, not 0\np(x): Does it.");
  EXPECT_EQ(CallError(some, {}), "q takes 1 to 2 arguments, not 0\nq(x [, y]): Does it.");
  EXPECT_EQ(CallError(some, {value, value, value}),
            "q takes 1 to 2 arguments, not 3\nq(x [, y]): Does it.");
}

TEST(Procedures, PassesTheProceduresErrorOnAndInventsOneWhereItHasNone) {
  EXPECT_EQ(CallError({"p", 0, 0, "", "", Complaining}, {}), "broken");
  EXPECT_EQ(CallError({"p", 0, 0, "", "", Silent}, {}), "p gave no rows and no error message");
}

TEST(Procedures, GivesTheRowsOfARowCursor) {
  Procedure const procedure{"p", 0, 9, "", "", Counting};
  auto const rows =
      CallProcedure(procedure, {HostValue::Text("a"), HostValue(), HostValue::UInt64(7)});
  ASSERT_EQ(rows->get_Columns().size(), 1U);
  EXPECT_EQ(rows->get_Columns()[0].mName, "argument");
  EXPECT_EQ(rows->get_Count(), 3U);
  std::vector<Cell> cells;
  std::vector<CellKind> kinds;
  while (rows->Next()) {
    rows->Read(cells);
    kinds.push_back(cells.at(0).mKind);
  }
  EXPECT_EQ(kinds, (std::vector<CellKind>{CellKind::kText, CellKind::kNull, CellKind::kNumber}));
  EXPECT_FALSE(rows->Seek(3));
  ASSERT_TRUE(rows->Seek(0));
  rows->Read(cells);
  EXPECT_EQ(cells.at(0).mText, "a");
}

// A callback cursor that counts what is done to it.
struct CursorProbe {
  std::int64_t mRow = -1;
  int mDestroyed = 0;
};

CursorProbe& ProbeOf(void* inState) { return *static_cast<CursorProbe*>(inState); }

lumora_cursor_def ProbeDefinition(CursorProbe& ioProbe) {
  static char const* const sNames[] = {"n", nullptr};
  static lumora_value_kind const sKinds[] = {lumora_kind_int64, lumora_value_kind(77)};
  lumora_cursor_def def{};
  def.user_data = &ioProbe;
  def.column_count = 2;
  def.column_names = sNames;
  def.column_kinds = sKinds;
  def.destroy = [](void*, void* inState) { ++ProbeOf(inState).mDestroyed; };
  def.get_value = [](void* inContext, void* inState, std::int32_t inColumn) -> lumora_value {
    if (inColumn != 0) return nullptr;
    return Entry<lumora_value_new_int64>(lumora_api_value_new_int64)(inContext,
                                                                     ProbeOf(inState).mRow);
  };
  def.seek = [](void*, void* inState, std::int64_t inRow) {
    if (inRow >= 3) return -1;
    ProbeOf(inState).mRow = inRow;
    return 0;
  };
  def.next = [](void* inContext, void* inState) {
    if (ProbeOf(inState).mRow == 1) {
      Entry<lumora_report_error>(lumora_api_report_error)(inContext, "lost", 4);
      return -1;
    }
    ++ProbeOf(inState).mRow;
    return 0;
  };
  def.row_count = [](void*, void*) -> std::int64_t { return 3; };
  return def;
}

TEST(Procedures, WalksACallbackCursorAndDestroysItOnce) {
  CursorProbe probe;
  HostContext context;
  lumora_cursor_def const def = ProbeDefinition(probe);
  lumora_cursor handle = nullptr;
  ASSERT_EQ(Entry<lumora_create_callback_cursor>(lumora_api_create_callback_cursor)(&context, &def,
                                                                                    &handle),
            0);
  EXPECT_EQ(context.TakeCursor(&probe), nullptr);
  auto rows = context.TakeCursor(handle);
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ(rows->get_Columns()[1].mName, "");
  EXPECT_EQ(rows->get_Columns()[1].mKind, "unknown");
  EXPECT_EQ(rows->get_Count(), 3U);
  std::vector<Cell> cells;
  ASSERT_TRUE(rows->Next());
  ASSERT_TRUE(rows->Next());
  rows->Read(cells);
  EXPECT_EQ(cells.at(0).mText, "1");
  EXPECT_EQ(cells.at(1).mKind, CellKind::kNull);
  EXPECT_THROW(rows->Next(), std::runtime_error);
  EXPECT_TRUE(rows->Seek(2));
  EXPECT_FALSE(rows->Seek(std::numeric_limits<std::uint64_t>::max()));
  EXPECT_EQ(probe.mDestroyed, 0);
  rows.reset();
  EXPECT_EQ(probe.mDestroyed, 1);
}

TEST(Procedures, DestroysACursorThatNobodyTook) {
  CursorProbe probe;
  {
    HostContext context;
    lumora_cursor_def const def = ProbeDefinition(probe);
    lumora_cursor handle = nullptr;
    Entry<lumora_create_callback_cursor>(lumora_api_create_callback_cursor)(&context, &def,
                                                                            &handle);
  }
  EXPECT_EQ(probe.mDestroyed, 1);
}

}  // namespace
}  // namespace lumora::shell
