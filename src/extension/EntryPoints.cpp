#include <utility>

#include "extension/DuckDBExtension.h"
#include "procedures/HostApi.h"
#include "procedures/Registration.h"
#include "tarn/lsql/I_DuckDBExtension.h"

// The two functions that the host finds by name; nothing else is exported. The host calls each
// once, in this order, from its loading thread. Neither checks its argument, and a second call of
// init installs a second extension object and registers the procedures again.

#if defined(_WIN32)
#define LUMORA_EXPORT __declspec(dllexport)
#else
#define LUMORA_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

// Keeps the host's function table; it is not copied and must live as long as the process.
LUMORA_EXPORT void lumora_extension_bind_api(lumora_extension_api inApi) {
  lumora::procedures::gHostApi = inApi;
}

// Installs the extension object, of which the host then holds the only reference, and registers the
// procedures. A refused procedure is reported and does not stop the others. Only a lack of memory
// for the extension object leaves as an exception; then nothing was installed or registered.
LUMORA_EXPORT void lumora_extension_init(void* inContext) {
  tarn::lsql::SetDuckDBExtension(tarn::lsql::MakeDuckDBExtension());
  lumora::procedures::RegisterProcedures(inContext);
}

}  // extern "C"
