#include "tarn/I_Unknown.h"

#include "tarn/Array.h"

namespace tarn {

void* InterfaceTableQueryInterface(void* inObject, std::uint32_t inInterfaceId,
                                   INTERFACE_ITEM const* inTable) noexcept {
  for (INTERFACE_ITEM const* item = inTable; item->mInterfaceId != 0; ++item) {
    if (item->mInterfaceId != inInterfaceId) continue;
    void* const found = static_cast<char*>(inObject) + item->mDistance;
    static_cast<I_Unknown*>(found)->AddRef();
    return found;
  }
  return nullptr;
}

INTERFACE_ITEM const* PlainInterfaceTable() noexcept {
  static constexpr INTERFACE_ITEM kTable[] = {{kIID_Unknown, 0}, {0, 0}};
  return kTable;
}

}  // namespace tarn
