#include "ExtensionLibrary.h"

#include <exception>

#include "HostTable.h"
#include "Platform.h"

namespace lumora::shell {

namespace {

template <typename TFunction>
TFunction RequireFunction(void* inLibrary, std::string const& inPath, char const* inName) {
  auto const function = FindLibraryFunction(inLibrary, inName);
  if (!function) {
    throw LoadError("cannot load the extension " + inPath + ": it has no function " + inName);
  }
  return reinterpret_cast<TFunction>(function);
}

}  // namespace

std::string DefaultExtensionPath() { return InstalledExtension(); }

ExtensionLibrary::ExtensionLibrary(std::string const& inPath) {
  // The loader searches its own folders for a name without a folder, never the current one.
  bool const hasFolder = inPath.find_first_of("/\\") != std::string::npos;
  std::string const path = hasFolder ? inPath : "./" + inPath;
  std::string error;
  void* const library = LoadSharedLibrary(path, error);
  if (!library) throw LoadError("cannot load the extension " + inPath + ": " + error);
  auto const bind = RequireFunction<lumora_extension_bind_api_function>(
      library, inPath, "lumora_extension_bind_api");
  auto const init =
      RequireFunction<lumora_extension_init_function>(library, inPath, "lumora_extension_init");
  bind(get_HostTable());
  try {
    init(&mContext);
  } catch (std::exception const& failure) {
    throw LoadError("cannot start the extension " + inPath + ": " + failure.what());
  }
}

}  // namespace lumora::shell
