// Message-only windows, and what a thread does with the messages and windows that are its own.
#ifndef TOLVANE_PLATFORM_MESSAGES_WINDOW_H
#define TOLVANE_PLATFORM_MESSAGES_WINDOW_H

#include <windows.h>

#include "platform/kernel/thread.h"

namespace tolvane::platform {

struct WindowClass {
    static constexpr size_t kNameLength = 128;
    char name[kNameLength];
    WNDPROC procedure;
    HINSTANCE instance;
    ATOM atom;
    UINT windows;
    WindowClass* next;
};

struct Window final : Object {
    bool ClosesByHandle() const override { return false; }

    HWND handle = nullptr;
    WNDPROC procedure = nullptr;
    HINSTANCE instance = nullptr;
    LONG_PTR user_data = 0;
    Thread* owner = nullptr;
    WindowClass* window_class = nullptr;
    Window* next = nullptr;  // of all windows
};

Window* WindowOf(HWND window, const Lock&);

// The procedure of a living window, null with the last error set.
WNDPROC ProcedureOf(HWND window);

// Takes the windows of a thread that ends away, without a word to them.
void DestroyWindowsOf(Thread& thread);

// Posts to a thread that is known to live; false when its queue is full.
bool PostLocked(Thread& thread, const MSG& message, bool from_device, const Lock&);

// Whether GetMessageA would not wait.
bool HasMessage(Thread& self, const Lock&);

// The thread found nothing to do and is about to wait: what devices told it is dealt with.
void BeginMessageWait(Thread& self, const Lock&);

// Lets WaitUntilIdle look again.
void WakeIdleWatchers(const Lock&);

}  // namespace tolvane::platform
#endif
