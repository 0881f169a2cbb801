#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

// What differs between operating systems, in one place.
namespace lumora::shell {

// The folder of the running executable, links resolved; empty when it cannot be told.
std::string ExecutableFolder();

// "lumora_duckdb.so", "lumora_duckdb.dll".
char const* ExtensionFileName();

// Loads a library for the rest of the process. Null, and outError filled, on failure.
void* LoadSharedLibrary(std::string const& inPath, std::string& outError);
// Null when the library exports no such function.
void (*FindLibraryFunction(void* inLibrary, char const* inName))();

bool IsTerminal(int inDescriptor);
// The columns and rows of the terminal on standard output; 0 when there is none.
struct ScreenSize {
  std::size_t mColumns = 0;
  std::size_t mRows = 0;
};
ScreenSize get_ScreenSize();

// A shell command that reads what is written; null when it cannot be started.
std::FILE* OpenPipe(std::string const& inCommand);
// Waits for the command's end.
void ClosePipe(std::FILE* inPipe);
int FileNumber(std::FILE* inFile);

// A write to a closed pipe becomes an error of that write.
void IgnoreClosedPipes();

// The user's folder for what a program keeps between runs; empty when there is none.
std::string StateFolder();

}  // namespace lumora::shell
