#pragma once

#include "duckdb_c/QueryRows.h"

namespace lumora {

using duckdb_c::ForEachRow;

}  // namespace lumora
