#include "Interrupt.h"

#include <csignal>
#include <cstdlib>

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

extern "C" void EndProcess(int) { std::_Exit(130); }

extern "C" void NoteInterrupt(int) {
  gInterrupts = gInterrupts + 1;
  if (gWakeUp >= 0) {
    if (write(gWakeUp, "I", 1) < 0) gInterrupts = 1;
    return;
  }
  if (gInterrupts > 1) std::_Exit(130);
  // Only what is safe in a signal handler: no stream, no memory.
  static char const sText[] = "\nCtrl-C: stops after the step at hand; once more ends lumora\n";
  if (write(2, sText, sizeof sText - 1) < 0) gInterrupts = 1;
}

}  // namespace

void EndOnInterrupt() { std::signal(SIGINT, EndProcess); }

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

}  // namespace lumora::shell
