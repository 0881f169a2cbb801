#pragma once

#include <string>

namespace lumora::test {

// Puts an empty file system of so many bytes over a folder, for this process and the threads and
// processes that it starts from now on; it goes with them. Call it before anything runs in another
// thread. False where the system does not permit that (it needs root or user namespaces).
bool MountSmallDisk(std::string const& inFolder, long inBytes);

// The next best thing: no file of this process grows beyond so many bytes.
void LimitFileSizes(long inBytes);

}  // namespace lumora::test
