// Global memory, and whether memory can be read at all.
//
// A movable block has a handle of its own, so that a block that was freed, or is no block, is told from a
// living one. A fixed block's handle is its address. Both keep their handle in front of the bytes.
#include <cerrno>
#include <cstdlib>
#include <new>
#include <sys/uio.h>

#include "platform/kernel/error.h"
#include "platform/kernel/object.h"

namespace tolvane::platform {

namespace {

struct alignas(16) Header {
    HGLOBAL handle;
};

Header* HeaderOf(const void* bytes) {
    return static_cast<Header*>(const_cast<void*>(bytes)) - 1;
}

Header* Allocate(SIZE_T bytes, bool zero) {
    if (bytes > SIZE_MAX - sizeof(Header)) return nullptr;
    const SIZE_T size = sizeof(Header) + bytes;
    return static_cast<Header*>(zero ? std::calloc(1, size) : std::malloc(size));
}

struct MovableBlock final : Object {
    ~MovableBlock() override { std::free(header); }
    bool ClosesByHandle() const override { return false; }

    Header* header = nullptr;
    UINT locks = 0;
};

HGLOBAL AllocateMovable(SIZE_T bytes, bool zero) {
    Ref<MovableBlock> block(new (std::nothrow) MovableBlock);
    Header* header = block ? Allocate(bytes, zero) : nullptr;
    if (!header) return Fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    block->header = header;
    // The block is nobody else's yet, but a handle once made may be used at once.
    block->AddRef();
    const HGLOBAL handle = MakeHandle(Ref<Object>(block.get()));
    if (!handle) return nullptr;
    header->handle = handle;
    return handle;
}

HGLOBAL AllocateFixed(SIZE_T bytes, bool zero) {
    Header* header = Allocate(bytes, zero);
    if (!header) return Fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    return header->handle = header + 1;
}

// Handles of the table are small numbers; an address is not, and starts at a multiple of a header.
bool IsFixed(HGLOBAL memory) {
    const auto value = reinterpret_cast<uintptr_t>(memory);
    return value > UINT32_MAX && value % alignof(Header) == 0 && HeaderOf(memory)->handle == memory;
}

Ref<MovableBlock> MovableOf(HGLOBAL memory) {
    return reinterpret_cast<uintptr_t>(memory) > UINT32_MAX ? Ref<MovableBlock>()
                                                            : FromHandle<MovableBlock>(memory);
}

UINT_PTR PageSize() {
    static const auto size = static_cast<UINT_PTR>(sysconf(_SC_PAGESIZE));
    return size;
}

// A call for every 512 pages: one byte of each is read. Where reading that way is forbidden, nothing is known
// bad.
bool CanRead(UINT_PTR address, UINT_PTR last) {
    constexpr size_t kPages = 512;
    iovec pages[kPages];
    char bytes[kPages];
    while (address <= last) {
        size_t count = 0;
        for (; count < kPages && address <= last; ++count) {
            pages[count] = {reinterpret_cast<void*>(address), 1};
            const UINT_PTR next = (address & ~(PageSize() - 1)) + PageSize();
            if (next < address) last = 0;  // that was the highest page of all
            address = next;
        }
        const iovec local{bytes, count};
        const ssize_t got = process_vm_readv(getpid(), &local, 1, pages, count, 0);
        if (got < 0 && errno != EFAULT) return true;
        if (got != static_cast<ssize_t>(count)) return false;
    }
    return true;
}

BOOL IsBad(const void* memory, UINT_PTR size, bool (*can)(UINT_PTR, UINT_PTR)) {
    if (size == 0) return FALSE;
    const auto first = reinterpret_cast<UINT_PTR>(memory);
    const UINT_PTR last = first + (size - 1);
    return first < PageSize() || last < first || !can(first, last);
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

HGLOBAL WINAPI GlobalAlloc(UINT flags, SIZE_T bytes) {
    if (FaultStrikes("GlobalAlloc", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    const bool zero = (flags & GMEM_ZEROINIT) != 0;
    return flags & GMEM_MOVEABLE ? AllocateMovable(bytes, zero) : AllocateFixed(bytes, zero);
}

LPVOID WINAPI GlobalLock(HGLOBAL memory) {
    if (FaultStrikes("GlobalLock", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    if (const Ref<MovableBlock> block = MovableOf(memory)) {
        Lock lock(kernel_lock);
        ++block->locks;
        return block->header + 1;
    }
    return IsFixed(memory) ? memory : (Fail(ERROR_INVALID_HANDLE), nullptr);
}

BOOL WINAPI GlobalUnlock(HGLOBAL memory) {
    const Ref<MovableBlock> block = MovableOf(memory);
    if (!block) return IsFixed(memory) ? TRUE : Fail(ERROR_INVALID_HANDLE);
    Lock lock(kernel_lock);
    if (block->locks == 0) return Fail(ERROR_NOT_LOCKED);
    return --block->locks ? TRUE : Fail(NO_ERROR);
}

HGLOBAL WINAPI GlobalFree(HGLOBAL memory) {
    if (!memory) return nullptr;
    const bool fault = FaultStrikes("GlobalFree", ERROR_INVALID_HANDLE);
    if (MovableOf(memory)) {
        TakeHandle(memory);
        return fault ? memory : nullptr;
    }
    if (!IsFixed(memory)) return Fail(ERROR_INVALID_HANDLE), memory;
    HeaderOf(memory)->handle = nullptr;
    std::free(HeaderOf(memory));
    return fault ? memory : nullptr;
}

BOOL WINAPI IsBadReadPtr(const void* memory, UINT_PTR size) {
    return IsBad(memory, size, CanRead);
}
