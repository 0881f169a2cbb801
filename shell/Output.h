#pragma once

#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumora::shell {

// The reader of the output has gone: nobody is left to tell anything.
struct OutputClosed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The output cannot take more, for another reason ("No space left on device").
struct OutputFailed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Where results go. Not synchronised.
class Output {
 public:
  virtual ~Output() = default;
  // Throws OutputClosed, OutputFailed.
  virtual void Write(std::string_view inText) = 0;
  // Hands over what is buffered. Throws as Write.
  virtual void Flush() = 0;
  // A person reads it as it comes: control characters must not pass.
  virtual bool get_IsTerminal() const = 0;
};

// A stream that stays the caller's. What was written but not flushed is dropped at destruction.
class FileOutput final : public Output {
 public:
  FileOutput(std::FILE* inFile, bool inIsTerminal) : mFile(inFile), mIsTerminal(inIsTerminal) {}
  void Write(std::string_view inText) override;
  void Flush() override;
  bool get_IsTerminal() const override { return mIsTerminal; }

 private:
  void WriteThrough(std::string_view inText);

  std::FILE* mFile;
  bool mIsTerminal;
  std::string mBuffer;
};

// Keeps everything; for tests and for what must be measured before it is shown.
class TextOutput final : public Output {
 public:
  explicit TextOutput(bool inIsTerminal = false) : mIsTerminal(inIsTerminal) {}
  void Write(std::string_view inText) override { mText += inText; }
  void Flush() override {}
  bool get_IsTerminal() const override { return mIsTerminal; }
  std::string const& get_Text() const { return mText; }

 private:
  bool mIsTerminal;
  std::string mText;
};

}  // namespace lumora::shell
