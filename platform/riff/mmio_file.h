// An open file of the RIFF services: a descriptor, a position and a buffer.
//
// Positions are signed 32-bit numbers for the callers, so a file is never read or written beyond 2 GiB. The
// buffer holds either bytes read ahead or bytes not yet written; transfers larger than it go past it.
#ifndef TOLVANE_PLATFORM_RIFF_MMIO_FILE_H
#define TOLVANE_PLATFORM_RIFF_MMIO_FILE_H

#include <mmiscapi.h>

#include <cstdint>

#include "platform/kernel/object.h"
#include "platform/kernel/unique_fd.h"

namespace tolvane::platform {

constexpr int64_t kLastOffset = INT32_MAX;

class MmioFile final : public Object {
  public:
    MmioFile(UniqueFd fd, DWORD flags) : fd_(std::move(fd)), flags_(flags) {}
    ~MmioFile() override;
    bool ClosesByHandle() const override { return false; }

    // Counts of bytes done, or -1. A read at the end gives fewer.
    LONG Read(void* bytes, LONG size);
    LONG Write(const void* bytes, LONG size);
    // The new position, or -1. The end lies where the file ends with all that was written.
    LONG Seek(int64_t offset, int origin);
    LONG position() const { return static_cast<LONG>(position_); }

    // A size of 0 takes the buffer away.
    MMRESULT SetBuffer(LONG size);
    // Writes what is not yet written.
    MMRESULT Flush();
    MMRESULT Close();

  private:
    bool reads() const { return (flags_ & MMIO_RWMODE) != MMIO_WRITE; }
    bool writes() const { return (flags_ & MMIO_RWMODE) != MMIO_READ; }
    // Room in a buffer that begins there: it ends on a multiple of its size, because that is where files are read
    // and written fastest.
    LONG RoomFrom(int64_t offset) const { return capacity_ - static_cast<LONG>(offset % capacity_); }
    bool Holds(int64_t offset) const { return offset >= start_ && offset < start_ + filled_; }
    LONG ReadSome(char* bytes, LONG size);
    LONG ReadDirectly(char* bytes, LONG size);
    bool Fill();
    LONG WriteSome(const char* bytes, LONG size);
    LONG WriteDirectly(const char* bytes, LONG size);
    bool Empty();
    void DropBuffer();
    LONG WriteAt(const char* bytes, LONG size, int64_t offset);
    void Reserve(int64_t end);
    bool GiveBackReserve();

    UniqueFd fd_;
    const DWORD flags_;
    int64_t position_ = 0;
    char* buffer_ = nullptr;
    LONG capacity_ = 0;
    int64_t start_ = 0;  // where in the file the buffer's first byte lies
    LONG filled_ = 0;
    bool dirty_ = false;
    int64_t reserved_ = 0;  // room on the disk up to there was asked for
    int64_t end_ = 0;       // of what was written
};

}  // namespace tolvane::platform
#endif
