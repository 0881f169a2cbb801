#pragma once

#include <filesystem>

namespace tarn {

// The absolute path with every link resolved, also the links behind which nothing is. What does not
// exist, cannot be read or leads in a circle is kept as it is spelt, without "." and "..".
std::filesystem::path CanonicalPath(std::filesystem::path const& inPath);

}  // namespace tarn
