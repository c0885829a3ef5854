// Opening, reading and writing files, shared by the services that do so.
#include <cerrno>
#include <fcntl.h>

#include "platform/kernel/dropped_file.h"
#include "platform/kernel/error.h"
#include "platform/kernel/file.h"
#include "platform/kernel/names.h"

namespace tolvane::platform {

namespace {

int AccessFlags(const OpenMode& mode) {
    if (mode.write) return mode.read ? O_RDWR : O_WRONLY;
    return mode.read ? O_RDONLY : O_PATH;
}

int OpenRetrying(const char* name, int flags, mode_t permissions) {
    int fd;
    do
        fd = open(name, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, permissions);
    while (fd < 0 && errno == EINTR);
    return fd;
}

struct Opened {
    int fd;
    bool existed;
};

// Tells a file that was there from one that is made now, although another process may be quicker at either.
Opened OpenOrMake(const char* name, const OpenMode& mode) {
    const int flags = AccessFlags(mode);
    const bool may_make = mode.disposition != OPEN_EXISTING;
    const bool may_exist = mode.disposition != CREATE_NEW;
    for (int attempt = 0;; ++attempt) {
        if (may_make) {
            const int fd =
                OpenRetrying(name, (mode.write ? flags : O_RDONLY) | O_CREAT | O_EXCL, mode.permissions);
            if (fd >= 0 || errno != EEXIST || !may_exist) return {fd, false};
        }
        const int fd = OpenRetrying(name, flags, 0);
        if (fd >= 0 || errno != ENOENT || !may_make || attempt == 8) return {fd, true};
    }
}

DWORD CheckKind(int fd, const OpenMode& mode) {
    struct stat status;
    if (fstat(fd, &status) != 0) return ErrorOfErrno(errno);
    if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode) && !S_ISBLK(status.st_mode))
        return ERROR_ACCESS_DENIED;
    return mode.write && IsReadOnly(status) ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

DWORD Settle(const Opened& opened, const OpenMode& mode) {
    if (!opened.existed) return ERROR_SUCCESS;
    if (const DWORD refused = CheckKind(opened.fd, mode)) return refused;
    struct stat status;
    // What is empty is left alone: some file systems send a file to the disk, and wait, when it is closed after that.
    if (mode.disposition == CREATE_ALWAYS && fstat(opened.fd, &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_size != 0 && ftruncate(opened.fd, 0) != 0)
        return ErrorOfErrno(errno);
    return ERROR_SUCCESS;
}

}  // namespace

// Whoever may do everything meets no permission that stops writing: the bits themselves are looked at.
bool IsReadOnly(const struct stat& status) {
    return (status.st_mode & 0222) == 0;
}

OpenResult OpenFile(const char* name, const OpenMode& mode) {
    if (const DWORD wrong = CheckName(name)) return {UniqueFd(), wrong};
    const Opened opened = OpenOrMake(name, mode);
    if (opened.fd < 0) {
        const int reason = errno;
        const bool exists = reason == EEXIST && mode.disposition == CREATE_NEW;
        return {UniqueFd(), exists ? ERROR_FILE_EXISTS : ErrorOfName(reason, name)};
    }
    UniqueFd fd(opened.fd);
    if (const DWORD refused = Settle(opened, mode)) return {UniqueFd(), refused};
    // Only the opening must not wait; a terminal's reads and writes may.
    if (const int flags = fcntl(fd.get(), F_GETFL); flags >= 0 && !(flags & O_PATH))
        fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK);
    const bool tells =
        opened.existed && (mode.disposition == CREATE_ALWAYS || mode.disposition == OPEN_ALWAYS);
    return {std::move(fd), tells ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS};
}

ssize_t ReadFully(int fd, void* bytes, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t part = read(fd, static_cast<char*>(bytes) + done, size - done);
        if (part < 0 && errno == EINTR) continue;
        if (part < 0 && done == 0) return -1;
        if (part <= 0) break;
        done += static_cast<size_t>(part);
    }
    return static_cast<ssize_t>(done);
}

bool WriteFully(int fd, const void* bytes, size_t size, size_t& done) {
    done = 0;
    while (done < size) {
        const ssize_t part = write(fd, static_cast<const char*>(bytes) + done, size - done);
        if (part < 0 && (errno == EINTR || (errno == ENOSPC && WaitForDroppedFiles()))) continue;
        if (part < 0) return false;
        done += static_cast<size_t>(part);
    }
    return true;
}

}  // namespace tolvane::platform
