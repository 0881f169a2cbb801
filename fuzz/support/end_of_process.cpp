#include <cstddef>
#include <cstdint>

#include "duckdb_c/Handles.h"
#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/ScratchDatabase.h"
#include "support/LoadedExtension.h"
#include "tarn/lsql/I_DuckDBExtension.h"

// Stands before every fuzzer (the linker's --wrap). The library leaves its own databases open when
// a process ends, which the leak sanitizer, blind inside of DuckDB, takes for leaks.
namespace {

// Hazard: what DuckDB keeps of a thread goes when the thread ends, and a database must be closed
// before. Remedy: this object is of the thread too, and made after DuckDB's own, so it goes first.
struct CloseAtEnd {
  CloseAtEnd() {
    lumora::duckdb_c::DatabaseHandle first;
    duckdb_open(nullptr, first.out());
  }
  CloseAtEnd(CloseAtEnd const&) = delete;
  CloseAtEnd& operator=(CloseAtEnd const&) = delete;
  ~CloseAtEnd() {
    // A loaded extension closes its own with its object.
    lumora::test::LoadedExtension::GiveUp();
    tarn::lsql::SetDuckDBExtension(nullptr);
    lumora::duckdb_c::ClosePrivateDatabase();
    lumora::duckdb_c::CloseScratchDatabase();
  }
};

}  // namespace

extern "C" int __real_LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize);
extern "C" int __wrap_LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize);

int __wrap_LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  static thread_local CloseAtEnd const end;
  return __real_LLVMFuzzerTestOneInput(inData, inSize);
}
