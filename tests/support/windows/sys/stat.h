#pragma once
#pragma GCC system_header

#include_next <sys/stat.h>

// So that tests compile; those that need pipes or POSIX permissions are left out (see
// cmake/Windows.cmake).
inline int mkfifo(char const*, int) { return -1; }
