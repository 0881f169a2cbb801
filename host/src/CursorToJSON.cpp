#include "tarn/lsql/CursorToJSON.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "JsonDocument.h"
#include "JsonWriter.h"
#include "tarn/Converter.h"

namespace tarn::lsql {
namespace {

using CellWriter = void (*)(JsonWriter&, I_Value&);

void WriteText(JsonWriter& out, I_Value& inValue) { out.AppendQuoted(inValue.get_String().view()); }

void WriteBoolean(JsonWriter& out, I_Value& inValue) {
  out.AppendAscii(inValue.get_Boolean() ? "true" : "false");
}

void WriteInteger(JsonWriter& out, I_Value& inValue) {
  fmt::format_int const text(inValue.get_LLong());
  out.AppendAscii({text.data(), text.size()});
}

void WriteUnsigned(JsonWriter& out, I_Value& inValue) {
  fmt::format_int const text(inValue.get_ULLong());
  out.AppendAscii({text.data(), text.size()});
}

template <typename TReal>
void WriteReal(JsonWriter& out, TReal inReal) {
  if (std::isnan(inReal)) return out.AppendAscii("\"NaN\"");
  if (std::isinf(inReal)) return out.AppendAscii(inReal < 0 ? "\"-Infinity\"" : "\"Infinity\"");
  std::array<char, 64> text{};
  auto const* const end = fmt::format_to(text.data(), "{}", inReal);
  out.AppendAscii({text.data(), static_cast<std::size_t>(end - text.data())});
}

void WriteFloat(JsonWriter& out, I_Value& inValue) { WriteReal(out, inValue.get_Float()); }
void WriteDouble(JsonWriter& out, I_Value& inValue) { WriteReal(out, inValue.get_Double()); }

void WriteBinary(JsonWriter& out, I_Value& inValue) {
  auto const view = query_interface<I_ValueBinary>(&inValue, kIID_ValueBinary);
  if (!view) return WriteText(out, inValue);
  std::vector<std::uint8_t> bytes(view->get_DataSize());
  std::uint32_t const size = view->get_Data(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  out.AppendBase64(bytes.data(), size);
}

// A value of this kind may hold any text; what is no JSON becomes a string, so that the whole is.
void WriteJson(JsonWriter& out, I_Value& inValue) {
  String const text = inValue.get_String();
  if (IsJson(StFromUTF16(text, GetConverter_UTF8()))) {
    out.Append(text.view());
  } else {
    out.AppendQuoted(text.view());
  }
}

// By type code. What is not here is a text.
constexpr auto kCellWriters = [] {
  std::array<CellWriter, 39> writers{};
  writers.fill(&WriteText);
  auto const set = [&writers](ValueType inType, CellWriter inWriter) {
    writers[static_cast<std::size_t>(inType)] = inWriter;
  };
  for (auto type : {ValueType::kShort, ValueType::kMedium, ValueType::kLong, ValueType::kLLong}) {
    set(type, &WriteInteger);
  }
  for (auto type : {ValueType::kByte, ValueType::kUShort, ValueType::kUMedium, ValueType::kULong,
                    ValueType::kULLong, ValueType::kEnum8, ValueType::kEnum16}) {
    set(type, &WriteUnsigned);
  }
  for (auto type : {ValueType::kDouble, ValueType::kMoney, ValueType::kNumeric}) {
    set(type, &WriteDouble);
  }
  for (auto type : {ValueType::kFixedBinary, ValueType::kVarBinary, ValueType::kBlob}) {
    set(type, &WriteBinary);
  }
  set(ValueType::kBoolean, &WriteBoolean);
  set(ValueType::kFloat, &WriteFloat);
  set(ValueType::kJSON, &WriteJson);
  return writers;
}();

void WriteCell(JsonWriter& out, smart_ptr<I_Value> inValue) {
  while (inValue && !inValue->get_IsNull() && inValue->get_Type() == ValueType::kWrapped) {
    auto const wrapper = query_interface<I_ValueWrapper>(inValue.get(), kIID_ValueWrapper);
    inValue = wrapper ? wrapper->get_InnerValue() : smart_ptr<I_Value>();
  }
  if (!inValue || inValue->get_IsNull()) return out.AppendAscii("null");
  auto const type = static_cast<std::size_t>(inValue->get_Type());
  (type < kCellWriters.size() ? kCellWriters[type] : &WriteText)(out, *inValue);
}

// The member names with their quotes and colon, each different from all before it.
std::vector<String> MemberNames(I_DuckDBCursor& inCursor) {
  std::set<String> taken;
  std::map<String, std::uint32_t> suffixes;  // the last one tried for a name
  std::vector<String> members;
  std::uint32_t const count = inCursor.get_ColumnCount();
  for (std::uint32_t i = 0; i < count; ++i) {
    String const& column = inCursor.get_ColumnName(i);
    String name = column;
    while (!taken.insert(name).second) {
      name = column;
      name << "_" << ++suffixes[column];
    }
    JsonWriter member;
    member.AppendQuoted(name.view());
    member.Append(u':');
    members.push_back(member.get_Text());
  }
  return members;
}

}  // namespace

String CursorToJSON(smart_ptr<I_DuckDBCursor> inCursor) {
  if (!inCursor) return String("[]");
  std::vector<String> const members = MemberNames(*inCursor);
  auto const count = static_cast<std::uint32_t>(members.size());
  JsonWriter out;
  out.Append(u'[');
  for (bool isFirst = true; inCursor->NextRecord(); isFirst = false) {
    if (!isFirst) out.Append(u',');
    out.Append(u'{');
    for (std::uint32_t i = 0; i < count; ++i) {
      if (i != 0) out.Append(u',');
      out.Append(members[i].view());
      WriteCell(out, inCursor->get_Value(i));
    }
    out.Append(u'}');
  }
  out.Append(u']');
  return out.get_Text();
}

}  // namespace tarn::lsql
