#pragma once

#include <duckdb.h>

#include <cstring>
#include <string_view>

namespace lumora::duckdb_c {

// A NUL-terminated copy in DuckDB's allocation, for a caller who frees it with duckdb_free. Null
// when there is no memory.
inline char* CopyToDuckDB(std::string_view inText) noexcept {
  char* const copy = static_cast<char*>(duckdb_malloc(inText.size() + 1));
  if (!copy) return nullptr;
  if (!inText.empty()) std::memcpy(copy, inText.data(), inText.size());
  copy[inText.size()] = '\0';
  return copy;
}

// The bytes of a string in a vector; valid as long as the vector is.
inline std::string_view TextOf(duckdb_string_t const& inString) noexcept {
  const std::size_t length = inString.value.inlined.length;
  return {length <= sizeof(inString.value.inlined.inlined) ? inString.value.inlined.inlined
                                                           : inString.value.pointer.ptr,
          length};
}

}  // namespace lumora::duckdb_c
