// File handles: positions, the end, kinds and the identity record.
#include "platform/kernel/file.h"

#include <cerrno>
#include <new>
#include <fcntl.h>
#include <sys/sysmacros.h>

#include "platform/kernel/attributes.h"
#include "platform/kernel/error.h"

namespace tolvane::platform {

namespace {

HANDLE Refuse(DWORD code) {
    SetLastError(code);
    return INVALID_HANDLE_VALUE;
}

LONGLONG Seek(int fd, LONGLONG distance, DWORD method) {
    static_assert(FILE_BEGIN == SEEK_SET && FILE_CURRENT == SEEK_CUR && FILE_END == SEEK_END);
    if (method > FILE_END) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const off_t position = lseek(fd, distance, static_cast<int>(method));
    if (position < 0) SetLastError(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorOfErrno(errno));
    return position;
}

DWORD Serial(dev_t device) {
    return (major(device) << 20) ^ minor(device);
}

FILETIME Join(ULONGLONG value) {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

// Counted in tenths of a microsecond since the year 1601.
FILETIME FileTimeOf(LONGLONG seconds, LONGLONG nanoseconds) {
    constexpr LONGLONG kSecondsTo1970 = 11644473600;
    return Join(static_cast<ULONGLONG>((seconds + kSecondsTo1970) * 10000000 + nanoseconds / 100));
}

FILETIME CreationTime(int fd, const FILETIME& otherwise) {
    struct statx status;
    if (statx(fd, "", AT_EMPTY_PATH, STATX_BTIME, &status) != 0 || !(status.stx_mask & STATX_BTIME))
        return otherwise;
    return FileTimeOf(status.stx_btime.tv_sec, status.stx_btime.tv_nsec);
}

// Reading a file must not change its record, so the time of the last access is, as where the system keeps
// none, that of the last write.
BY_HANDLE_FILE_INFORMATION RecordOf(int fd, const struct stat& status) {
    const FILETIME written = FileTimeOf(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    const auto size = static_cast<ULONGLONG>(status.st_size);
    return {AttributesOf(status),
            CreationTime(fd, written),
            written,
            written,
            Serial(status.st_dev),
            static_cast<DWORD>(size >> 32),
            static_cast<DWORD>(size),
            static_cast<DWORD>(status.st_nlink),
            static_cast<DWORD>(status.st_ino >> 32),
            static_cast<DWORD>(status.st_ino)};
}

bool StatusOf(HANDLE file, struct stat& status, Ref<File>& object) {
    object = FromHandle<File>(file);
    if (!object) return false;
    if (fstat(object->fd.get(), &status) == 0) return true;
    SetLastError(ErrorOfErrno(errno));
    return false;
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

HANDLE WINAPI CreateFileA(LPCSTR name, DWORD access, DWORD, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD,
                          HANDLE) {
    if (FaultStrikes("CreateFileA", ERROR_ACCESS_DENIED)) return INVALID_HANDLE_VALUE;
    if (disposition < CREATE_NEW || disposition > OPEN_ALWAYS) return Refuse(ERROR_INVALID_PARAMETER);
    const OpenMode mode{(access & GENERIC_READ) != 0, (access & GENERIC_WRITE) != 0, disposition};
    OpenResult opened = OpenFile(name, mode);
    if (!opened.fd) return Refuse(opened.error);
    const HANDLE handle = MakeHandle(Ref<Object>(new (std::nothrow) File(std::move(opened.fd))));
    if (!handle) return INVALID_HANDLE_VALUE;
    SetLastError(opened.error);
    return handle;
}

// Without room for the upper half neither distance nor result may need one; a refused move moves nothing.
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, PLONG distance_high, DWORD method) {
    if (FaultStrikes("SetFilePointer", ERROR_SEEK)) return INVALID_SET_FILE_POINTER;
    const Ref<File> object = FromHandle<File>(file);
    if (!object) return INVALID_SET_FILE_POINTER;
    LARGE_INTEGER wanted;
    wanted.QuadPart = distance;
    if (distance_high) {
        wanted.LowPart = static_cast<DWORD>(distance);
        wanted.HighPart = *distance_high;
    }
    const LONGLONG before = lseek(object->fd.get(), 0, SEEK_CUR);
    const LONGLONG reached = Seek(object->fd.get(), wanted.QuadPart, method);
    if (reached < 0) return INVALID_SET_FILE_POINTER;
    if (!distance_high && reached > UINT32_MAX) {
        lseek(object->fd.get(), before, SEEK_SET);
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    if (distance_high) *distance_high = static_cast<LONG>(reached >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(reached);
}

BOOL WINAPI SetEndOfFile(HANDLE file) {
    if (FaultStrikes("SetEndOfFile", ERROR_DISK_FULL)) return FALSE;
    const Ref<File> object = FromHandle<File>(file);
    if (!object) return FALSE;
    const off_t end = lseek(object->fd.get(), 0, SEEK_CUR);
    return end >= 0 && ftruncate(object->fd.get(), end) == 0 ? TRUE : Fail(ErrorOfErrno(errno));
}

DWORD WINAPI GetFileType(HANDLE file) {
    if (FaultStrikes("GetFileType", ERROR_INVALID_HANDLE)) return FILE_TYPE_UNKNOWN;
    struct stat status;
    Ref<File> object;
    if (!StatusOf(file, status, object)) return FILE_TYPE_UNKNOWN;
    SetLastError(NO_ERROR);
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) return FILE_TYPE_PIPE;
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode) ? FILE_TYPE_DISK : FILE_TYPE_CHAR;
}

BOOL WINAPI GetFileInformationByHandle(HANDLE file, LPBY_HANDLE_FILE_INFORMATION information) {
    if (FaultStrikes("GetFileInformationByHandle", ERROR_INVALID_HANDLE)) return FALSE;
    struct stat status;
    Ref<File> object;
    if (!StatusOf(file, status, object)) return FALSE;
    if (!information) return Fail(ERROR_INVALID_PARAMETER);
    *information = RecordOf(object->fd.get(), status);
    return TRUE;
}
