#pragma once

#include <duckdb.h>

#include <atomic>
#include <cstdint>
#include <vector>

// What a cell costs when nothing but the necessary is done: the raw vectors are read and every cell
// becomes one counted object from the host's pool, texts as UTF-16. No interfaces, no virtual
// functions, no row arrays. The yardstick of the cursor benchmark.
namespace lumora::bench {

struct LimitCell {
  void const* mTable = nullptr;  // an object of the host has one
  std::atomic<std::uint32_t> mCount{1};
  std::uint32_t mType = 0;
  union {
    std::int64_t mNumber;
    double mDouble;
  };
};

struct LimitText : LimitCell {
  static constexpr std::uint32_t kInline = 11;
  std::uint32_t mLength = 0;
  union {
    char16_t mShort[kInline + 1];
    char16_t* mLong;
  };
};

// Cells of a column from its vector; kinds that the loop knows: BOOLEAN, the integers, FLOAT,
// DOUBLE, DECIMAL, VARCHAR, DATE and TIMESTAMP.
struct LimitColumn {
  std::uint32_t mType = 0;
  std::uint32_t mStored = 0;  // the integer type of a DECIMAL
  double mPower = 1;          // of a DECIMAL
  void const* mValues = nullptr;
  std::uint64_t const* mValidity = nullptr;
};

std::vector<LimitColumn> DescribeColumns(duckdb_result* inResult);
void BindChunk(std::vector<LimitColumn>& ioColumns, duckdb_data_chunk inChunk);
LimitCell* MakeCell(LimitColumn const& inColumn, idx_t inRow);
// Something of the content, so that reading cannot be left out.
std::uint64_t ReadCell(LimitCell const* inCell);
void ReleaseCell(LimitCell* inCell);

}  // namespace lumora::bench
