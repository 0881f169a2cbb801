#include <map>
#include <stdexcept>

#include "support/ChildProcess.h"

namespace lumora::test {

namespace {

std::map<std::string, ChildJob::Function>& Jobs() {
  static std::map<std::string, ChildJob::Function> jobs;
  return jobs;
}

}  // namespace

ChildJob::ChildJob(char const* inName, Function inFunction) { Jobs()[inName] = inFunction; }

int ChildJob::Run(std::string const& inName, Arguments const& inArguments) {
  auto const job = Jobs().find(inName);
  if (job == Jobs().end()) throw std::runtime_error("no job " + inName);
  return job->second(inArguments);
}

std::string ChildProcess::ReadLine() {
  for (;;) {
    std::size_t const end = mBuffer.find('\n');
    if (end != std::string::npos) {
      std::string const line = mBuffer.substr(0, end);
      mBuffer.erase(0, end + 1);
      return line;
    }
    if (!ReadMore()) return {};
  }
}

ChildResult RunChild(std::string const& inJob, Arguments const& inArguments) {
  return ChildProcess(inJob, inArguments).Wait();
}

}  // namespace lumora::test
