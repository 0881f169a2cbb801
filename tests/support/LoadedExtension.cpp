#include "support/LoadedExtension.h"

#include <dlfcn.h>

#include <array>
#include <atomic>
#include <stdexcept>

#include "tarn/Converter.h"

namespace lumora::test {

namespace {

std::array<lumora_extension_function, lumora_api_size> gTable;
std::atomic<LoadedExtension*> gInstance{nullptr};

void Trap() { throw std::logic_error("an entry of the host's table that no one may call"); }

void ReportError(void*, char const* inText, std::uint64_t inLength) {
  throw std::logic_error("loading reported: " + std::string(inText, inLength));
}

template <typename T>
T Symbol(void* inLibrary, char const* inName) {
  void* const symbol = dlsym(inLibrary, inName);
  if (!symbol) throw std::runtime_error(dlerror());
  return reinterpret_cast<T>(symbol);
}

}  // namespace

LoadedExtension& LoadedExtension::Instance() {
  static LoadedExtension instance;
  gInstance = &instance;
  return instance;
}

void LoadedExtension::GiveUp() {
  if (!gInstance.load()) return;
  tarn::lsql::SetDuckDBExtension(nullptr);
  gInstance.load()->mExtension = nullptr;
}

std::int32_t LoadedExtension::RegisterProcedure(void* inContext,
                                                lumora_procedure_def const* inDef) {
  static_cast<LoadedExtension*>(inContext)->mProcedures.push_back(*inDef);
  return 0;
}

LoadedExtension::LoadedExtension() {
  gTable.fill(&Trap);
  gTable[lumora_api_register_procedure] =
      reinterpret_cast<lumora_extension_function>(&RegisterProcedure);
  gTable[lumora_api_report_error] = reinterpret_cast<lumora_extension_function>(&ReportError);
  void* const library = dlopen(LUMORA_EXTENSION_PATH, RTLD_NOW | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  Symbol<lumora_extension_bind_api_function>(library, "lumora_extension_bind_api")(gTable.data());
  Symbol<lumora_extension_init_function>(library, "lumora_extension_init")(this);
  mExtension = tarn::lsql::GetDuckDBExtension();
  if (!mExtension) throw std::runtime_error("the extension installed no object");
}

tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> LoadedExtension::Database(
    std::string const& inPath) const {
  return mExtension->CreateDatabase(tarn::CreateLocation(tarn::StToUTF16(
      inPath.data(), static_cast<std::int64_t>(inPath.size()), tarn::GetConverter_UTF8())));
}

}  // namespace lumora::test
