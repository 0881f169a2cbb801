#include <gmock/gmock.h>

#include <cstdio>
#include <exception>
#include <string>

#include "support/ChildProcess.h"
#include "support/LoadedExtension.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

// Where the rooms are linked in, their databases are closed; elsewhere these are null.
namespace lumora::duckdb_c {
[[gnu::weak]] void ClosePrivateDatabase() noexcept;
[[gnu::weak]] void CloseScratchDatabase() noexcept;
}  // namespace lumora::duckdb_c

namespace {

// The library leaves its own databases open when a process ends, which the leak sanitizer, blind
// inside of DuckDB, takes for leaks.
int EndWith(int inExitCode) {
  lumora::test::LoadedExtension::GiveUp();
  if (lumora::duckdb_c::ClosePrivateDatabase) lumora::duckdb_c::ClosePrivateDatabase();
  if (lumora::duckdb_c::CloseScratchDatabase) lumora::duckdb_c::CloseScratchDatabase();
  return inExitCode;
}

// The framework calls a host exception that leaves a test unknown. It reports from within its
// handler, so the exception can still be asked.
class HostExceptions : public testing::EmptyTestEventListener {
  void OnTestPartResult(testing::TestPartResult const& inResult) override {
    if (!inResult.failed() || !std::current_exception()) return;
    try {
      std::rethrow_exception(std::current_exception());
    } catch (tarn::xException const& exception) {
      std::string const message =
          tarn::StFromUTF16(exception.get_Message(), tarn::GetConverter_UTF8());
      std::printf("%s 0x%X: %s\n", exception.get_Name(), exception.get_Code(), message.c_str());
    } catch (...) {
    }
  }
};

}  // namespace

// The tests of an executable, or one job in a child process of it.
int main(int inCount, char** inArguments) {
  if (inCount > 2 && inArguments[1] == std::string("--child")) {
    return EndWith(
        lumora::test::ChildJob::Run(inArguments[2], {inArguments + 3, inArguments + inCount}));
  }
  testing::InitGoogleMock(&inCount, inArguments);
  testing::UnitTest::GetInstance()->listeners().Append(new HostExceptions);
  return EndWith(RUN_ALL_TESTS());
}
