#pragma once

#include <stdexcept>
#include <string>

#include "HostContext.h"
#include "Procedures.h"

namespace lumora::shell {

// The extension cannot be loaded; what() is for the user.
struct LoadError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Where the extension is looked for when nobody says: beside the executable's folder, in ../lib.
std::string DefaultExtensionPath();

// One loaded extension with the procedures that it registered. The library stays loaded until the
// process ends, as in a server.
class ExtensionLibrary {
 public:
  // Loads the library, binds it to the host's function table and starts it. Throws LoadError.
  explicit ExtensionLibrary(std::string const& inPath);
  ExtensionLibrary(ExtensionLibrary const&) = delete;
  ExtensionLibrary& operator=(ExtensionLibrary const&) = delete;

  ProcedureRegistry const& get_Procedures() const { return mProcedures; }
  // What the extension reported while it started ("Cannot register … procedure.").
  std::vector<std::string> const& get_Reports() const { return mContext.get_Errors(); }

 private:
  ProcedureRegistry mProcedures;
  HostContext mContext{&mProcedures};
};

}  // namespace lumora::shell
