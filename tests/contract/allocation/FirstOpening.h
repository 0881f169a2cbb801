#pragma once

#include "support/LoadedExtension.h"
#include "support/LoadedLibrary.h"

namespace lumora::test {

// The databases that the extension keeps for itself are closed, and opened by their next use: they
// go with any extension object, and here with another one than the test's.
inline void CloseOwnDatabases() {
  auto const kept = tarn::lsql::GetDuckDBExtension();
  {
    LoadedLibrary library;
    HostContext context;
    library.Bind();
    library.Init(context);
  }
  tarn::lsql::SetDuckDBExtension(kept);
}

}  // namespace lumora::test
