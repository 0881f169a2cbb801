#pragma once

#include <dlfcn.h>

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
