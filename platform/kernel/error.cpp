// The last error of each thread, and the system's numbers for what errno says.
#include "platform/kernel/error.h"

#include <cerrno>
#include <unistd.h>

#include "platform/kernel/names.h"

static thread_local DWORD last_error = ERROR_SUCCESS;

DWORD WINAPI GetLastError(void) {
    return last_error;
}
void WINAPI SetLastError(DWORD code) {
    last_error = code;
}

namespace tolvane::platform {

DWORD ErrorOfErrno(int number) {
    switch (number) {
        case 0:
            return ERROR_SUCCESS;
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ELOOP:
            return ERROR_PATH_NOT_FOUND;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case EACCES:
        case EPERM:
        case EISDIR:
        case ENXIO:
        case ETXTBSY:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EXDEV:
            return ERROR_NOT_SAME_DEVICE;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        case EPIPE:
            return ERROR_BROKEN_PIPE;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case EFBIG:
            return ERROR_FILE_TOO_LARGE;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        case EBUSY:
            return ERROR_BUSY;
        case ESPIPE:
            return ERROR_SEEK;
        case ENOSYS:
        case EOPNOTSUPP:
            return ERROR_NOT_SUPPORTED;
        default:
            return ERROR_GEN_FAILURE;
    }
}

DWORD ErrorOfName(int number, const char* name) {
    if (number != ENOENT) return ErrorOfErrno(number);
    char folder[MAX_PATH];
    FolderOf(name, folder);
    return access(folder, F_OK) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace tolvane::platform
