// Events and mutexes as handles, and the light locks that need no handle.
#include "platform/kernel/sync.h"

#include <new>

#include "platform/kernel/error.h"

namespace tolvane::platform {

Mutex::~Mutex() {
    Lock lock(kernel_lock);
    if (owner_) Unlink();
}

DWORD Mutex::Take(Thread& thief) {
    if (depth_++ == 0) {
        owner_ = &thief;
        next_ = std::exchange(thief.owned, this);
    }
    return std::exchange(abandoned_, false) ? WAIT_ABANDONED : WAIT_OBJECT_0;
}

bool Mutex::Give(Thread& caller, const Lock& lock) {
    if (owner_ != &caller) return false;
    if (--depth_ == 0) {
        Unlink();
        WakeWaiters(this, lock);
    }
    return true;
}

void Mutex::Unlink() {
    Mutex** link = &owner_->owned;
    while (*link != this)
        link = &(*link)->next_;
    *link = next_;
    owner_ = nullptr;
}

void Mutex::AbandonAll(Thread& owner, const Lock& lock) {
    while (Mutex* mutex = owner.owned) {
        mutex->depth_ = 0;
        mutex->abandoned_ = true;
        mutex->Unlink();
        WakeWaiters(mutex, lock);
    }
}

static HANDLE Refuse(DWORD code) {
    SetLastError(code);
    return nullptr;
}

}  // namespace tolvane::platform

using namespace tolvane::platform;

HANDLE WINAPI CreateEventA(LPSECURITY_ATTRIBUTES, BOOL manual_reset, BOOL set, LPCSTR name) {
    if (FaultStrikes("CreateEventA", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    if (name) return Refuse(ERROR_NOT_SUPPORTED);
    return MakeHandle(Ref<Object>(new (std::nothrow) Event(manual_reset != 0, set != 0)));
}

BOOL WINAPI SetEvent(HANDLE event) {
    if (FaultStrikes("SetEvent", ERROR_INVALID_HANDLE)) return FALSE;
    const Ref<Event> object = FromHandle<Event>(event);
    if (!object) return FALSE;
    Lock lock(kernel_lock);
    object->Set(lock);
    return TRUE;
}

HANDLE WINAPI CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL owned, LPCSTR name) {
    if (FaultStrikes("CreateMutexA", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    if (name) return Refuse(ERROR_NOT_SUPPORTED);
    Ref<Mutex> mutex(new (std::nothrow) Mutex);
    if (mutex && owned) {
        Thread& self = CurrentThread();
        Lock lock(kernel_lock);
        mutex->Take(self);
    }
    return MakeHandle(Ref<Object>(mutex.Detach()));
}

BOOL WINAPI ReleaseMutex(HANDLE mutex) {
    const bool fault = FaultStrikes("ReleaseMutex", ERROR_NOT_OWNER);
    const Ref<Mutex> object = FromHandle<Mutex>(mutex);
    if (!object) return FALSE;
    Thread& self = CurrentThread();
    Lock lock(kernel_lock);
    if (!object->Give(self, lock)) return Fail(ERROR_NOT_OWNER);
    return fault ? FALSE : TRUE;
}

// A zeroed pthread_rwlock_t is a free lock here, and owns nothing that would have to be freed.
static_assert(sizeof(pthread_rwlock_t) <= sizeof(SRWLOCK) && alignof(pthread_rwlock_t) <= alignof(SRWLOCK));

static pthread_rwlock_t* Native(PSRWLOCK lock) {
    return reinterpret_cast<pthread_rwlock_t*>(lock);
}

// Taking the lock twice never ends on the system that defines it; here it shows at once.
static void MustSucceed(int result) {
    if (result) __builtin_trap();
}

void WINAPI AcquireSRWLockExclusive(PSRWLOCK lock) {
    MustSucceed(pthread_rwlock_wrlock(Native(lock)));
}
void WINAPI ReleaseSRWLockExclusive(PSRWLOCK lock) {
    pthread_rwlock_unlock(Native(lock));
}
BYTE WINAPI TryAcquireSRWLockExclusive(PSRWLOCK lock) {
    return pthread_rwlock_trywrlock(Native(lock)) == 0;
}
