// The library's start-up routine, which exists on Windows alone: there the loader calls every
// library for every thread that starts or ends, unless told not to.
#if defined(_WIN32)

#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE inInstance, DWORD inReason, LPVOID /*inReserved*/) {
  if (inReason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(inInstance);
  return TRUE;
}

#endif
