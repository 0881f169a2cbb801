#pragma once

#include "support/windows/WindowsApi.h"

#include <string>

// The dynamic loader's functions that tests use, by Windows' own; found in a build for Windows
// alone.
inline constexpr int RTLD_NOW = 0;
inline constexpr int RTLD_LOCAL = 0;
inline constexpr int RTLD_NOLOAD = 1;
// DuckDB's library: it alone has functions that others stand in for.
inline void* const RTLD_NEXT = reinterpret_cast<void*>(-1);

namespace lumora::test {

// Points what a module imports of DuckDB's library at the executable's stand-ins, as far as it has
// any (see support/NextFunction.h).
inline void UseStandIns(HMODULE inModule) {
  auto* const base = reinterpret_cast<char*>(inModule);
  auto const* const dos = reinterpret_cast<IMAGE_DOS_HEADER const*>(base);
  auto const* const headers = reinterpret_cast<IMAGE_NT_HEADERS const*>(base + dos->e_lfanew);
  DWORD const at =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  if (at == 0) return;
  auto const* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR const*>(base + at);
  for (; library->Name != 0; ++library) {
    if (_stricmp(base + library->Name, "duckdb.dll") != 0) continue;
    auto const* name =
        reinterpret_cast<IMAGE_THUNK_DATA const*>(base + library->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      auto const* const import =
          reinterpret_cast<IMAGE_IMPORT_BY_NAME const*>(base + name->u1.AddressOfData);
      std::string const standIn = std::string("stand_in_") + &import->Name[0];
      FARPROC const function = GetProcAddress(GetModuleHandleW(nullptr), standIn.c_str());
      if (!function) continue;
      DWORD access = 0;
      VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &access);
      slot->u1.Function = reinterpret_cast<ULONGLONG>(function);
      VirtualProtect(slot, sizeof *slot, access, &access);
    }
  }
}

}  // namespace lumora::test

inline void* dlopen(char const* inPath, int inFlags) {
  if ((inFlags & RTLD_NOLOAD) != 0 && GetModuleHandleA(inPath) == nullptr) return nullptr;
  HMODULE const library = LoadLibraryA(inPath);
  if (library) lumora::test::UseStandIns(library);
  return reinterpret_cast<void*>(library);
}

inline void* dlsym(void* inLibrary, char const* inName) {
  HMODULE const library =
      inLibrary == RTLD_NEXT ? GetModuleHandleA("duckdb.dll") : static_cast<HMODULE>(inLibrary);
  return reinterpret_cast<void*>(GetProcAddress(library, inName));
}

inline int dlclose(void* inLibrary) { return FreeLibrary(static_cast<HMODULE>(inLibrary)) ? 0 : 1; }

inline char const* dlerror() {
  static std::string text;
  text = "error " + std::to_string(GetLastError());
  return text.c_str();
}
