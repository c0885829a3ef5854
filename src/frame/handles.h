// Owners of the system's handles: each handle is wrapped once, and what a failing step had acquired goes with
// it.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include <utility>

namespace tolvane {

// Owns a handle; `Traits` names its type, the value that means none, and how it is closed.
template <class Traits>
class UniqueHandle {
  public:
    using Handle = typename Traits::Handle;

    constexpr UniqueHandle() = default;
    explicit UniqueHandle(Handle handle) : handle_(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }
    ~UniqueHandle() { Reset(); }

    Handle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != Traits::None(); }
    Handle Release() { return std::exchange(handle_, Traits::None()); }
    void Reset(Handle handle = Traits::None()) {
        Handle old = std::exchange(handle_, handle);
        if (old != Traits::None()) Traits::Close(old);
    }

  private:
    Handle handle_ = Traits::None();
};

struct KernelTraits {
    using Handle = HANDLE;
    static constexpr HANDLE None() { return nullptr; }
    static void Close(HANDLE handle) { CloseHandle(handle); }
};
using KernelHandle = UniqueHandle<KernelTraits>;

// A file of CreateFileA, whose failure value is not null.
struct FileTraits {
    using Handle = HANDLE;
    static HANDLE None() { return INVALID_HANDLE_VALUE; }
    static void Close(HANDLE handle) { CloseHandle(handle); }
};
using FileHandle = UniqueHandle<FileTraits>;

struct ModuleTraits {
    using Handle = HMODULE;
    static constexpr HMODULE None() { return nullptr; }
    static void Close(HMODULE module) { FreeLibrary(module); }
};
using Module = UniqueHandle<ModuleTraits>;

struct MmioTraits {
    using Handle = HMMIO;
    static constexpr HMMIO None() { return nullptr; }
    static void Close(HMMIO file) { mmioClose(file, 0); }
};
using MmioFile = UniqueHandle<MmioTraits>;

// Movable global memory, locked while it lives: what devices and codecs are given.
class GlobalBlock {
  public:
    constexpr GlobalBlock() = default;
    GlobalBlock(GlobalBlock&& other) noexcept
        : memory_(std::exchange(other.memory_, nullptr)), data_(std::exchange(other.data_, nullptr)) {}
    GlobalBlock& operator=(GlobalBlock&& other) noexcept {
        std::swap(memory_, other.memory_);
        std::swap(data_, other.data_);
        return *this;
    }
    ~GlobalBlock() { Free(); }

    enum class Outcome { kDone, kNoMemory, kNotLocked };
    Outcome Allocate(SIZE_T size, UINT flags) {
        Free();
        memory_ = GlobalAlloc(flags, size);
        if (!memory_) return Outcome::kNoMemory;
        data_ = GlobalLock(memory_);
        if (data_) return Outcome::kDone;
        Free();
        return Outcome::kNotLocked;
    }
    void Free() {
        if (data_) GlobalUnlock(memory_);
        if (memory_) GlobalFree(memory_);
        memory_ = nullptr;
        data_ = nullptr;
    }
    void* Data() const { return data_; }

  private:
    HGLOBAL memory_ = nullptr;
    void* data_ = nullptr;
};

}  // namespace tolvane
