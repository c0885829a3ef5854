// Open files: what CreateFileA and the RIFF services share.
#ifndef TOLVANE_PLATFORM_KERNEL_FILE_H
#define TOLVANE_PLATFORM_KERNEL_FILE_H

#include <sys/stat.h>

#include "platform/kernel/object.h"
#include "platform/kernel/unique_fd.h"

namespace tolvane::platform {

struct File final : Object {
    explicit File(UniqueFd opened) : fd(std::move(opened)) {}

    UniqueFd fd;
};

struct OpenMode {
    bool read, write;
    DWORD disposition;  // CREATE_NEW ...
    mode_t permissions = 0666;
};

struct OpenResult {
    UniqueFd fd;
    DWORD error;  // ERROR_SUCCESS, or ERROR_ALREADY_EXISTS beside an open file that was there before
};

// Opens or makes a file. Folders, pipes and sockets are refused, and nothing waits for another process.
OpenResult OpenFile(const char* name, const OpenMode& mode);

// Reads or writes as much as there is. The count done, or -1 with errno when nothing could be.
ssize_t ReadFully(int fd, void* bytes, size_t size);
// False with errno; `done` says how far it came.
bool WriteFully(int fd, const void* bytes, size_t size, size_t& done);

bool IsReadOnly(const struct stat& status);

// CopyFileA and the end of a move to another volume. An error number of the system.
DWORD CopyWholeFile(const char* from, const char* to, bool fail_if_exists);

}  // namespace tolvane::platform
#endif
