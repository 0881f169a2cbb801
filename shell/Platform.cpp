#include "Platform.h"

#include <cstdlib>
#include <filesystem>

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <dlfcn.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <csignal>
#endif

namespace lumora::shell {

namespace {

std::string Environment(char const* inName) {
  char const* const value = std::getenv(inName);
  return value ? value : "";
}

}  // namespace

#if defined(_WIN32)

std::string ExecutableFolder() {
  wchar_t path[32768];
  DWORD const length = GetModuleFileNameW(nullptr, path, 32768);
  if (length == 0 || length == 32768) return {};
  return std::filesystem::path(path).parent_path().string();
}

char const* ExtensionFileName() { return "lumora_duckdb.dll"; }

void* LoadSharedLibrary(std::string const& inPath, std::string& outError) {
  HMODULE const library = LoadLibraryA(inPath.c_str());
  if (!library) outError = "error " + std::to_string(GetLastError());
  return library;
}

void (*FindLibraryFunction(void* inLibrary, char const* inName))() {
  return reinterpret_cast<void (*)()>(GetProcAddress(static_cast<HMODULE>(inLibrary), inName));
}

bool IsTerminal(int inDescriptor) { return _isatty(inDescriptor) != 0; }

ScreenSize get_ScreenSize() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return {};
  return {static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1),
          static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1)};
}

std::FILE* OpenPipe(std::string const& inCommand) { return _popen(inCommand.c_str(), "wb"); }
void ClosePipe(std::FILE* inPipe) { _pclose(inPipe); }
int FileNumber(std::FILE* inFile) { return _fileno(inFile); }

void IgnoreClosedPipes() {}

std::string StateFolder() {
  std::string const folder = Environment("LOCALAPPDATA");
  return folder.empty() ? folder : folder + "\\lumora";
}

#else

std::string ExecutableFolder() {
  std::error_code error;
  auto const path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : path.parent_path().string();
}

char const* ExtensionFileName() {
#if defined(__APPLE__)
  return "lumora_duckdb.dylib";
#else
  return "lumora_duckdb.so";
#endif
}

void* LoadSharedLibrary(std::string const& inPath, std::string& outError) {
  void* const library = dlopen(inPath.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    char const* const message = dlerror();
    outError = message ? message : "unknown error";
  }
  return library;
}

void (*FindLibraryFunction(void* inLibrary, char const* inName))() {
  return reinterpret_cast<void (*)()>(dlsym(inLibrary, inName));
}

bool IsTerminal(int inDescriptor) { return isatty(inDescriptor) == 1; }

ScreenSize get_ScreenSize() {
  winsize size{};
  if (!IsTerminal(STDOUT_FILENO) || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_col, size.ws_row};
}

std::FILE* OpenPipe(std::string const& inCommand) { return popen(inCommand.c_str(), "w"); }
void ClosePipe(std::FILE* inPipe) { pclose(inPipe); }
int FileNumber(std::FILE* inFile) { return fileno(inFile); }

void IgnoreClosedPipes() { std::signal(SIGPIPE, SIG_IGN); }

std::string StateFolder() {
  std::string const state = Environment("XDG_STATE_HOME");
  if (!state.empty()) return state + "/lumora";
  std::string const home = Environment("HOME");
  return home.empty() ? home : home + "/.local/state/lumora";
}

#endif

}  // namespace lumora::shell
