#if defined(_WIN32)

#include "support/windows/WindowsApi.h"

// They need windows.h before them.
#include <psapi.h>
#include <tlhelp32.h>

#include "support/ProcessCounts.h"

namespace lumora::test {

std::size_t CountDescriptors() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}

std::size_t CountListedThreads() {
  HANDLE const all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  std::size_t count = 0;
  for (BOOL more = Thread32First(all, &entry); more; more = Thread32Next(all, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(all);
  return count;
}

std::size_t get_ResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.WorkingSetSize;
}

}  // namespace lumora::test

#endif
