#include "duckdb_c/Keywords.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/PrivateDatabase.h"

namespace lumora::duckdb_c {
namespace {

using Words = std::unordered_set<std::string>;

// Asked of the library instead of kept in a table: every release has its own.
std::shared_ptr<Words const> LoadWords() {
  const auto words = std::make_shared<Words>();
  const bool is_loaded = WithPrivateConnection([&](PrivateConnection& ioConnection) {
    ResultHandle result;
    std::string error;
    if (!ioConnection.Query("SELECT keyword_name FROM duckdb_keywords()", result, error)) {
      return false;
    }
    while (const ChunkHandle chunk{duckdb_fetch_chunk(result.get())}) {
      const auto* const names = static_cast<duckdb_string_t const*>(
          duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk.get(), 0)));
      const idx_t size = duckdb_data_chunk_get_size(chunk.get());
      for (idx_t row = 0; row < size; ++row) words->emplace(TextOf(names[row]));
    }
    return true;
  });
  return is_loaded ? words : nullptr;
}

std::shared_ptr<Words const> GetWords() {
  static std::mutex mutex;
  static std::shared_ptr<Words const> words;
  {
    const std::lock_guard lock(mutex);
    if (words) return words;
  }
  // Not under the lock, so that nobody waits for a query; two threads may both ask, once.
  std::shared_ptr<Words const> loaded = LoadWords();
  const std::lock_guard lock(mutex);
  if (!words) words = std::move(loaded);
  return words;
}

char ToLower(char inChar) {
  return inChar >= 'A' && inChar <= 'Z' ? static_cast<char>(inChar - 'A' + 'a') : inChar;
}

}  // namespace

bool IsKeyword(std::string_view inWord) {
  const std::shared_ptr<Words const> words = GetWords();
  std::string lower(inWord);
  std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
  return !words || words->contains(lower);
}

}  // namespace lumora::duckdb_c
