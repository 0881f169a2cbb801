#include "procedures/HostApi.h"

namespace lumora::procedures {

lumora_extension_api gHostApi = nullptr;

}  // namespace lumora::procedures
