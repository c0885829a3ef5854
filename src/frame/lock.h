// Locks: one that guards a record of ours, and the holder of a system mutex.
#pragma once

#include <windows.h>

namespace tolvane {

// Needs no set-up and leaves nothing behind; not recursive.
struct Lock {
    SRWLOCK srw = SRWLOCK_INIT;
};

class LockGuard {
  public:
    explicit LockGuard(Lock& lock) : lock_(&lock) { AcquireSRWLockExclusive(&lock.srw); }
    ~LockGuard() { ReleaseSRWLockExclusive(&lock_->srw); }
    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

  private:
    Lock* lock_;
};

// Holds the lock only if it was free.
class TryLockGuard {
  public:
    explicit TryLockGuard(Lock& lock) : lock_(TryAcquireSRWLockExclusive(&lock.srw) ? &lock : nullptr) {}
    ~TryLockGuard() {
        if (lock_) ReleaseSRWLockExclusive(&lock_->srw);
    }
    TryLockGuard(const TryLockGuard&) = delete;
    TryLockGuard& operator=(const TryLockGuard&) = delete;
    explicit operator bool() const { return lock_ != nullptr; }

  private:
    Lock* lock_;
};

// Holds a system mutex; with a wait of 0 only if it was free.
class MutexGuard {
  public:
    explicit MutexGuard(HANDLE mutex, DWORD wait = INFINITE)
        : mutex_(mutex && Waited(WaitForSingleObject(mutex, wait)) ? mutex : nullptr) {}
    ~MutexGuard() {
        if (mutex_) ReleaseMutex(mutex_);
    }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    explicit operator bool() const { return mutex_ != nullptr; }

  private:
    static bool Waited(DWORD result) { return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED; }
    HANDLE mutex_;
};

}  // namespace tolvane
