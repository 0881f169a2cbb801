#include "Output.h"

#include <cerrno>
#include <cstring>

namespace lumora::shell {

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

[[noreturn]] void ThrowWriteError(int inError) {
  if (inError == EPIPE) throw OutputClosed("the reader of the output has gone");
  throw OutputFailed(std::string("cannot write the output: ") + std::strerror(inError));
}

}  // namespace

void FileOutput::Write(std::string_view inText) {
  mBuffer += inText;
  if (mBuffer.size() >= kBufferSize) {
    WriteThrough(mBuffer);
    mBuffer.clear();
  }
}

void FileOutput::Flush() {
  WriteThrough(mBuffer);
  mBuffer.clear();
  if (std::fflush(mFile) != 0) ThrowWriteError(errno);
}

void FileOutput::WriteThrough(std::string_view inText) {
  if (inText.empty()) return;
  errno = 0;
  if (std::fwrite(inText.data(), 1, inText.size(), mFile) != inText.size()) {
    int const error = errno;
    mBuffer.clear();
    ThrowWriteError(error);
  }
}

}  // namespace lumora::shell
