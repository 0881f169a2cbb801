#pragma once

#include <string>
#include <string_view>

#include "tarn/String.h"
#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

// Host values and texts as UTF-8, for comparison and for messages.
namespace lumora::test {

std::string ToUTF8(tarn::String const& inText);

// The kind and the content: "Long -5", "String 'abc'", "Boolean NULL". Doubles with all their
// digits, bytes in hexadecimal, invisible characters escaped.
std::string Describe(tarn::I_Value* inValue);
inline std::string Describe(tarn::smart_ptr<tarn::I_Value> const& inValue) {
  return Describe(inValue.get());
}

// The same with everything else that the host can see of the value: nullable, declared size, size.
std::string DescribeFully(tarn::I_Value* inValue);
inline std::string DescribeFully(tarn::smart_ptr<tarn::I_Value> const& inValue) {
  return DescribeFully(inValue.get());
}

// What Describe must say of a cell, told by DuckDB: SqlContent is the SQL expression that gives the
// content as text for a type (as typeof writes it; % stands for the cell), InWords puts the kind
// before that text. VARIANT and what holds it have none.
std::string SqlContent(std::string const& inType);
std::string InWords(std::string const& inType, std::string const& inContent);
// The name of the host's kind for a column of that type.
std::string KindOf(std::string const& inType);

// The text with \n, \xNN and the like in place of control characters.
std::string Visible(std::string_view inText);

}  // namespace lumora::test
