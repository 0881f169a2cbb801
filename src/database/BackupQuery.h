#pragma once

#include "duckdb_c/QueryRows.h"

namespace lumora {

using duckdb_c::ForEachRow;
using duckdb_c::RunQuery;

}  // namespace lumora
