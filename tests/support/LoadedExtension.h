#pragma once

#include <string>
#include <vector>

#include "tarn/ExtensionApi.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace lumora::test {

// The extension library, loaded as a host loads it: once for the process, never unloaded. Its
// function table takes registrations and error reports and throws std::logic_error from every other
// entry.
class LoadedExtension {
 public:
  // Loads at the first call. Throws std::runtime_error with the loader's message.
  static LoadedExtension& Instance();

  // As a host does before its process ends: the object goes, if it was made; the library stays.
  // Nothing of the extension may be used after that.
  static void GiveUp();

  tarn::lsql::I_DuckDBExtension& operator*() const { return *mExtension; }
  tarn::lsql::I_DuckDBExtension* operator->() const { return mExtension.get(); }

  // A new, closed database object for a path (UTF-8).
  tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> Database(std::string const& inPath) const;

  std::vector<lumora_procedure_def> const& get_Procedures() const { return mProcedures; }

 private:
  LoadedExtension();
  static std::int32_t RegisterProcedure(void* inContext, lumora_procedure_def const* inDef);

  tarn::smart_ptr<tarn::lsql::I_DuckDBExtension> mExtension;
  std::vector<lumora_procedure_def> mProcedures;
};

}  // namespace lumora::test
