// The clock, the system's version and the debugger's ear.
#include <mmsystem.h>
#include <platform.h>

#include <mutex>

#include "platform/kernel/error.h"
#include "platform/kernel/thread.h"

namespace tolvane::platform {

namespace {

struct DebugListener {
    PlatformDebugHook hook;
    void* context;
};

constinit std::mutex listener_lock;
DebugListener listener{nullptr, nullptr};

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

DWORD WINAPI timeGetTime(void) {
    return static_cast<DWORD>(Now());
}
DWORD WINAPI GetTickCount(void) {
    return static_cast<DWORD>(Now());
}

BOOL WINAPI GetVersionExA(LPOSVERSIONINFOA version) {
    if (FaultStrikes("GetVersionExA", ERROR_INVALID_PARAMETER)) return FALSE;
    if (!version || version->dwOSVersionInfoSize < sizeof(OSVERSIONINFOA))
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    *version = {version->dwOSVersionInfoSize, 5, 1, 2600, VER_PLATFORM_WIN32_NT, ""};
    return TRUE;
}

void PlatformSetDebugHook(PlatformDebugHook hook, void* context) {
    std::lock_guard guard(listener_lock);
    listener = {hook, context};
}

void WINAPI OutputDebugStringA(LPCSTR text) {
    listener_lock.lock();
    const DebugListener told = listener;
    listener_lock.unlock();
    if (told.hook && text) told.hook(text, told.context);
}
