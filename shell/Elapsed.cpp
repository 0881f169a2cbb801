#include "Elapsed.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "Platform.h"

namespace lumora::shell {

using Seconds = std::chrono::duration<double>;

ElapsedDisplay::ElapsedDisplay(std::string inWhat)
    : mWhat(std::move(inWhat)), mStart(std::chrono::steady_clock::now()) {
  if (IsTerminal(2)) mThread = std::thread([this] { Run(); });
}

void ElapsedDisplay::Stop() {
  if (!mThread.joinable()) return;
  {
    std::lock_guard const lock(mMutex);
    mIsStopped = true;
  }
  mChanged.notify_all();
  mThread.join();
}

void ElapsedDisplay::Run() {
  std::unique_lock lock(mMutex);
  bool isShown = false;
  auto wait = std::chrono::milliseconds(2000);
  while (!mChanged.wait_for(lock, wait, [this] { return mIsStopped; })) {
    auto const elapsed =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - mStart);
    std::fprintf(stderr, "\r%s: %lld s", mWhat.c_str(), static_cast<long long>(elapsed.count()));
    isShown = true;
    wait = std::chrono::milliseconds(1000);
  }
  if (isShown) std::fputs("\r\x1b[K", stderr);
}

std::string DurationText(Seconds inDuration) {
  double const seconds = inDuration.count();
  if (seconds < 10) return fmt::format("{:.3f} s", seconds);
  if (seconds < 120) return fmt::format("{:.1f} s", seconds);
  auto const whole = static_cast<long long>(seconds);
  return fmt::format("{} min {} s", whole / 60, whole % 60);
}

}  // namespace lumora::shell
