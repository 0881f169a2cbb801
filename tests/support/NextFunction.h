#pragma once

#include <dlfcn.h>

// A function of this executable in the place of one of a shared library, for all of the process.
//
// On POSIX it has the library's name and comes first because the executable does. Windows binds
// every import to one library: there it has a name of its own, and the imports of the executable
// and of each library that dlopen brings are pointed at it (see windows/dlfcn.h).
#if defined(_WIN32)
#define LUMORA_STAND_IN(name) __declspec(dllexport) stand_in_##name
#else
#define LUMORA_STAND_IN(name) name
#endif

namespace lumora::test {

template <typename TFunction>
TFunction* FindNext(TFunction*, char const* inName) {
  return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, inName));
}

}  // namespace lumora::test

// The function of that name that this executable's own stands in front of, the library's.
#define LUMORA_NEXT(name)                                                       \
  [] {                                                                          \
    static auto* const next =                                                   \
        ::lumora::test::FindNext(static_cast<decltype(name)*>(nullptr), #name); \
    return next;                                                                \
  }()
