#pragma once

#include <dlfcn.h>

#include <stdexcept>

#include "support/HostTable.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace lumora::test {

// One loading of the extension library. When it dies, the host gives the extension object up and
// the library is unloaded.
class LoadedLibrary {
 public:
  LoadedLibrary() : mLibrary(dlopen(LUMORA_EXTENSION_PATH, RTLD_NOW | RTLD_LOCAL)) {
    if (!mLibrary) throw std::runtime_error(dlerror());
  }
  ~LoadedLibrary() {
    tarn::lsql::SetDuckDBExtension(nullptr);
    dlclose(mLibrary);
  }
  LoadedLibrary(LoadedLibrary const&) = delete;
  LoadedLibrary& operator=(LoadedLibrary const&) = delete;

  void Bind(void (*const* inTable)() = HostTable()) {
    Export<void(void (*const*)())>("lumora_extension_bind_api")(inTable);
  }
  void Init(HostContext& ioContext) { Export<void(void*)>("lumora_extension_init")(&ioContext); }

  static bool IsLoaded() {
    void* const library = dlopen(LUMORA_EXTENSION_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (library) dlclose(library);
    return library != nullptr;
  }

 private:
  template <typename T>
  T* Export(char const* inName) const {
    void* const symbol = dlsym(mLibrary, inName);
    if (!symbol) throw std::runtime_error(dlerror());
    return reinterpret_cast<T*>(symbol);
  }

  void* mLibrary;
};

}  // namespace lumora::test
