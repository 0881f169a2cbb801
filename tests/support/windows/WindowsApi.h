#pragma once

// The system's header without what is rarely used and without its macros min and max.
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
