#include "support/SmallDisk.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>

namespace lumora::test {

bool MountSmallDisk(std::string const& inFolder, long inBytes) {
  if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  // What is mounted here must not be seen outside.
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  std::string const size = "size=" + std::to_string(inBytes);
  return mount("none", inFolder.c_str(), "tmpfs", 0, size.c_str()) == 0;
}

void LimitFileSizes(long inBytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit const limit{static_cast<rlim_t>(inBytes), RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace lumora::test
