// The last error of a thread, and how the services fail: with an errno turned into the system's number, or
// because a test asked for it.
#ifndef TOLVANE_PLATFORM_KERNEL_ERROR_H
#define TOLVANE_PLATFORM_KERNEL_ERROR_H

#include <windows.h>

#include "platform/testing/faults.h"

namespace tolvane::platform {

DWORD ErrorOfErrno(int number);

// As ErrorOfErrno for a file's name: tells a missing file from a missing folder.
DWORD ErrorOfName(int number, const char* name);

// True when a test wants this call to fail; the last error is set. A service that releases something releases
// it all the same, so that a leak found then is the caller's.
inline bool FaultStrikes(const char* service, DWORD usual) {
    uint32_t code = 0;
    if (!PlatformFaultStrikes(service, &code)) return false;
    SetLastError(code ? code : usual);
    return true;
}

// For `return Fail(code)` in services that answer FALSE.
inline BOOL Fail(DWORD code) {
    SetLastError(code);
    return FALSE;
}

}  // namespace tolvane::platform
#endif
