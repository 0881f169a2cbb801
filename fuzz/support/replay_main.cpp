// Runs a fuzz target over the files of the folders and files given, and over the empty input first.
// Links with one fuzz/<name>.cpp where libFuzzer is not there to drive it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> InputsUnder(const fs::path& inPath) {
  std::vector<fs::path> inputs;
  if (fs::is_regular_file(inPath)) inputs.push_back(inPath);
  if (fs::is_directory(inPath)) {
    for (const auto& entry : fs::recursive_directory_iterator(inPath)) {
      if (entry.is_regular_file()) inputs.push_back(entry.path());
    }
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

std::vector<std::uint8_t> ReadAll(const fs::path& inPath) {
  std::ifstream file(inPath, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  return {bytes.begin(), bytes.end()};
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t count = 1;
  LLVMFuzzerTestOneInput(nullptr, 0);
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& input : InputsUnder(argv[i])) {
      // A crash must tell which input it was.
      std::fprintf(stderr, "%s\n", input.filename().c_str());
      const std::vector<std::uint8_t> bytes = ReadAll(input);
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++count;
    }
  }
  std::printf("%zu inputs replayed\n", count);
  return 0;
}
