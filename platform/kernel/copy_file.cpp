// Copying a whole file: by sharing its blocks where the file system can, otherwise in pieces, which is faster than the
// kernel's own copying. A copy that fails leaves no half of itself behind. What stood in the destination is written
// over and then cut: its pages in memory serve again.
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <linux/fs.h>
#include <memory>
#include <new>
#include <sys/ioctl.h>

#include "platform/kernel/error.h"
#include "platform/kernel/file.h"
#include "platform/kernel/names.h"

namespace tolvane::platform {

namespace {

constexpr size_t kPiece = 256 * 1024;

bool IsSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Looked at before the destination is opened, because opening empties it.
DWORD CheckDestination(const struct stat& source, const char* to) {
    struct stat status;
    if (stat(to, &status) != 0) return ERROR_SUCCESS;
    if (IsSameFile(source, status)) return ERROR_SHARING_VIOLATION;
    // A device is no place for a copy: a copy that fails is deleted.
    return IsReadOnly(status) || !S_ISREG(status.st_mode) ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

// Where the file system can, both files have the same blocks until one of them is written.
bool ShareBlocks(int from, int to) {
    return ioctl(to, FICLONE, from) == 0;
}

// Room in one piece is written faster than room that grows; a file with holes keeps them out of the reckoning.
void Reserve(int to, const struct stat& source) {
    if (source.st_blocks * 512 >= source.st_size && source.st_size > 0) fallocate(to, 0, 0, source.st_size);
}

DWORD CopyInPieces(int from, int to) {
    const std::unique_ptr<char, decltype(&std::free)> piece(static_cast<char*>(std::malloc(kPiece)),
                                                            std::free);
    if (!piece) return ERROR_NOT_ENOUGH_MEMORY;
    for (;;) {
        const ssize_t got = ReadFully(from, piece.get(), kPiece);
        if (got <= 0) return got == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
        size_t done;
        if (!WriteFully(to, piece.get(), static_cast<size_t>(got), done)) return ErrorOfErrno(errno);
    }
}

// A copy keeps the time of the last write and whether it may be written.
DWORD CopyProperties(int to, const struct stat& source) {
    const timespec times[2] = {{0, UTIME_OMIT}, source.st_mtim};
    if (futimens(to, times) != 0) return ErrorOfErrno(errno);
    struct stat status;
    if (IsReadOnly(source) && fstat(to, &status) == 0) fchmod(to, status.st_mode & 07555);
    return ERROR_SUCCESS;
}

DWORD CutBehind(int to, off_t end) {
    struct stat status;
    if (end < 0 || fstat(to, &status) != 0) return ErrorOfErrno(errno);
    return status.st_size > end && ftruncate(to, end) != 0 ? ErrorOfErrno(errno) : ERROR_SUCCESS;
}

DWORD CopyContents(int from, UniqueFd& to, const struct stat& source) {
    const bool shared = ShareBlocks(from, to.get());
    if (!shared) Reserve(to.get(), source);
    DWORD error = shared ? ERROR_SUCCESS : CopyInPieces(from, to.get());
    const off_t end = shared ? source.st_size : lseek(to.get(), 0, SEEK_CUR);
    if (error == ERROR_SUCCESS) error = CutBehind(to.get(), end);
    if (error == ERROR_SUCCESS) error = CopyProperties(to.get(), source);
    return !to.Reset() && error == ERROR_SUCCESS ? ErrorOfErrno(errno) : error;
}

}  // namespace

DWORD CopyWholeFile(const char* from, const char* to, bool fail_if_exists) {
    const OpenResult source = OpenFile(from, {true, false, OPEN_EXISTING});
    if (!source.fd) return source.error;
    if (const DWORD wrong = CheckName(to)) return wrong;
    struct stat status;
    if (fstat(source.fd.get(), &status) != 0) return ErrorOfErrno(errno);
    if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
    if (!fail_if_exists)
        if (const DWORD refused = CheckDestination(status, to)) return refused;
    OpenResult copy = OpenFile(to, {true, true, fail_if_exists ? CREATE_NEW : OPEN_ALWAYS});
    if (!copy.fd) return copy.error;
    const DWORD error = CopyContents(source.fd.get(), copy.fd, status);
    if (error != ERROR_SUCCESS) unlink(to);
    return error;
}

}  // namespace tolvane::platform
