#include "duckdb_c/DeferredWork.h"

#include <utility>

namespace lumora {
namespace {

thread_local I_DeferredWork* tDeferred = nullptr;

}  // namespace

DeferredWorkScope::DeferredWorkScope(I_DeferredWork& inWork) noexcept
    : mOuter(std::exchange(tDeferred, &inWork)) {}

DeferredWorkScope::~DeferredWorkScope() { tDeferred = mOuter; }

void FinishDeferredWork() {
  if (auto* const work = std::exchange(tDeferred, nullptr)) work->Finish();
}

}  // namespace lumora
