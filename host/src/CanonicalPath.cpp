#include "CanonicalPath.h"

#include <deque>
#include <system_error>
#include <utility>

namespace tarn {
namespace {

using std::filesystem::path;

// As many links as the systems themselves follow before they see a circle.
constexpr int kMaxLinks = 40;

class Walk {
 public:
  explicit Walk(path const& inPath) : mResult(inPath.root_path()) { Prepend(inPath); }

  path Run() {
    while (!mPending.empty()) {
      path const part = std::move(mPending.front());
      mPending.pop_front();
      if (part.empty() || part == ".") continue;
      if (part == "..") {
        mResult = mResult.parent_path();
      } else {
        Step(mResult / part);
      }
    }
    return std::move(mResult);
  }

 private:
  void Prepend(path const& inPath) {
    path const relative = inPath.relative_path();
    mPending.insert(mPending.begin(), relative.begin(), relative.end());
  }

  void Step(path inNext) {
    std::error_code error;
    bool const isLink = mLinks < kMaxLinks &&
                        std::filesystem::is_symlink(std::filesystem::symlink_status(inNext, error));
    path const target = isLink ? std::filesystem::read_symlink(inNext, error) : path();
    if (target.empty()) {
      mResult = std::move(inNext);
      return;
    }
    ++mLinks;
    if (target.is_absolute()) mResult = target.root_path();
    Prepend(target);
  }

  path mResult;
  std::deque<path> mPending;
  int mLinks = 0;
};

}  // namespace

path CanonicalPath(path const& inPath) {
  std::error_code error;
  path canonical = std::filesystem::canonical(inPath, error);
  if (!error) return canonical;
  path const absolute = std::filesystem::absolute(inPath, error);
  return Walk(error ? inPath : absolute).Run();
}

}  // namespace tarn
