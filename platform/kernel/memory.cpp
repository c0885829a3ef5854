// Global memory, and whether memory can be read or written at all.
//
// A movable block has a handle of its own, so that a block that was freed, or is no block, is told from a
// living one. A fixed block's handle is its address. Both keep their size in front of the bytes.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <linux/futex.h>
#include <new>
#include <sys/syscall.h>
#include <sys/uio.h>

#include "platform/kernel/error.h"
#include "platform/kernel/object.h"

namespace tolvane::platform {

namespace {

struct alignas(16) Header {
    SIZE_T size;
    HGLOBAL handle;
};

Header* HeaderOf(const void* bytes) {
    return static_cast<Header*>(const_cast<void*>(bytes)) - 1;
}

Header* Resize(Header* old, SIZE_T bytes, bool zero) {
    if (bytes > SIZE_MAX - sizeof(Header)) return nullptr;
    const SIZE_T before = old ? old->size : 0;
    auto* header = static_cast<Header*>(std::realloc(old, sizeof(Header) + bytes));
    if (!header) return nullptr;
    header->size = bytes;
    if (zero && bytes > before) std::memset(reinterpret_cast<char*>(header + 1) + before, 0, bytes - before);
    return header;
}

struct MovableBlock final : Object {
    ~MovableBlock() override { std::free(header); }
    bool ClosesByHandle() const override { return false; }

    Header* header = nullptr;
    UINT locks = 0;
};

HGLOBAL AllocateMovable(SIZE_T bytes, bool zero) {
    Ref<MovableBlock> block(new (std::nothrow) MovableBlock);
    Header* header = block ? Resize(nullptr, bytes, zero) : nullptr;
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
    Header* header = Resize(nullptr, bytes, zero);
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

HGLOBAL ReallocateMovable(MovableBlock& block, HGLOBAL memory, SIZE_T bytes, bool zero) {
    Lock lock(kernel_lock);
    Header* header = block.locks ? nullptr : Resize(block.header, bytes, zero);
    if (!header) return Fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    block.header = header;
    return memory;
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

// The kernel adds 0 to a word of the page in one step: what other threads write there meanwhile is safe.
bool CanWritePage(UINT_PTR address) {
    uint32_t unrelated = 0;
    const auto word = reinterpret_cast<uint32_t*>(address & ~UINT_PTR{3});
    constexpr auto kAddNothing = FUTEX_OP(FUTEX_OP_ADD, 0, FUTEX_OP_CMP_EQ, 0);
    const long result =
        syscall(SYS_futex, &unrelated, FUTEX_WAKE_OP | FUTEX_PRIVATE_FLAG, 0, nullptr, word, kAddNothing);
    return result >= 0 || errno != EFAULT;
}

bool CanWrite(UINT_PTR address, UINT_PTR last) {
    for (;;) {
        if (!CanWritePage(address)) return false;
        const UINT_PTR next = (address & ~(PageSize() - 1)) + PageSize();
        if (next > last || next < address) return true;
        address = next;
    }
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

HGLOBAL WINAPI GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags) {
    if (FaultStrikes("GlobalReAlloc", ERROR_NOT_ENOUGH_MEMORY)) return nullptr;
    const bool zero = (flags & GMEM_ZEROINIT) != 0;
    if (const Ref<MovableBlock> block = MovableOf(memory))
        return flags & GMEM_MODIFY ? memory : ReallocateMovable(*block, memory, bytes, zero);
    if (!IsFixed(memory)) return Fail(ERROR_INVALID_HANDLE), nullptr;
    if (flags & GMEM_MODIFY) return memory;
    Header* header = Resize(HeaderOf(memory), bytes, zero);
    if (!header) return Fail(ERROR_NOT_ENOUGH_MEMORY), nullptr;
    return header->handle = header + 1;
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

SIZE_T WINAPI GlobalSize(HGLOBAL memory) {
    if (const Ref<MovableBlock> block = MovableOf(memory)) {
        Lock lock(kernel_lock);
        return block->header->size;
    }
    return IsFixed(memory) ? HeaderOf(memory)->size : static_cast<SIZE_T>(Fail(ERROR_INVALID_HANDLE));
}

HGLOBAL WINAPI GlobalHandle(LPCVOID memory) {
    return memory ? HeaderOf(memory)->handle : (Fail(ERROR_INVALID_HANDLE), nullptr);
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
BOOL WINAPI IsBadWritePtr(LPVOID memory, UINT_PTR size) {
    return IsBad(memory, size, CanWrite);
}
