// VariantReader on vectors of any contents. The input is cut into the parts of a VARIANT vector,
// each in memory of its own and of exactly its size, so that the address sanitizer sees a read
// outside. Whatever a cell says must lie within the row's bytes; every byte of it is read.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "duckdb_c/VariantReader.h"
#include "support/Input.h"

namespace {

using lumora::duckdb_c::GetVariantDecimal;
using lumora::duckdb_c::VariantCell;
using lumora::duckdb_c::VariantColumns;
using lumora::duckdb_c::VariantReader;
using lumora::fuzz::Input;

struct Vectors {
  std::vector<duckdb_list_entry> mValues;
  std::vector<std::uint8_t> mTypeIds;
  std::vector<std::uint32_t> mOffsets;
  std::vector<duckdb_list_entry> mChildren;
  std::vector<std::string> mBytes;
  std::vector<duckdb_string_t> mData;
  std::vector<std::uint64_t> mValidity;
  std::uint64_t mChildEntries = 0;
};

duckdb_string_t AsString(std::string const& inBytes) {
  duckdb_string_t text{};
  text.value.inlined.length = static_cast<std::uint32_t>(inBytes.size());
  if (inBytes.size() > sizeof(text.value.inlined.inlined)) {
    text.value.pointer.ptr = const_cast<char*>(inBytes.data());
  } else if (!inBytes.empty()) {
    std::memcpy(text.value.inlined.inlined, inBytes.data(), inBytes.size());
  }
  return text;
}

Vectors Build(Input& ioInput) {
  Vectors vectors;
  const std::size_t rows = ioInput.Take<std::uint8_t>() % 8;
  const std::size_t entries = ioInput.Take<std::uint8_t>() % 16;
  if (ioInput.Take<std::uint8_t>() % 2 == 1) vectors.mValidity = {ioInput.Take<std::uint64_t>()};
  vectors.mChildEntries = ioInput.TakeNumber();
  for (std::size_t entry = 0; entry < entries; ++entry) {
    vectors.mTypeIds.push_back(ioInput.Take<std::uint8_t>() % 40);
    vectors.mOffsets.push_back(static_cast<std::uint32_t>(ioInput.TakeNumber()));
  }
  for (std::size_t row = 0; row < rows; ++row) {
    vectors.mValues.push_back({ioInput.TakeNumber(), ioInput.TakeNumber()});
    vectors.mChildren.push_back({ioInput.TakeNumber(), ioInput.TakeNumber()});
    vectors.mBytes.push_back(ioInput.TakeBytes(200));
  }
  for (auto const& bytes : vectors.mBytes) vectors.mData.push_back(AsString(bytes));
  return vectors;
}

unsigned ReadAll(VariantCell const& inCell) {
  unsigned sum = inCell.mWidth + inCell.mScale + inCell.mChildCount;
  for (const char byte : inCell.mBytes) sum += static_cast<std::uint8_t>(byte);
  return sum + static_cast<unsigned>(GetVariantDecimal(inCell).lower) + inCell.As<std::uint8_t>() +
         static_cast<unsigned>(inCell.As<std::uint64_t>());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  Input input(inData, inSize);
  const Vectors vectors = Build(input);
  VariantColumns columns;
  columns.mValidity = vectors.mValidity;
  columns.mValues = vectors.mValues;
  columns.mTypeIds = vectors.mTypeIds;
  columns.mByteOffsets = vectors.mOffsets;
  columns.mChildren = vectors.mChildren;
  columns.mChildEntryCount = vectors.mChildEntries;
  columns.mData = vectors.mData;
  const VariantReader reader(columns);
  volatile unsigned sum = 0;
  for (idx_t row = 0; row <= vectors.mValues.size(); ++row) {
    const auto cell = reader.Read(row);
    if (!cell) continue;
    if (reader.IsNull(row) || cell->mBytes.size() > vectors.mBytes[row].size()) std::abort();
    sum = sum + ReadAll(*cell);
  }
  return 0;
}
