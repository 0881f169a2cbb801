#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "contract/database/DatabaseTest.h"

// The tests, and what they run in a process of its own:
//   --child open PATH         opens, and tells "read-write" or "read-only" and the rows of t
//   --child open-poor PATH    the same as a user without rights
namespace {

using namespace lumora::test;

constexpr unsigned kNobody = 65534;

void GiveRightsUp() {
  if (geteuid() != 0) return;
  if (setgid(kNobody) != 0 || setuid(kNobody) != 0) throw std::runtime_error("setuid");
  prctl(PR_SET_DUMPABLE, 1);  // the leak checker reads its own process
}

void Open(std::string const& inPath) {
  auto const database = LoadedExtension::Instance().Database(inPath);
  database->Open();
  auto const cursor =
      database->ExecuteQuery(Wide("SELECT count(*) FROM t"), tarn::lsql::kCursorClient, nullptr);
  cursor->NextRecord();
  std::printf("%s %lld\n", database->get_IsReadOnly() ? "read-only" : "read-write",
              static_cast<long long>(cursor->get_Value(0)->get_LLong()));
}

int RunChild(std::string const& inJob, std::string const& inPath) {
  LoadedExtension::Instance();
  if (inJob == "open-poor") GiveRightsUp();
  Thrown const thrown = ThrownBy([&] { Open(inPath); });
  if (thrown == Thrown{}) return 0;
  std::printf("%s 0x%x %s %s\n", thrown.mClass.c_str(), thrown.mCode, thrown.mText1.c_str(),
              thrown.mText2.c_str());
  return 3;
}

}  // namespace

int main(int inCount, char** inArguments) {
  if (inCount == 4 && inArguments[1] == std::string("--child")) {
    return RunChild(inArguments[2], inArguments[3]);
  }
  testing::InitGoogleTest(&inCount, inArguments);
  return RUN_ALL_TESTS();
}
