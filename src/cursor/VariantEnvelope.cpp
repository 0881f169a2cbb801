#include "cursor/VariantEnvelope.h"

#include <array>

#include "duckdb_c/VariantReader.h"
#include "tarn/Converter.h"

namespace lumora {

namespace {

constexpr std::array<char const*, duckdb_c::kVariantCodeCount> kNames = {"VARIANT_NULL",
                                                                         "BOOL_TRUE",
                                                                         "BOOL_FALSE",
                                                                         "INT8",
                                                                         "INT16",
                                                                         "INT32",
                                                                         "INT64",
                                                                         "INT128",
                                                                         "UINT8",
                                                                         "UINT16",
                                                                         "UINT32",
                                                                         "UINT64",
                                                                         "UINT128",
                                                                         "FLOAT",
                                                                         "DOUBLE",
                                                                         "DECIMAL",
                                                                         "VARCHAR",
                                                                         "BLOB",
                                                                         "UUID",
                                                                         "DATE",
                                                                         "TIME_MICROS",
                                                                         "TIME_NANOS",
                                                                         "TIMESTAMP_SEC",
                                                                         "TIMESTAMP_MILIS",
                                                                         "TIMESTAMP_MICROS",
                                                                         "TIMESTAMP_NANOS",
                                                                         "TIME_MICROS_TZ",
                                                                         "TIMESTAMP_MICROS_TZ",
                                                                         "INTERVAL",
                                                                         "OBJECT",
                                                                         "ARRAY",
                                                                         "BIGNUM",
                                                                         "BITSTRING",
                                                                         "GEOMETRY"};

constexpr std::string_view kOpening = R"({"duckdb_variant":true,"variant_type":")";
constexpr std::string_view kMiddle = R"(","value":")";
constexpr std::string_view kClosing = R"("})";

constexpr char kPlain = 0;
constexpr char kHex = 1;

// What stands after the backslash; kPlain: the byte needs none; kHex: the \u00xx form.
constexpr std::array<char, 256> MakeEscapes() {
  std::array<char, 256> table{};
  for (unsigned i = 0; i < 256; ++i) table[i] = i < 0x20 || i >= 0x80 ? kHex : kPlain;
  table['"'] = '"';
  table['\\'] = '\\';
  table['\b'] = 'b';
  table['\t'] = 't';
  table['\n'] = 'n';
  table['\f'] = 'f';
  table['\r'] = 'r';
  return table;
}
constexpr std::array<char, 256> kEscapes = MakeEscapes();

void AppendHex(std::string& ioText, unsigned char inByte) {
  constexpr char kDigits[] = "0123456789abcdef";
  ioText += "\\u00";
  ioText += kDigits[inByte >> 4];
  ioText += kDigits[inByte & 15];
}

void AppendEscaped(std::string& ioText, std::string_view inText) {
  for (char const c : inText) {
    auto const byte = static_cast<unsigned char>(c);
    char const escape = kEscapes[byte];
    if (escape == kPlain) {
      ioText += c;
    } else if (escape == kHex) {
      AppendHex(ioText, byte);
    } else {
      ioText += '\\';
      ioText += escape;
    }
  }
}

}  // namespace

char const* VariantTypeName(std::uint32_t inCode) noexcept {
  return inCode < kNames.size() ? kNames[inCode] : "UNKNOWN";
}

std::string EscapeJsonString(std::string_view inText) {
  std::string text;
  text.reserve(inText.size() + 16);
  AppendEscaped(text, inText);
  return text;
}

std::string MakeVariantEnvelopeText(std::string_view inTypeName, std::string_view inValueText) {
  std::string text;
  text.reserve(kOpening.size() + inTypeName.size() + kMiddle.size() + inValueText.size() +
               kClosing.size() + 16);
  text += kOpening;
  AppendEscaped(text, inTypeName);
  text += kMiddle;
  AppendEscaped(text, inValueText);
  text += kClosing;
  return text;
}

tarn::smart_ptr<tarn::I_Value> MakeVariantEnvelope(std::string_view inTypeName,
                                                   std::string_view inValueText) {
  std::string const text = MakeVariantEnvelopeText(inTypeName, inValueText);
  tarn::smart_ptr<tarn::I_Value> value(tarn::CreateValueJSON(false, nullptr, nullptr));
  value->put_String(tarn::StToUTF16(text.data(), static_cast<std::int64_t>(text.size()),
                                    tarn::GetConverter_UTF8()));
  return value;
}

}  // namespace lumora
