#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "support/ChildProcess.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

// How the suites that kill a process do it.
//
// Hazard: SIGKILL makes the kernel give up a write between two pages. DuckDB writes a block of its
// catalog again in its old place, and refuses the file when half of that block is old: see
// "Durability" in docs/limits.md. Remedy: the process dies between its system calls, so that all
// that is demanded of it holds every time. LUMORA_TEST_KILL=anywhere kills at any moment instead;
// then such a block, and nothing else, is told and counted.
namespace lumora::test {

inline bool KillsAnywhere() {
  char const* const given = std::getenv("LUMORA_TEST_KILL");
  return given && std::string_view(given) == "anywhere";
}

inline void KillAtSomeMoment(ChildProcess& ioChild) {
  if (KillsAnywhere()) {
    ioChild.Kill();
  } else {
    ioChild.KillBetweenCalls();
  }
}

// What DuckDB says of a file with such a block: where it begins, and the checksum of what is in it.
// Nothing when the message is another one.
struct TornBlock {
  std::uint64_t mLocation = 0;
  std::uint64_t mChecksum = 0;
};
std::optional<TornBlock> FindTornBlock(std::string const& inMessage);

// Opens a database whose process was killed. A block torn by a kill at any moment is told, counted,
// and mended first; whatever else DuckDB says is thrown.
tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> OpenAfterKill(std::string const& inPath,
                                                            int& ioTornBlocks);

// The remedy of docs/limits.md: gives the block the checksum of what is in it.
void MendTornBlock(std::string const& inPath, TornBlock const& inBlock);

}  // namespace lumora::test
