// What a handle stands for. Objects are counted; the table gives each one handle, which never names another
// object by accident: a closed handle stays invalid although its place in the table is used again.
#ifndef TOLVANE_PLATFORM_KERNEL_OBJECT_H
#define TOLVANE_PLATFORM_KERNEL_OBJECT_H

#include <windows.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace tolvane::platform {

// The one lock of threads, waits, handles and messages. Held briefly, never while foreign code or a slow call
// runs.
extern std::mutex kernel_lock;
using Lock = std::unique_lock<std::mutex>;

class Object {
  public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    // Whether CloseHandle is how its handle is given back.
    virtual bool ClosesByHandle() const { return true; }
    // Called when the handle has gone, without the lock.
    virtual void HandleClosed() {}

    void AddRef() { references_.fetch_add(1, std::memory_order_relaxed); }
    void Release() {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

  private:
    std::atomic<int> references_{1};
};

template <typename T>
class Ref {
  public:
    Ref() = default;
    explicit Ref(T* owned) : object_(owned) {}
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ref() {
        if (object_) object_->Release();
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    T* Detach() { return std::exchange(object_, nullptr); }

  private:
    T* object_ = nullptr;
};

// Makes the handle of a new object, which the table then owns. Null, with the last error set, without memory.
HANDLE MakeHandle(Ref<Object> object);

// What a handle stands for; null where it stands for nothing.
Ref<Object> ObjectOf(HANDLE handle);
Object* ObjectOfLocked(HANDLE handle, const Lock&);

// Takes the object out of the table; null where the handle stands for nothing.
Ref<Object> TakeHandle(HANDLE handle);
Object* TakeHandleLocked(HANDLE handle, const Lock&);

// As ObjectOf, for objects of one kind; sets the last error when it returns null.
template <typename T>
Ref<T> FromHandle(HANDLE handle) {
    Ref<Object> object = ObjectOf(handle);
    if (T* wanted = dynamic_cast<T*>(object.get())) {
        object.Detach();
        return Ref<T>(wanted);
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return {};
}

// Calls `visit` with every object that has a handle.
void ForEachObject(const Lock&, void (*visit)(Object&, void*), void* context);

}  // namespace tolvane::platform
#endif
