// Buffered reading and writing at a position.
#include "platform/riff/mmio_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <utility>

#include "platform/kernel/dropped_file.h"

namespace tolvane::platform {

namespace {

// Room is reserved for files that are no longer small: a part of what they have already, which is given back.
constexpr int64_t kReserveFrom = 1 << 20;
constexpr int64_t kMostReserve = 64 << 20;
constexpr int64_t kReservePart = 2;

ssize_t ReadAt(int fd, char* bytes, size_t size, int64_t offset) {
    ssize_t got;
    do
        got = pread(fd, bytes, size, offset);
    while (got < 0 && errno == EINTR);
    return got;
}

// So small a part of what is free that nobody else lacks it: a recording next to a full disk does not end for it.
int64_t RoomToSpare(int fd) {
    struct statvfs volume;
    return fstatvfs(fd, &volume) == 0 ? static_cast<int64_t>(volume.f_bavail / 16 * volume.f_frsize) : 0;
}

}  // namespace

MmioFile::~MmioFile() {
    GiveBackReserve();
    DropBuffer();
}

// Room in large pieces is written faster than room that grows by the block, and a file that has all of its room need
// not be sent to the disk in the moment in which it takes another's place. Where none is to be had, growing may still
// do.
void MmioFile::Reserve(int64_t end) {
    if (end <= reserved_ || end < kReserveFrom) return;
    const int64_t step = std::clamp(end / kReservePart, kReserveFrom, kMostReserve);
    const int64_t from = reserved_;
    const bool done = step <= RoomToSpare(fd_.get()) &&
                      fallocate(fd_.get(), FALLOC_FL_KEEP_SIZE, from, end + step - from) == 0;
    reserved_ = done ? end + step : kLastOffset + 1;
}

bool MmioFile::GiveBackReserve() {
    struct stat status;
    if (std::exchange(reserved_, 0) == 0 || !fd_) return true;
    return fstat(fd_.get(), &status) == 0 && ftruncate(fd_.get(), status.st_size) == 0;
}

// How much of it reached the file.
LONG MmioFile::WriteAt(const char* bytes, LONG size, int64_t offset) {
    Reserve(offset + size);
    LONG done = 0;
    while (done < size) {
        const ssize_t part = pwrite(fd_.get(), bytes + done, static_cast<size_t>(size - done), offset + done);
        if (part < 0 && (errno == EINTR || (errno == ENOSPC && WaitForDroppedFiles()))) continue;
        if (part <= 0) break;
        done += static_cast<LONG>(part);
    }
    end_ = std::max(end_, offset + done);
    return done;
}

void MmioFile::DropBuffer() {
    std::free(buffer_);
    buffer_ = nullptr;
    capacity_ = filled_ = 0;
}

bool MmioFile::Fill() {
    if (!Empty()) return false;
    start_ = position_;
    const ssize_t got = ReadAt(fd_.get(), buffer_, static_cast<size_t>(RoomFrom(start_)), start_);
    filled_ = static_cast<LONG>(std::max<ssize_t>(got, 0));
    return got >= 0;
}

LONG MmioFile::ReadDirectly(char* bytes, LONG size) {
    if (!Empty()) return -1;
    return static_cast<LONG>(ReadAt(fd_.get(), bytes, static_cast<size_t>(size), position_));
}

// What the buffer holds, or one step of what it does not.
LONG MmioFile::ReadSome(char* bytes, LONG size) {
    if (!Holds(position_)) {
        if (size >= capacity_) return ReadDirectly(bytes, size);
        if (!Fill()) return -1;
    }
    const auto from = static_cast<LONG>(position_ - start_);
    const LONG count = std::clamp(filled_ - from, 0, size);
    std::memcpy(bytes, buffer_ + from, static_cast<size_t>(count));
    return count;
}

LONG MmioFile::Read(void* bytes, LONG size) {
    if (!reads() || size < 0 || (size && !bytes)) return -1;
    size = static_cast<LONG>(std::min<int64_t>(size, kLastOffset - position_));
    LONG done = 0;
    while (done < size) {
        const LONG part = ReadSome(static_cast<char*>(bytes) + done, size - done);
        if (part < 0 && done == 0) return -1;
        if (part <= 0) break;
        done += part;
        position_ += part;
    }
    return done;
}

// As much as ends on a multiple of the buffer's size.
LONG MmioFile::WriteDirectly(const char* bytes, LONG size) {
    const auto rest = capacity_ ? static_cast<LONG>((position_ + size) % capacity_) : 0;
    return Empty() ? WriteAt(bytes, size - rest, position_) : 0;
}

// Bytes not yet written stand in one piece: what neither goes on in it nor lies inside it begins the buffer
// anew.
LONG MmioFile::WriteSome(const char* bytes, LONG size) {
    const int64_t from = position_ - start_;
    const bool joins = filled_ > 0 && from >= 0 && from <= filled_ && from < RoomFrom(start_);
    if (!joins) {
        if (size >= capacity_) return WriteDirectly(bytes, size);
        if (!Empty()) return 0;
        start_ = position_;
    }
    const auto at = static_cast<LONG>(position_ - start_);
    const LONG count = std::min(size, RoomFrom(start_) - at);
    std::memcpy(buffer_ + at, bytes, static_cast<size_t>(count));
    filled_ = std::max(filled_, at + count);
    dirty_ = true;
    return count;
}

LONG MmioFile::Write(const void* bytes, LONG size) {
    if (!writes() || size < 0 || (size && !bytes) || size > kLastOffset - position_) return -1;
    LONG done = 0;
    while (done < size) {
        const LONG part = WriteSome(static_cast<const char*>(bytes) + done, size - done);
        if (part <= 0) return -1;
        done += part;
        position_ += part;
    }
    return done;
}

// Bytes that the disk did not take are given up: trying them again and again would help nobody.
bool MmioFile::Empty() {
    const bool lost = dirty_ && WriteAt(buffer_, filled_, start_) != filled_;
    dirty_ = false;
    filled_ = 0;
    return !lost;
}

LONG MmioFile::Seek(int64_t offset, int origin) {
    int64_t base = 0;
    if (origin == SEEK_CUR) {
        base = position_;
    } else if (origin == SEEK_END) {
        struct stat status;
        if (fstat(fd_.get(), &status) != 0) return -1;
        base = std::max<int64_t>(status.st_size, dirty_ ? start_ + filled_ : 0);
    } else if (origin != SEEK_SET) {
        return -1;
    }
    const int64_t target = base + offset;
    if (target < 0 || target > kLastOffset) return -1;
    position_ = target;
    return static_cast<LONG>(target);
}

MMRESULT MmioFile::SetBuffer(LONG size) {
    if (size < 0) return MMIOERR_OUTOFMEMORY;
    char* const fresh = size > 0 ? static_cast<char*>(std::malloc(static_cast<size_t>(size))) : nullptr;
    if (size > 0 && !fresh) return MMIOERR_OUTOFMEMORY;
    const bool kept = Empty();
    DropBuffer();
    buffer_ = fresh;
    capacity_ = size;
    return kept ? 0 : MMIOERR_CANNOTWRITE;
}

MMRESULT MmioFile::Flush() {
    return !dirty_ || Empty() ? 0 : MMIOERR_CANNOTWRITE;
}

MMRESULT MmioFile::Close() {
    const bool kept = Empty() && GiveBackReserve();
    return fd_.Reset() && kept ? 0 : MMIOERR_CANNOTWRITE;
}

}  // namespace tolvane::platform
