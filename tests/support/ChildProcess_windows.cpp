#if defined(_WIN32)

#include "support/windows/WindowsApi.h"

#include <filesystem>
#include <stdexcept>

#include "support/ChildProcess.h"

namespace lumora::test {

namespace {

constexpr UINT kKilled = 0xDEAD;

HANDLE Handle(std::intptr_t inHandle) { return reinterpret_cast<HANDLE>(inHandle); }

// One word of a command line, as the C run time takes it apart again.
std::wstring Quoted(std::string const& inText) {
  std::filesystem::path const text(std::u8string(inText.begin(), inText.end()));
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (wchar_t const unit : text.native()) {
    if (unit == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    quoted += unit;
  }
  return quoted.append(backslashes, L'\\') + L"\"";
}

// Without what Windows puts before the end of a line.
std::size_t ReadSome(std::intptr_t inPipe, std::string& ioText) {
  char bytes[4096];
  DWORD count = 0;
  if (!ReadFile(Handle(inPipe), bytes, sizeof bytes, &count, nullptr)) return 0;
  for (DWORD i = 0; i < count; ++i) {
    if (bytes[i] != '\r') ioText += bytes[i];
  }
  return count;
}

}  // namespace

ChildProcess::ChildProcess(std::string const& inJob, Arguments const& inArguments) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (!CreatePipe(&readEnd, &writeEnd, &inherited, 0)) throw std::runtime_error("no pipe");
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  wchar_t self[32768];
  GetModuleFileNameW(nullptr, self, 32768);
  std::wstring command = L"\"" + std::wstring(self) + L"\" --child " + Quoted(inJob);
  for (std::string const& argument : inArguments) command += L" " + Quoted(argument);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  start.hStdOutput = writeEnd;
  start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process{};
  BOOL const isStarted = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &start, &process);
  CloseHandle(writeEnd);
  mOutput = reinterpret_cast<std::intptr_t>(readEnd);
  if (!isStarted) throw std::runtime_error("no child process");
  CloseHandle(process.hThread);
  mProcess = reinterpret_cast<std::intptr_t>(process.hProcess);
}

ChildProcess::~ChildProcess() {
  if (mProcess != -1) {
    Kill();
    WaitForSingleObject(Handle(mProcess), INFINITE);
    CloseHandle(Handle(mProcess));
  }
  CloseHandle(Handle(mOutput));
}

int ChildProcess::get_ProcessId() const { return static_cast<int>(GetProcessId(Handle(mProcess))); }

bool ChildProcess::ReadMore() { return ReadSome(mOutput, mBuffer) != 0; }

void ChildProcess::Kill() { TerminateProcess(Handle(mProcess), kKilled); }
void ChildProcess::KillBetweenCalls() { Kill(); }

ChildResult ChildProcess::Wait() {
  while (ReadMore()) {
  }
  WaitForSingleObject(Handle(mProcess), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(Handle(mProcess), &code);
  CloseHandle(Handle(mProcess));
  mProcess = -1;
  ChildResult result;
  if (code == kKilled) {
    result.mSignal = 9;
  } else {
    result.mExitCode = static_cast<int>(code);
  }
  result.mOutput = mBuffer;
  return result;
}

}  // namespace lumora::test

#endif
