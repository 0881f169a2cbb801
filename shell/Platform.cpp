#include "Platform.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <windows.h>

// It needs windows.h before it.
#include <shellapi.h>
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

std::filesystem::path PathOf(std::string const& inPath) {
  return std::filesystem::path(std::u8string(inPath.begin(), inPath.end()));
}

#if defined(_WIN32)

namespace {

std::string ToUtf8(std::filesystem::path const& inPath) {
  std::u8string const text = inPath.u8string();
  return std::string(text.begin(), text.end());
}

}  // namespace

std::vector<std::string> ArgumentsOf(int inCount, char const* const* inArguments) {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!words) return {inArguments, inArguments + inCount};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(ToUtf8(words[i]));
  LocalFree(words);
  return arguments;
}

void UseUtf8Streams() {
  for (int const stream : {0, 1, 2}) _setmode(stream, _O_BINARY);
  SetConsoleCP(CP_UTF8);
  SetConsoleOutputCP(CP_UTF8);
}

std::FILE* CreateTextFile(std::string const& inPath) {
  return _wfopen(PathOf(inPath).c_str(), L"wb");
}

// Windows looks for a library's own libraries beside the executable, so all of them lie there.
std::string InstalledExtension() {
  wchar_t path[32768];
  DWORD const length = GetModuleFileNameW(nullptr, path, 32768);
  if (length == 0 || length == 32768) return {};
  return ToUtf8(std::filesystem::path(path).replace_filename("lumora_duckdb.dll"));
}

void* LoadSharedLibrary(std::string const& inPath, std::string& outError) {
  HMODULE const library = LoadLibraryW(PathOf(inPath).make_preferred().c_str());
  if (!library) {
    outError = std::error_code(static_cast<int>(GetLastError()), std::system_category()).message();
  }
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

std::vector<std::string> ArgumentsOf(int inCount, char const* const* inArguments) {
  return {inArguments, inArguments + inCount};
}

void UseUtf8Streams() {}

std::FILE* CreateTextFile(std::string const& inPath) { return std::fopen(inPath.c_str(), "wb"); }

std::string InstalledExtension() {
#if defined(__APPLE__)
  std::string const name = "lumora_duckdb.dylib";
#else
  std::string const name = "lumora_duckdb.so";
#endif
  std::error_code error;
  auto const path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "../lib/" + name : path.parent_path().string() + "/../lib/" + name;
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
