#include "support/Killing.h"

#include <cstdio>
#include <fstream>
#include <regex>

#include "support/DatabaseTest.h"
#include "support/LoadedExtension.h"

namespace lumora::test {

std::optional<TornBlock> FindTornBlock(std::string const& inMessage) {
  static std::regex const pattern(
      "Corrupt database file: computed checksum (\\d+) does not match stored checksum \\d+ in "
      "block "
      "at location (\\d+)");
  std::smatch found;
  if (!std::regex_search(inMessage, found, pattern)) return std::nullopt;
  return TornBlock{std::stoull(found[2]), std::stoull(found[1])};
}

void MendTornBlock(std::string const& inPath, TornBlock const& inBlock) {
  std::fstream file(inPath, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(static_cast<std::streamoff>(inBlock.mLocation));
  for (unsigned shift = 0; shift < 64; shift += 8) {
    file.put(static_cast<char>((inBlock.mChecksum >> shift) & 0xFFU));
  }
}

tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> OpenAfterKill(std::string const& inPath,
                                                            int& ioTornBlocks) {
  auto const database = LoadedExtension::Instance().Database(inPath);
  try {
    database->Open();
  } catch (tarn::xException const& error) {
    std::string const message = Utf8(error.get_Message());
    auto const block = FindTornBlock(message);
    if (!KillsAnywhere() || !block) throw;
    std::printf("a kill tore a block: %s\n", message.c_str());
    ++ioTornBlocks;
    MendTornBlock(inPath, *block);
    database->Open();
  }
  return database;
}

}  // namespace lumora::test
