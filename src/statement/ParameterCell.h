#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"

namespace lumora {

// What one host value is bound as, before anything of DuckDB's is made of it: a single value is
// made of it, or it is laid into a column with others. One is used for many values, so that its
// text keeps its memory.
struct ParameterCell {
  using Bits = std::array<unsigned char, 8>;
  static constexpr duckdb_c::TypeId kNull = 0;
  static constexpr duckdb_c::TypeId kMadeValue = UINT32_MAX;

  // kNull, one of kCellTypes, or kMadeValue.
  duckdb_c::TypeId mType = kNull;
  Bits mBits{};                  // of a type of fixed size: DuckDB's form in a vector
  std::string mText;             // of VARCHAR (UTF-8) and BLOB
  duckdb_c::ValueHandle mValue;  // of kMadeValue: a variant envelope's, of whatever type

  void SetNull() { mType = kNull; }
  template <typename T>
  void Set(duckdb_c::TypeId inType, T inValue) {
    static_assert(sizeof(T) <= sizeof(Bits));
    mType = inType;
    std::memcpy(mBits.data(), &inValue, sizeof inValue);
  }
  void SetText(duckdb_c::TypeId inType, std::string&& ioText) {
    mType = inType;
    mText = std::move(ioText);
  }
  void SetValue(duckdb_c::ValueHandle&& ioValue) {
    mType = kMadeValue;
    mValue = std::move(ioValue);
  }
  template <typename T>
  T get() const {
    T value;
    std::memcpy(&value, mBits.data(), sizeof value);
    return value;
  }
};

// The types that host values have by themselves.
struct CellType {
  duckdb_c::TypeId mType;
  std::size_t mSize;  // bytes in a vector; 0 for VARCHAR and BLOB
  char const* mSqlName;
  duckdb_c::ValueHandle (*mMake)(ParameterCell const&);
};

// Null for kNull, kMadeValue and anything that is no type of cells.
CellType const* FindCellType(duckdb_c::TypeId inType) noexcept;

// The value, for binding; null handle where DuckDB makes none (a text that is not UTF-8). The value
// of kMadeValue is moved out.
duckdb_c::ValueHandle MakeValue(ParameterCell& ioCell);

}  // namespace lumora
