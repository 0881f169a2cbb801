#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

// What differs between operating systems, in one place.
namespace lumora::shell {

// main's arguments, the program's name first, as UTF-8. Where the system gives main another
// encoding they are asked of the system.
std::vector<std::string> ArgumentsOf(int inCount, char const* const* inArguments);

// The system's form of a UTF-8 path.
std::filesystem::path PathOf(std::string const& inPath);

// What is read from and written to the standard streams stays as it is, byte by byte, and a
// terminal takes it for UTF-8.
void UseUtf8Streams();

// For writing, from nothing; null on failure, with errno set.
std::FILE* CreateTextFile(std::string const& inPath);

// Where the extension lies when it was installed with the running executable.
std::string InstalledExtension();

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
