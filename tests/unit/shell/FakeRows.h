#pragma once

#include <utility>

#include "RowSource.h"

namespace lumora::shell {

// Rows from memory.
class FakeRows final : public RowSource {
 public:
  explicit FakeRows(std::vector<Column> inColumns) : mColumns(std::move(inColumns)) {}
  void Add(std::vector<Cell> inRow) { mRows.push_back(std::move(inRow)); }

  std::vector<Column> const& get_Columns() const override { return mColumns; }
  bool Next() override {
    if (mNext >= mRows.size()) return false;
    ++mNext;
    return true;
  }
  void Read(std::vector<Cell>& ioCells) override { ioCells = mRows.at(mNext - 1); }
  std::optional<std::uint64_t> get_Count() override {
    if (!mIsCountKnown) return std::nullopt;
    return mRows.size();
  }
  bool Seek(std::uint64_t inRow) override {
    if (!mIsCountKnown || inRow >= mRows.size()) return false;
    mNext = inRow + 1;
    return true;
  }

  bool mIsCountKnown = true;

 private:
  std::vector<Column> mColumns;
  std::vector<std::vector<Cell>> mRows;
  std::size_t mNext = 0;
};

}  // namespace lumora::shell
