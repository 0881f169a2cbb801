#include "database/Globals.h"

namespace lumora {

std::shared_ptr<OpenDatabases> const gOpenDatabases = std::make_shared<OpenDatabases>();

}  // namespace lumora
