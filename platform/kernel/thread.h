// The record of a thread that uses the services, and the one way to wait. Threads that the services did not
// start get their record when they first need one.
#ifndef TOLVANE_PLATFORM_KERNEL_THREAD_H
#define TOLVANE_PLATFORM_KERNEL_THREAD_H

#include <windows.h>

#include <csetjmp>
#include <cstdint>
#include <ctime>
#include <pthread.h>

#include "platform/kernel/object.h"
#include "platform/messages/message_queue.h"

namespace tolvane::platform {

// A moment of the monotonic clock in milliseconds; kNever never comes.
using Deadline = uint64_t;
constexpr Deadline kNever = UINT64_MAX;
Deadline Now();
Deadline After(DWORD milliseconds);

// Wakes one thread, which waits with the kernel's lock.
class Condition {
  public:
    Condition();
    ~Condition() { pthread_cond_destroy(&condition_); }
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    void Signal() { pthread_cond_signal(&condition_); }
    // False when the deadline has passed.
    bool WaitUntil(Lock& lock, Deadline deadline);

  private:
    pthread_cond_t condition_;
};

struct Thread;

// An object that a thread can wait for. All members are called with the kernel's lock.
class Waitable : public Object {
  public:
    virtual bool IsSignalled(const Thread& waiter) const = 0;
    // Takes what the wait was for; WAIT_OBJECT_0 or WAIT_ABANDONED.
    virtual DWORD Take(Thread&) { return WAIT_OBJECT_0; }
    // Called without the lock after a wait for the object ended.
    virtual void Waited() {}
};

class Mutex;

struct Thread final : Waitable {
    explicit Thread(bool started_here) : ours(started_here) {}
    bool IsSignalled(const Thread&) const override { return ended; }
    void Waited() override { Reap(); }
    void HandleClosed() override;
    // Waits, once it has ended, until the system has let go of it.
    void Reap();

    const bool ours;  // started by the services, so that it can be ended by them
    DWORD id = 0;
    DWORD exit_code = STILL_ACTIVE;
    bool ended = false;
    bool handle_open = true;
    bool reaped = false;                // joined or detached
    bool told_to_end = false;           // TerminateThread has been called: leave at the next wait
    std::atomic<bool> must_end{false};  // the same, to be seen without the lock
    pthread_t system_thread{};
    std::mutex reaping;
    std::jmp_buf leave;
    unsigned (*start)(void*) = nullptr;
    void* argument = nullptr;

    Condition wake;
    Waitable* const* waits_for = nullptr;
    size_t waits_for_count = 0;
    Mutex* owned = nullptr;
    MessageQueue queue;
    Thread* next = nullptr;  // of all running threads
};

// The caller's record.
Thread& CurrentThread();

// The running thread of that id, null where there is none.
Thread* FindThread(DWORD id, const Lock&);
Thread* FirstThread(const Lock&);

// Wakes whoever waits for the object.
void WakeWaiters(const Waitable* object, const Lock&);

enum class WaitEnd { kReady, kTimeout, kTerminated };

// Waits until `ready()`, which is asked with the lock held, the deadline, or the end of the thread.
template <typename Ready>
WaitEnd WaitUntil(Lock& lock, Thread& self, Deadline deadline, Ready ready) {
    for (;;) {
        if (self.told_to_end) return WaitEnd::kTerminated;
        if (ready()) return WaitEnd::kReady;
        if (!self.wake.WaitUntil(lock, deadline)) return ready() ? WaitEnd::kReady : WaitEnd::kTimeout;
    }
}

// The last line of every service that waits: does not return in a thread that TerminateThread ends. No object
// with a destructor may be alive in the service then.
void LeaveIfTerminated();

// The same for a thread that ends itself.
[[noreturn]] void ExitThread(DWORD code);

}  // namespace tolvane::platform
#endif
