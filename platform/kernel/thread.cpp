// Starting, ending and finding threads, and the clock and conditions that all waits use.
//
// A thread is ended by jumping out of its wait back to where it began: unwinding by force would abort at the
// first function that lets no exception pass, and the thread that asks has to know that nothing of it runs
// any more.
#include "platform/kernel/thread.h"

#include <process.h>

#include <cerrno>
#include <climits>
#include <new>
#include <unistd.h>

#include "platform/kernel/error.h"
#include "platform/kernel/sync.h"
#include "platform/messages/window.h"

namespace tolvane::platform {

Deadline Now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<Deadline>(time.tv_sec) * 1000 + static_cast<Deadline>(time.tv_nsec) / 1000000;
}

// A part of the first millisecond has passed already, so the deadline is the next full one.
Deadline After(DWORD milliseconds) {
    return milliseconds == INFINITE ? kNever : Now() + milliseconds + (milliseconds != 0);
}

Condition::Condition() {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition_, &attributes);
    pthread_condattr_destroy(&attributes);
}

bool Condition::WaitUntil(Lock& lock, Deadline deadline) {
    pthread_mutex_t* mutex = lock.mutex()->native_handle();
    if (deadline == kNever) return pthread_cond_wait(&condition_, mutex) == 0;
    const timespec time{static_cast<time_t>(deadline / 1000), static_cast<long>(deadline % 1000) * 1000000};
    return pthread_cond_timedwait(&condition_, mutex, &time) != ETIMEDOUT;
}

namespace {

Thread* running = nullptr;
DWORD last_id = 0;
constexpr size_t kSmallestStack = 256 * 1024;

thread_local Thread* current = nullptr;
// The record of a thread that was not started here lies in its own memory: making it cannot fail.
alignas(Thread) thread_local unsigned char foreign_record[sizeof(Thread)];

void AddThread(Thread& thread, const Lock&) {
    if (++last_id == 0) ++last_id;
    thread.id = last_id;
    thread.next = std::exchange(running, &thread);
}

void RemoveThread(Thread& thread, const Lock&) {
    Thread** link = &running;
    while (*link != &thread)
        link = &(*link)->next;
    *link = thread.next;
}

// Everything that ends with a thread. From here on nobody finds it but through its handle.
void EndThread(Thread& thread) {
    DestroyWindowsOf(thread);
    Lock lock(kernel_lock);
    RemoveThread(thread, lock);
    Mutex::AbandonAll(thread, lock);
    thread.ended = true;
    thread.queue.dealing_with_device = false;
    thread.queue.device_messages = 0;
    WakeIdleWatchers(lock);
    WakeWaiters(&thread, lock);
    if (thread.ours && !thread.handle_open) {
        thread.reaped = true;
        pthread_detach(pthread_self());
    }
}

void ForeignThreadEnded(void* record) {
    auto* thread = static_cast<Thread*>(record);
    EndThread(*thread);
    current = nullptr;
    thread->~Thread();
}

Thread& MakeForeignRecord() {
    static const pthread_key_t key = [] {
        pthread_key_t made;
        pthread_key_create(&made, ForeignThreadEnded);
        return made;
    }();
    auto* thread = new (foreign_record) Thread(false);
    thread->queue.Prepare();  // without memory the first post to it fails
    pthread_setspecific(key, thread);
    current = thread;
    Lock lock(kernel_lock);
    AddThread(*thread, lock);
    return *thread;
}

void RunUntilLeft(Thread& self) {
    if (setjmp(self.leave)) return;
    const unsigned code = self.start(self.argument);
    Lock lock(kernel_lock);
    if (!self.told_to_end) self.exit_code = code;
}

void* RunThread(void* record) {
    Ref<Thread> self(static_cast<Thread*>(record));
    current = self.get();
    SetLastError(ERROR_SUCCESS);  // touches this thread's storage before a loader's lock can be in the way
    RunUntilLeft(*self);
    EndThread(*self);
    current = nullptr;
    return nullptr;
}

bool StartSystemThread(Thread& thread, size_t stack) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    if (stack)
        pthread_attr_setstacksize(&attributes,
                                  stack < kSmallestStack ? kSmallestStack : (stack + 4095) & ~size_t{4095});
    thread.AddRef();  // the running thread's own
    const int result = pthread_create(&thread.system_thread, &attributes, RunThread, &thread);
    pthread_attr_destroy(&attributes);
    if (result == 0) return true;
    thread.Release();
    return false;
}

struct NewThread {
    unsigned (*start)(void*);
    void* argument;
    size_t stack;
    DWORD flags;
};

void TakeBack(Thread& thread, HANDLE handle) {
    {
        Lock lock(kernel_lock);
        RemoveThread(thread, lock);
        thread.reaped = true;
    }
    TakeHandle(handle);
}

HANDLE StartThread(const NewThread& wanted, DWORD* id) {
    if (!wanted.start || (wanted.flags & ~STACK_SIZE_PARAM_IS_A_RESERVATION)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    Ref<Thread> thread(new (std::nothrow) Thread(true));
    if (!thread || !thread->queue.Prepare()) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    thread->start = wanted.start;
    thread->argument = wanted.argument;
    thread->AddRef();  // the table's
    const HANDLE handle = MakeHandle(Ref<Object>(thread.get()));
    if (!handle) return nullptr;
    {
        Lock lock(kernel_lock);
        AddThread(*thread, lock);
        if (id) *id = thread->id;  // before the thread can look at it
    }
    if (StartSystemThread(*thread, wanted.stack)) return handle;
    TakeBack(*thread, handle);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

void EndTermination(Thread& thread, DWORD code) {
    Lock lock(kernel_lock);
    if (thread.ended) return;
    if (!thread.told_to_end) thread.exit_code = code;
    thread.told_to_end = true;
    thread.must_end = true;
    thread.wake.Signal();
}

}  // namespace

void Thread::HandleClosed() {
    Lock lock(kernel_lock);
    handle_open = false;
    const bool gone = ended;
    lock.unlock();
    if (gone) Reap();
}

void Thread::Reap() {
    if (this == current) return;
    std::lock_guard guard(reaping);
    {
        Lock lock(kernel_lock);
        if (!ended || reaped) return;
        reaped = true;
    }
    pthread_join(system_thread, nullptr);
}

Thread& CurrentThread() {
    return current ? *current : MakeForeignRecord();
}

Thread* FirstThread(const Lock&) {
    return running;
}

Thread* FindThread(DWORD id, const Lock&) {
    Thread* thread = running;
    while (thread && thread->id != id)
        thread = thread->next;
    return thread;
}

void LeaveIfTerminated() {
    if (current && current->must_end.load(std::memory_order_relaxed)) std::longjmp(current->leave, 1);
}

void ExitThread(DWORD code) {
    Thread& self = CurrentThread();
    if (!self.ours) pthread_exit(nullptr);
    EndTermination(self, code);
    std::longjmp(self.leave, 1);
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

uintptr_t _beginthreadex(void*, unsigned stack, unsigned(__stdcall* start)(void*), void* argument,
                         unsigned flags, unsigned* id) {
    if (FaultStrikes("_beginthreadex", ERROR_NOT_ENOUGH_MEMORY)) {
        errno = EAGAIN;
        return 0;
    }
    const HANDLE thread = StartThread({start, argument, stack, flags}, id);
    if (!thread) errno = GetLastError() == ERROR_INVALID_PARAMETER ? EINVAL : EAGAIN;
    return reinterpret_cast<uintptr_t>(thread);
}

HANDLE WINAPI CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T stack, LPTHREAD_START_ROUTINE start, LPVOID argument,
                           DWORD flags, LPDWORD id) {
    if (FaultStrikes("CreateThread", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    return StartThread({start, argument, stack, flags}, id);
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD code) {
    const Ref<Thread> object = FromHandle<Thread>(thread);
    if (!object || !code) return object ? Fail(ERROR_INVALID_PARAMETER) : FALSE;
    Lock lock(kernel_lock);
    *code = object->ended ? object->exit_code : STILL_ACTIVE;
    return TRUE;
}

static void TerminateOther(Thread& thread, DWORD code) {
    EndTermination(thread, code);
    Waitable* const objects[] = {&thread};
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    self.waits_for = objects;
    self.waits_for_count = 1;
    while (!thread.ended)
        self.wake.WaitUntil(lock, kNever);
    self.waits_for_count = 0;
    lock.unlock();
    thread.Reap();
}

BOOL WINAPI TerminateThread(HANDLE thread, DWORD code) {
    const bool fault = FaultStrikes("TerminateThread", ERROR_ACCESS_DENIED);
    bool own = false;
    {
        const Ref<Thread> object = FromHandle<Thread>(thread);
        if (!object) return FALSE;
        own = object.get() == &CurrentThread();
        if (!own) TerminateOther(*object, code);
    }
    if (own) ExitThread(code);
    return fault ? FALSE : TRUE;
}

DWORD WINAPI GetCurrentThreadId(void) {
    return CurrentThread().id;
}
DWORD WINAPI GetCurrentProcessId(void) {
    return static_cast<DWORD>(getpid());
}
