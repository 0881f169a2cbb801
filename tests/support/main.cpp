#include <gmock/gmock.h>

#include <string>

#include "support/ChildProcess.h"

// The tests of an executable, or one job in a child process of it.
int main(int inCount, char** inArguments) {
  if (inCount > 2 && inArguments[1] == std::string("--child")) {
    return lumora::test::ChildJob::Run(inArguments[2], {inArguments + 3, inArguments + inCount});
  }
  testing::InitGoogleMock(&inCount, inArguments);
  return RUN_ALL_TESTS();
}
