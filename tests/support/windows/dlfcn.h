#pragma once

#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>

#include <string>

// The dynamic loader's functions that tests use, by Windows' own; found in a build for Windows
// alone.
inline constexpr int RTLD_NOW = 0;
inline constexpr int RTLD_LOCAL = 0;
inline constexpr int RTLD_NOLOAD = 1;

inline void* dlopen(char const* inPath, int inFlags) {
  if ((inFlags & RTLD_NOLOAD) != 0 && GetModuleHandleA(inPath) == nullptr) return nullptr;
  return reinterpret_cast<void*>(LoadLibraryA(inPath));
}

inline void* dlsym(void* inLibrary, char const* inName) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(inLibrary), inName));
}

inline int dlclose(void* inLibrary) { return FreeLibrary(static_cast<HMODULE>(inLibrary)) ? 0 : 1; }

inline char const* dlerror() {
  static std::string text;
  text = "error " + std::to_string(GetLastError());
  return text.c_str();
}
