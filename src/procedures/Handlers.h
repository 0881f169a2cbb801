#pragma once

#include "tarn/ExtensionApi.h"

// The handlers of the five procedures. Each returns a new cursor, or null after it has reported one
// error to the host; no exception leaves it. They share nothing and may run on any thread.
namespace lumora::procedures {

lumora_cursor HandleFetchParquet(void* inContext, lumora_value const* inArgs);
lumora_cursor HandleParquetSchema(void* inContext, lumora_value const* inArgs);
lumora_cursor HandleParquetMetadata(void* inContext, lumora_value const* inArgs);
lumora_cursor HandleParquetCount(void* inContext, lumora_value const* inArgs);
lumora_cursor HandleFetchDuckDB(void* inContext, lumora_value const* inArgs);

}  // namespace lumora::procedures
