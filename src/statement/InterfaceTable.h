#pragma once

#include "tarn/ForeignPlugin.h"
#include "tarn/I_Unknown.h"

namespace lumora {

// The answer of QueryInterface of a class whose first base is the interface of number TInterfaceId
// and whose second one is ForeignPlugin_imp.
template <std::uint32_t TInterfaceId, typename T>
void* QueryOwnInterface(T* inObject, std::uint32_t inInterfaceId) {
  static tarn::INTERFACE_ITEM const table[] = {
      {TInterfaceId, 0},
      {tarn::kIID_ForeignPlugin,
       reinterpret_cast<char*>(static_cast<tarn::ForeignPlugin_imp*>(inObject)) -
           reinterpret_cast<char*>(inObject)},
      {0, 0}};
  return tarn::InterfaceTableQueryInterface(inObject, inInterfaceId, table);
}

}  // namespace lumora
