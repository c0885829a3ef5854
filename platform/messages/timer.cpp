// Timers: a WM_TIMER for whoever has nothing else to do.
#include <algorithm>
#include <new>

#include "platform/kernel/error.h"
#include "platform/messages/window.h"

namespace tolvane::platform {

namespace {

Timer** LinkOf(Thread& owner, HWND window, UINT_PTR id) {
    Timer** link = &owner.queue.timers;
    while (*link && ((*link)->window != window || (*link)->id != id))
        link = &(*link)->next;
    return link;
}

Timer* Unlink(Timer** link) {
    Timer* timer = *link;
    if (timer) *link = timer->next;
    return timer;
}

// A timer without a window gets a number that none of the thread's has.
UINT_PTR FreeId(Thread& owner) {
    UINT_PTR id = 1;
    while (*LinkOf(owner, nullptr, id))
        ++id;
    return id;
}

Thread* OwnerOf(HWND window, Thread& self, const Lock& lock) {
    if (!window) return &self;
    const Window* found = WindowOf(window, lock);
    return found && found->owner == &self ? &self : nullptr;
}

}  // namespace

Deadline NextTimer(const Thread& self, const Lock&) {
    Deadline next = kNever;
    for (const Timer* timer = self.queue.timers; timer; timer = timer->next)
        next = std::min(next, timer->due);
    return next;
}

bool FindTimer(Thread& self, const MessageFilter& filter, MSG& message, bool remove, const Lock&) {
    const Deadline now = self.queue.timers ? Now() : 0;
    for (Timer* timer = self.queue.timers; timer; timer = timer->next) {
        const MSG found{timer->window,  WM_TIMER, timer->id, reinterpret_cast<LPARAM>(timer->procedure),
                        GetTickCount(), {0, 0}};
        if (timer->due > now || !filter.Takes(found)) continue;
        if (remove) timer->due = now + timer->period;
        message = found;
        return true;
    }
    return false;
}

void DropTimers(Thread& owner, HWND window, const Lock&) {
    for (Timer** link = &owner.queue.timers; *link;) {
        if ((*link)->window == window)
            delete Unlink(link);
        else
            link = &(*link)->next;
    }
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
    if (FaultStrikes("SetTimer", ERROR_NOT_ENOUGH_MEMORY)) return 0;
    const UINT period = std::clamp(milliseconds, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
    auto* fresh = new (std::nothrow) Timer{};
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    if (!fresh || !OwnerOf(window, self, lock)) {
        delete fresh;
        return static_cast<UINT_PTR>(Fail(fresh ? ERROR_INVALID_WINDOW_HANDLE : ERROR_NOT_ENOUGH_MEMORY));
    }
    if (!window && !*LinkOf(self, nullptr, id)) id = FreeId(self);
    delete Unlink(LinkOf(self, window, id));
    *fresh = {window, id, period, Now() + period, procedure, self.queue.timers};
    self.queue.timers = fresh;
    return window && id == 0 ? 1 : id;
}

BOOL WINAPI KillTimer(HWND window, UINT_PTR id) {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    Timer* timer = Unlink(LinkOf(self, window, id));
    lock.unlock();
    delete timer;
    return timer ? TRUE : Fail(ERROR_INVALID_PARAMETER);
}
