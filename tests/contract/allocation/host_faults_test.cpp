// The host foundation layer: texts, values, rows, JSON, locations and files. What is changed by an
// operation that fails is as it was before.
#include <fmt/format.h>

#include <filesystem>
#include <utility>

#include "FaultTest.h"
#include "tarn/NewValue.h"

namespace {

using namespace lumora::test;
using tarn::String;
using Value = tarn::smart_ptr<tarn::I_Value>;

constexpr char kLong[] = "a text that does not stand inside a String";

class TheHost : public FaultTest {
 protected:
  // An operation on a text, which keeps its content when it fails.
  static void CheckEveryChange(std::function<void(String&)> const& inChange) {
    String text;
    std::string before;
    std::string after;
    CheckEveryAllocation({.mPrepare =
                              [&] {
                                text = Wide(kLong);
                                before = kLong;
                              },
                          .mRun =
                              [&] {
                                inChange(text);
                                return "changed";
                              },
                          .mCheck =
                              [&] {
                                std::string const now = Utf8(text);
                                if (after.empty()) after = now;
                                EXPECT_TRUE(now == before || now == after) << now;
                                text.clear();
                              },
                          .mAccepts = {}});
  }
  // A function that leaves nothing.
  static void CheckOperation(std::function<std::string()> inRun) {
    CheckEveryAllocation({.mPrepare = {}, .mRun = std::move(inRun), .mCheck = {}, .mAccepts = {}});
  }
};

TEST_F(TheHost, MakesTextsOrThrows) {
  CheckOperation([] {
    String const narrow(kLong);
    String const wide(narrow.c_str());
    String copy(narrow);
    copy = wide;
    return Utf8(copy);
  });
}

TEST_F(TheHost, ChangesATextOrLeavesItAsItWas) {
  String const other = Wide(std::string(200, 'x'));
  CheckEveryChange([&](String& text) { text = other; });
  CheckEveryChange([&](String& text) { text += other; });
  CheckEveryChange([&](String& text) { text = std::string(300, 'y').c_str(); });
  CheckEveryChange([&](String& text) { text << std::uint64_t{18446744073709551615U}; });
  CheckEveryChange([&](String& text) { text << std::int64_t{-9223372036854775807}; });
  CheckEveryChange([&](String& text) { text.reserve(5000); });
  CheckEveryChange([&](String& text) { text = tarn::EscapeStringU(text.c_str(), '\''); });
}

TEST_F(TheHost, ConvertsTextsOrThrows) {
  std::string const bytes = "\xF0\x9F\x98\x80 \xC3\xA4 \xFF " + std::string(100, 'z');
  CheckOperation([&] { return Utf8(Wide(bytes)); });
}

using Factory = tarn::I_Value* (*)(bool, void const*, void const*);
constexpr Factory kFactories[] = {
    tarn::CreateValueBoolean,  tarn::CreateValueByte,    tarn::CreateValueShort,
    tarn::CreateValueUShort,   tarn::CreateValueMedium,  tarn::CreateValueUMedium,
    tarn::CreateValueLong,     tarn::CreateValueULong,   tarn::CreateValueLLong,
    tarn::CreateValueULLong,   tarn::CreateValueFloat,   tarn::CreateValueDouble,
    tarn::CreateValueMoney,    tarn::CreateValueNumeric, tarn::CreateValueDate,
    tarn::CreateValueDateTime, tarn::CreateValueString,  tarn::CreateValueFixedBinary,
    tarn::CreateValueEnum8,    tarn::CreateValueEnum16,  tarn::CreateValueWrapped,
    tarn::CreateValueJSON};

TEST_F(TheHost, MakesAndReadsAValueOfEveryKindOrThrows) {
  String const text = Wide("12.5 is a number and more text than stands inside");
  for (Factory const make : kFactories) {
    CheckOperation([&] {
      Value const value(make(true, nullptr, nullptr));
      value->put_String(text);
      std::string told = Utf8(value->get_String());
      told +=
          fmt::format(" {} {} {}", value->get_LLong(), value->get_Double(), value->get_Length());
      value->put_Double(2.25);
      told += Utf8(value->get_String());
      value->put_LLong(-7);
      value->put_Length(100);
      told += Utf8(value->get_String());
      value->put_IsNull(true);
      return told;
    });
  }
}

TEST_F(TheHost, MakesValuesInOneCallOrThrows) {
  CheckOperation([] {
    std::string told;
    for (tarn::I_Value* const made : {tarn::NewValueBoolean(true)}) {
      told += Utf8(Value::adopt(made)->get_String());
    }
    told += Utf8(Value::adopt(tarn::NewValueLLong(7))->get_String());
    told += Utf8(Value::adopt(tarn::NewValueDouble(7.5))->get_String());
    told += Utf8(Value::adopt(tarn::NewValueNull())->get_String());
    return told + Utf8(Value::adopt(tarn::NewValueString(kLong, sizeof kLong - 1))->get_String());
  });
}

TEST_F(TheHost, ChangesAValueOrLeavesItAsItWas) {
  String const other = Wide(std::string(200, 'x'));
  for (Factory const make :
       {tarn::CreateValueString, tarn::CreateValueJSON, tarn::CreateValueWrapped}) {
    Value value;
    CheckEveryAllocation({.mPrepare =
                              [&] {
                                value = Value(make(true, nullptr, nullptr));
                                value->put_String(Wide(kLong));
                              },
                          .mRun =
                              [&] {
                                value->put_String(other);
                                return "changed";
                              },
                          .mCheck =
                              [&] {
                                EXPECT_FALSE(value->get_IsNull());
                                std::string const now = Utf8(value->get_String());
                                EXPECT_TRUE(now == kLong || now == Utf8(other)) << now;
                                value.reset();
                              },
                          .mAccepts = {}});
  }
}

TEST_F(TheHost, ChangesBytesOrLeavesThemAsTheyWere) {
  Value value;
  std::string const bytes(500, 'b');
  CheckEveryAllocation({.mPrepare =
                            [&] {
                              value = Value(tarn::CreateValueFixedBinary(true, nullptr, nullptr));
                              value->put_String(Wide("616263"));
                            },
                        .mRun =
                            [&] {
                              tarn::query_interface<tarn::I_ValueBinary>(value.get(),
                                                                         tarn::kIID_ValueBinary)
                                  ->put_Data(bytes.data(), 500);
                              value->put_Length(900);
                              return "changed";
                            },
                        .mCheck =
                            [&] {
                              auto const length = value->get_Length();
                              EXPECT_TRUE(length == 3 || length == 500 || length == 900) << length;
                              value.reset();
                            },
                        .mAccepts = {}});
}

TEST_F(TheHost, WrapsAValueOrThrows) {
  CheckOperation([] {
    Value const inner(tarn::CreateValueString(true, nullptr, nullptr));
    Value const outer(tarn::CreateValueWrapped(true, nullptr, nullptr));
    tarn::query_interface<tarn::I_ValueWrapper>(outer.get(), tarn::kIID_ValueWrapper)
        ->put_InnerValue(inner);
    outer->put_String(Wide(kLong));
    return Utf8(inner->get_String());
  });
}

TEST_F(TheHost, ReadsJSONOrThrows) {
  String const text = Wide(R"({"name": "a value that is long enough", "list": [1, {"a": 2.5}],)"
                           R"( "number": 123456789012345678901234567890, "nothing": null})");
  String const name = Wide("name");
  String const list = Wide("list");
  CheckOperation([&] {
    Value const value(tarn::CreateValueJSON(true, nullptr, nullptr));
    value->put_String(text);
    auto const object = tarn::query_interface<tarn::I_ValueJSON>(value.get(), tarn::kIID_ValueJSON);
    return fmt::format("{} {} {}", object->HasMember(name), Utf8(object->get_Member(name)),
                       Utf8(object->get_Member(list)));
  });
  CheckOperation([&] {
    tarn::Json const json(text);
    return fmt::format("{} {} {}", json.isValid(), json.isObject(),
                       Utf8(json.get_JsonValue("list")));
  });
}

TEST_F(TheHost, GrowsRowsOrLeavesThemAsTheyWere) {
  tarn::smart_ptr<tarn::ValueRow> row;
  CheckEveryAllocation({.mPrepare = [&] { row = MakeRow({MakeLong(1)}); },
                        .mRun =
                            [&] {
                              for (int i = 0; i < 40; ++i)
                                row->Append(Value(tarn::CreateValueLong(true, nullptr, nullptr)));
                              return "grown";
                            },
                        .mCheck =
                            [&] {
                              for (std::uint32_t i = 0; i < row->get_Count(); ++i) {
                                EXPECT_EQ((*row)[i]->get_RefsCount(), 1U);
                              }
                              row.reset();
                            },
                        .mAccepts = {}});
}

TEST_F(TheHost, DescribesALocationOrThrows) {
  mFolder.Write("a file with a name that is long", "x");
  String const path = Wide(mFolder.At("a file with a name that is long"));
  CheckOperation([&] {
    auto const location = tarn::CreateLocation(path);
    auto const folder = location->get_Folder();
    auto const child = folder->get_Child(Wide("another name that is long enough"));
    return fmt::format("{} {} {} {} {} {} {}", Utf8(location->get_Path()),
                       Utf8(location->get_Key()), Utf8(location->get_Name()),
                       location->get_Exists(), location->get_IsFolder(), Utf8(folder->get_Path()),
                       child->get_Exists());
  });
}

TEST_F(TheHost, PreparesAFolderOrThrows) {
  auto const parent = tarn::CreateLocation(Wide(mFolder.At("parent")));
  CheckEveryAllocation(
      {.mPrepare = {},
       .mRun = [&] { return Utf8(tarn::PrepareFolder(parent, "a sub-folder/inner/")->get_Name()); },
       .mCheck = [&] { std::filesystem::remove_all(mFolder.At("parent")); },
       .mAccepts = {}});
}

TEST_F(TheHost, WritesAndReadsAFileOrThrows) {
  auto const location = tarn::CreateLocation(Wide(mFolder.At("a file with a name that is long")));
  CheckOperation([&] {
    auto const file = tarn::CreateFile(location);
    file->Create();
    file->WriteAt(0, "0123456789", 10);
    file->Flush();
    file->Close();
    file->OpenForRead();
    char bytes[4] = {};
    file->ReadAt(3, bytes, 4);
    std::string text = fmt::format("{} {}", file->get_Length(), std::string(bytes, 4));
    file->Delete();
    return text;
  });
  CheckOperation([&] {
    tarn::CreateFile(location)->OpenForRead();
    return "open";
  });
}

TEST_F(TheHost, ThrowsAndCopiesItsExceptionsOrBadAlloc) {
  Attempt attempt;
  attempt.mRun = [] {
    try {
      throw tarn::lsql::xDuckDBError(0x72501, kLong, "a second text that is as long as the first");
    } catch (tarn::xException const& error) {
      tarn::xException const copy(error);
      return Utf8(copy.get_Message());
    }
  };
  CheckEveryAllocation(attempt);
}

}  // namespace
