// Posting and getting messages.

#include "platform/kernel/error.h"
#include "platform/kernel/thread.h"
#include "platform/messages/queue.h"
#include "platform/messages/window.h"

namespace tolvane::platform {

namespace {

constexpr DWORD kIdlePatience = 5000;

MSG MakeMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    return {window, message, wparam, lparam, GetTickCount(), {0, 0}};
}

bool TakeQuit(Thread& self, MSG& message, bool remove) {
    if (!self.queue.quit_posted) return false;
    message = MakeMessage(nullptr, WM_QUIT, static_cast<WPARAM>(self.queue.quit_code), 0);
    self.queue.quit_posted = !remove;
    return true;
}

bool FindMessage(Thread& self, const MessageFilter& filter, MSG& message, bool remove) {
    return self.queue.Find(filter, message, remove) || TakeQuit(self, message, remove);
}

bool IsIdle(const Thread& thread) {
    return thread.queue.device_messages == 0 && !thread.queue.dealing_with_device;
}

bool OthersAreIdle(const Thread& self, const Lock& lock) {
    for (const Thread* thread = FirstThread(lock); thread; thread = thread->next) {
        if (thread != &self && !IsIdle(*thread)) return false;
    }
    return true;
}

bool IsWindowFilter(HWND window) {
    return window && window != reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1));
}

// 1 with a message, 0 when the thread is to end, -1 for a window that is gone.
int WaitForMessage(const MessageFilter& filter, MSG& message) {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    if (IsWindowFilter(filter.window) && !WindowOf(filter.window, lock)) return -1;
    const WaitEnd end = WaitUntil(lock, self, kNever, [&] {
        if (FindMessage(self, filter, message, true)) return true;
        BeginMessageWait(self, lock);
        return false;
    });
    return end == WaitEnd::kReady;
}

}  // namespace

bool PostLocked(Thread& thread, const MSG& message, bool from_device, const Lock&) {
    if (!thread.queue.Post(message, from_device)) return false;
    thread.wake.Signal();
    return true;
}

bool HasMessage(Thread& self, const Lock&) {
    MSG message;
    return FindMessage(self, {nullptr, 0, 0}, message, false);
}

void BeginMessageWait(Thread& self, const Lock& lock) {
    if (!self.queue.dealing_with_device) return;
    self.queue.dealing_with_device = false;
    WakeIdleWatchers(lock);
}

void WakeIdleWatchers(const Lock& lock) {
    for (Thread* thread = FirstThread(lock); thread; thread = thread->next) {
        if (thread->queue.waits_for_idle) thread->wake.Signal();
    }
}

bool PostToThread(DWORD thread, UINT message, WPARAM wparam, LPARAM lparam) {
    const MSG posted = MakeMessage(nullptr, message, wparam, lparam);
    Lock lock(kernel_lock);
    Thread* target = FindThread(thread, lock);
    return target && PostLocked(*target, posted, true, lock);
}

bool WaitUntilIdle() {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    self.queue.waits_for_idle = true;
    const WaitEnd end =
        WaitUntil(lock, self, After(kIdlePatience), [&] { return OthersAreIdle(self, lock); });
    self.queue.waits_for_idle = false;
    return end == WaitEnd::kReady;
}

namespace {

BOOL PostTo(HWND window, const MSG& message) {
    Lock lock(kernel_lock);
    const Window* target = WindowOf(window, lock);
    if (!target) return Fail(ERROR_INVALID_WINDOW_HANDLE);
    return PostLocked(*target->owner, message, false, lock) ? TRUE : Fail(ERROR_NOT_ENOUGH_QUOTA);
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

BOOL WINAPI GetMessageA(LPMSG message, HWND window, UINT first, UINT last) {
    if (FaultStrikes("GetMessageA", ERROR_INVALID_WINDOW_HANDLE)) return -1;
    const int found = message ? WaitForMessage({window, first, last}, *message) : -1;
    LeaveIfTerminated();
    if (found < 0) SetLastError(message ? ERROR_INVALID_WINDOW_HANDLE : ERROR_INVALID_PARAMETER);
    return found <= 0 ? found : message->message != WM_QUIT;
}

static BOOL PeekAt(const MessageFilter& filter, MSG& message, bool remove) {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    if (self.told_to_end) return FALSE;
    if (FindMessage(self, filter, message, remove)) return TRUE;
    BeginMessageWait(self, lock);
    return FALSE;
}

BOOL WINAPI PeekMessageA(LPMSG message, HWND window, UINT first, UINT last, UINT remove) {
    if (FaultStrikes("PeekMessageA", ERROR_INVALID_WINDOW_HANDLE)) return FALSE;
    if (!message) return Fail(ERROR_INVALID_PARAMETER);
    if (IsWindowFilter(window) && !IsWindow(window)) return Fail(ERROR_INVALID_WINDOW_HANDLE);
    const BOOL found = PeekAt({window, first, last}, *message, (remove & PM_REMOVE) != 0);
    LeaveIfTerminated();
    return found;
}

// There is no keyboard whose keys would have to become characters.
BOOL WINAPI TranslateMessage(const MSG*) {
    return FALSE;
}

LRESULT WINAPI DispatchMessageA(const MSG* message) {
    const WNDPROC procedure = message && message->hwnd ? ProcedureOf(message->hwnd) : nullptr;
    return procedure ? procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

BOOL WINAPI PostMessageA(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (FaultStrikes("PostMessageA", ERROR_NOT_ENOUGH_QUOTA)) return FALSE;
    if (!window) return PostThreadMessageA(GetCurrentThreadId(), message, wparam, lparam);
    return PostTo(window, MakeMessage(window, message, wparam, lparam));
}

BOOL WINAPI PostThreadMessageA(DWORD thread, UINT message, WPARAM wparam, LPARAM lparam) {
    if (FaultStrikes("PostThreadMessageA", ERROR_INVALID_THREAD_ID)) return FALSE;
    const MSG posted = MakeMessage(nullptr, message, wparam, lparam);
    Lock lock(kernel_lock);
    Thread* target = FindThread(thread, lock);
    if (!target) return Fail(ERROR_INVALID_THREAD_ID);
    return PostLocked(*target, posted, false, lock) ? TRUE : Fail(ERROR_NOT_ENOUGH_QUOTA);
}

void WINAPI PostQuitMessage(int code) {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    self.queue.quit_posted = true;
    self.queue.quit_code = code;
}
