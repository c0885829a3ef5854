// Linked into the library itself: calls its entry point when it is loaded and unloaded.
#include <windows.h>

#include "process_end.h"

namespace {

const char marker = 0;  // an address inside the library

void CallEntry(DWORD reason, LPVOID reserved) {
    DllMain(static_cast<HINSTANCE>(PlatformModuleOf(&marker)), reason, reserved);
}

[[gnu::constructor]] void Attach() {
    PlatformLibraryLoaded(&marker);
    CallEntry(DLL_PROCESS_ATTACH, nullptr);
}

[[gnu::destructor]] void Detach() {
    static char process_ends;
    CallEntry(DLL_PROCESS_DETACH, PlatformProcessEnds(&marker) ? &process_ends : nullptr);
}

}  // namespace
