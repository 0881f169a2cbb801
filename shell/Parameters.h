#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tarn/Array.h"
#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

namespace lumora::shell {

// A parameter as the user writes it: NULL; an integer of 64 bits, signed or unsigned above that; a
// decimal number; a text in single quotes; a JSON object with the member "duckdb_variant" (an
// envelope); anything else is a text as it stands. Never null.
tarn::smart_ptr<tarn::I_Value> MakeParameter(std::string_view inText);

// The row for a statement: as many of the parameters as the statement has places for. Null when it
// has none or there are none.
tarn::smart_ptr<tarn::ValueRow> MakeParameterRow(std::vector<std::string> const& inTexts,
                                                 std::string_view inStatement);

// How many parameters a statement has: the highest $n, or the number of question marks and of
// different $names. Pure.
std::size_t CountPlaces(std::string_view inStatement);

}  // namespace lumora::shell
