#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace lumora::shell {

// While it lives and once two seconds have passed, the elapsed time stands on standard error; Stop
// and the destructor take it away. Does nothing when standard error is no terminal.
class ElapsedDisplay {
 public:
  explicit ElapsedDisplay(std::string inWhat);
  ~ElapsedDisplay() { Stop(); }
  ElapsedDisplay(ElapsedDisplay const&) = delete;
  ElapsedDisplay& operator=(ElapsedDisplay const&) = delete;
  void Stop();

 private:
  void Run();

  std::string mWhat;
  std::chrono::steady_clock::time_point mStart;
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mIsStopped = false;  // guarded by mMutex
  std::thread mThread;
};

// "0.012 s", "75.3 s", "2 min 5 s".
std::string DurationText(std::chrono::duration<double> inDuration);

}  // namespace lumora::shell
