// Waiting: for time to pass, for objects, for objects or messages.
#include <sched.h>

#include "platform/kernel/error.h"
#include "platform/kernel/thread.h"
#include "platform/messages/window.h"

namespace tolvane::platform {

namespace {

struct WaitRequest {
    Deadline deadline;
    bool messages;  // a message ends the wait as well
};

bool WaitsFor(const Thread& thread, const Waitable* object) {
    for (size_t i = 0; i < thread.waits_for_count; ++i) {
        if (thread.waits_for[i] == object) return true;
    }
    return false;
}

// The objects of one wait, each kept alive by it.
class WaitSet {
  public:
    WaitSet() = default;
    WaitSet(const WaitSet&) = delete;
    WaitSet& operator=(const WaitSet&) = delete;
    ~WaitSet() {
        for (size_t i = 0; i < count_; ++i)
            objects_[i]->Release();
    }

    bool Add(HANDLE handle) {
        Ref<Waitable> object = FromHandle<Waitable>(handle);
        if (!object) return false;
        objects_[count_++] = object.Detach();
        return true;
    }
    bool AddAll(DWORD count, const HANDLE* handles) {
        for (DWORD i = 0; i < count; ++i) {
            if (!Add(handles[i])) return false;
        }
        return true;
    }
    Waitable* const* objects() const { return objects_; }
    size_t count() const { return count_; }

    // The result of the wait, or WAIT_TIMEOUT while it has to go on. What was waited for is taken.
    DWORD Take(Thread& self) const {
        for (DWORD i = 0; i < count_; ++i) {
            if (objects_[i]->IsSignalled(self)) return objects_[i]->Take(self) + i;
        }
        return WAIT_TIMEOUT;
    }
    void Waited(DWORD result) const {
        if (const DWORD index = result & ~WAIT_ABANDONED_0; index < count_) objects_[index]->Waited();
    }

  private:
    Waitable* objects_[MAXIMUM_WAIT_OBJECTS];
    size_t count_ = 0;
};

DWORD WaitForSet(const WaitSet& set, const WaitRequest& request) {
    Thread& self = CurrentThread();
    DWORD result = WAIT_TIMEOUT;
    Lock lock(kernel_lock);
    self.waits_for = set.objects();
    self.waits_for_count = set.count();
    if (request.messages) BeginMessageWait(self, lock);
    const WaitEnd end = WaitUntil(lock, self, request.deadline, [&] {
        if (set.count()) result = set.Take(self);
        if (result == WAIT_TIMEOUT && request.messages && HasMessage(self, lock))
            result = static_cast<DWORD>(set.count());
        return result != WAIT_TIMEOUT;
    });
    self.waits_for_count = 0;
    lock.unlock();
    if (end == WaitEnd::kReady) set.Waited(result);
    return result;
}

DWORD WaitForHandles(DWORD count, const HANDLE* handles, const WaitRequest& request) {
    if (count > MAXIMUM_WAIT_OBJECTS || (count && !handles)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }
    WaitSet set;
    return set.AddAll(count, handles) ? WaitForSet(set, request) : WAIT_FAILED;
}

}  // namespace

void WakeWaiters(const Waitable* object, const Lock& lock) {
    for (Thread* thread = FirstThread(lock); thread; thread = thread->next) {
        if (WaitsFor(*thread, object)) thread->wake.Signal();
    }
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds) {
    if (FaultStrikes("WaitForSingleObject", ERROR_INVALID_HANDLE)) return WAIT_FAILED;
    const DWORD result = WaitForHandles(1, &object, {After(milliseconds), false});
    LeaveIfTerminated();
    return result;
}

DWORD WINAPI MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL, DWORD milliseconds,
                                       DWORD wake) {
    if (FaultStrikes("MsgWaitForMultipleObjects", ERROR_INVALID_HANDLE)) return WAIT_FAILED;
    const DWORD result = WaitForHandles(count, objects, {After(milliseconds), wake != 0});
    LeaveIfTerminated();
    return result;
}

static void SleepUntil(Deadline deadline) {
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    WaitUntil(lock, self, deadline, [] { return false; });
}

void WINAPI Sleep(DWORD milliseconds) {
    if (milliseconds == 0)
        sched_yield();
    else
        SleepUntil(After(milliseconds));
    LeaveIfTerminated();
}
