#include "Interrupt.h"

#include <csignal>
#include <cstdlib>

#include "Platform.h"

#if defined(_WIN32)
#include <io.h>
#define write _write
#else
#include <unistd.h>
#endif

namespace lumora::shell {

namespace {

volatile std::sig_atomic_t gInterrupts = 0;
volatile std::sig_atomic_t gWakeUp = -1;

// What stands on the screen (an elapsed time, ^C) ends in a line of its own.
volatile std::sig_atomic_t gHasScreen = 0;

[[noreturn]] void End() {
  if (gHasScreen != 0) static_cast<void>(!write(2, "\n", 1));
  std::_Exit(130);
}

extern "C" void EndProcess(int) { End(); }

extern "C" void NoteInterrupt(int) {
  gInterrupts = gInterrupts + 1;
  if (gWakeUp >= 0) {
    if (write(gWakeUp, "I", 1) < 0) gInterrupts = 1;
    return;
  }
  if (gInterrupts > 1) End();
  // Only what is safe in a signal handler: no stream, no memory.
  static char const sText[] =
      "\nCtrl-C: lumora stops when the running statement is done; once more ends lumora and undoes "
      "the statement\n";
  if (write(2, sText, sizeof sText - 1) < 0) gInterrupts = 1;
}

}  // namespace

void EndOnInterrupt() {
  gHasScreen = IsTerminal(2) ? 1 : 0;
  std::signal(SIGINT, EndProcess);
}

void NoteInterrupts() {
#if defined(_WIN32)
  std::signal(SIGINT, NoteInterrupt);
#else
  struct sigaction action {};
  action.sa_handler = NoteInterrupt;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
#endif
}

void put_WakeUp(int inDescriptor) { gWakeUp = inDescriptor; }

void CheckInterrupt() {
  if (gInterrupts != 0) throw Interrupted();
}

void ClearInterrupt() { gInterrupts = 0; }

InterruptPause::InterruptPause() : mHandler(std::signal(SIGINT, SIG_IGN)) {}
InterruptPause::~InterruptPause() { std::signal(SIGINT, mHandler); }

}  // namespace lumora::shell
