#pragma once

#include <memory>

#include "database/OpenDatabases.h"

namespace lumora {

// The process's registry of open databases; it locks itself. Never null. A database object holds
// a share of it, so that one which outlives this library's globals at exit can still close.
extern std::shared_ptr<OpenDatabases> const gOpenDatabases;

}  // namespace lumora
