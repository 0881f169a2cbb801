#pragma once

// LSHARED_API marks what the host foundation library LShared exports. On Windows the library is
// built with LSHARED_BUILD defined; elsewhere everything unmarked is hidden.
#if defined(_WIN32)
#if defined(LSHARED_BUILD)
#define LSHARED_API __declspec(dllexport)
#else
#define LSHARED_API __declspec(dllimport)
#endif
#else
#define LSHARED_API __attribute__((visibility("default")))
#endif
