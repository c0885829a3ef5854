// Services that work on names: attributes, deleting, moving, full names.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "platform/kernel/attributes.h"
#include "platform/kernel/dropped_file.h"
#include "platform/kernel/error.h"
#include "platform/kernel/file.h"
#include "platform/kernel/names.h"

namespace tolvane::platform {

DWORD CheckName(const char* name) {
    if (!name || !*name) return ERROR_PATH_NOT_FOUND;
    return std::strlen(name) < MAX_PATH ? ERROR_SUCCESS : ERROR_FILENAME_EXCED_RANGE;
}

void FolderOf(const char* name, char (&folder)[MAX_PATH]) {
    std::strcpy(folder, name);
    char* slash = std::strrchr(folder, '/');
    if (!slash)
        std::strcpy(folder, ".");
    else
        slash[slash == folder] = 0;
}

DWORD AttributesOf(const struct stat& status) {
    const DWORD read_only = IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0;
    if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY | read_only;
    return read_only | FILE_ATTRIBUTE_ARCHIVE;
}

namespace {

DWORD StatusOf(const char* name, struct stat& status) {
    if (const DWORD wrong = CheckName(name)) return wrong;
    return stat(name, &status) == 0 ? ERROR_SUCCESS : ErrorOfName(errno, name);
}

DWORD Remove(const char* name) {
    if (const DWORD wrong = CheckName(name)) return wrong;
    struct stat status;
    if (lstat(name, &status) != 0) return ErrorOfName(errno, name);
    if (S_ISDIR(status.st_mode) || (S_ISREG(status.st_mode) && IsReadOnly(status)))
        return ERROR_ACCESS_DENIED;
    const DroppedFile dropped(name);
    return unlink(name) == 0 ? ERROR_SUCCESS : ErrorOfName(errno, name);
}

DWORD RenameUnlessThere(const char* from, const char* to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return ERROR_SUCCESS;
    if (errno != EINVAL && errno != ENOSYS) return ErrorOfName(errno, from);
    // The file system can't do both in one step: a second name that must be new, then the first one goes.
    if (link(from, to) != 0) return ErrorOfName(errno, from);
    return unlink(from) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

// A folder is never replaced, nor a file that may not be written.
DWORD RenameOver(const char* from, const char* to) {
    struct stat status;
    if (stat(to, &status) == 0 && (S_ISDIR(status.st_mode) || IsReadOnly(status))) return ERROR_ACCESS_DENIED;
    const DroppedFile dropped(to);
    return rename(from, to) == 0 ? ERROR_SUCCESS : ErrorOfName(errno, from);
}

DWORD MoveByCopy(const char* from, const char* to, bool replace) {
    struct stat status;
    if (const DWORD error = StatusOf(from, status)) return error;
    if (!S_ISREG(status.st_mode)) return ERROR_NOT_SAME_DEVICE;
    if (const DWORD error = CopyWholeFile(from, to, !replace))
        return error == ERROR_FILE_EXISTS ? ERROR_ALREADY_EXISTS : error;
    return unlink(from) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

DWORD Move(const char* from, const char* to, DWORD flags) {
    if (const DWORD wrong = CheckName(from)) return wrong;
    if (const DWORD wrong = CheckName(to)) return wrong;
    const bool replace = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
    const DWORD error = replace ? RenameOver(from, to) : RenameUnlessThere(from, to);
    const bool copies = error == ERROR_NOT_SAME_DEVICE && (flags & MOVEFILE_COPY_ALLOWED);
    return copies ? MoveByCopy(from, to, replace) : error;
}

// A folder, a device or a file that may not be written is not replaced.
DWORD StatusToReplace(const char* name, struct stat& status) {
    if (const DWORD error = StatusOf(name, status)) return error;
    return S_ISREG(status.st_mode) && !IsReadOnly(status) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

// What the caller may not pass on is left as it is, the new file being his: the owner, or the group as well.
DWORD TakeOverRights(const char* name, const struct stat& from) {
    const bool owned = chown(name, from.st_uid, from.st_gid) == 0;
    if (!owned &&
        (errno != EPERM || (chown(name, static_cast<uid_t>(-1), from.st_gid) != 0 && errno != EPERM)))
        return ErrorOfErrno(errno);
    return chmod(name, from.st_mode & 0777) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

// Copies a file to a new name in the folder of `real`.
DWORD CopyBeside(const char* file, const char* real, char (&beside)[PATH_MAX + 16]) {
    constexpr unsigned kMostTries = 64;
    std::strcpy(beside, real);
    char* name = std::strrchr(beside, '/') + 1;
    DWORD error = ERROR_SUCCESS;
    for (unsigned i = 0; i < kMostTries; ++i) {
        std::snprintf(name, 16, "VMN%X.TMP", static_cast<unsigned>(getpid()) * kMostTries + i);
        error = CopyWholeFile(file, beside, true);
        if (error != ERROR_FILE_EXISTS) break;
    }
    return error;
}

// Behind a link into another volume the new file is brought first, so that it takes the place in one step.
DWORD ReplaceAcross(const char* replacement, const char* real) {
    char beside[PATH_MAX + 16];
    if (const DWORD error = CopyBeside(replacement, real, beside)) return error;
    struct stat status;
    DWORD error = ERROR_SUCCESS;
    if (stat(replacement, &status) == 0) error = TakeOverRights(beside, status);
    if (error == ERROR_SUCCESS && rename(beside, real) != 0) error = ErrorOfErrno(errno);
    if (error != ERROR_SUCCESS) return unlink(beside), error;
    return unlink(replacement) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

// The two change places in one step; then what was replaced becomes the backup. It may be read by nobody who may not
// read the file that was the backup before.
DWORD ReplaceAndKeep(const char* replacement, const char* real, const char* backup) {
    struct stat before, old;
    const bool replaces_backup = stat(backup, &before) == 0;
    if (stat(real, &old) != 0) return ErrorOfName(errno, real);
    if (renameat2(AT_FDCWD, replacement, AT_FDCWD, real, RENAME_EXCHANGE) != 0)
        return ErrorOfName(errno, replacement);
    if (replaces_backup) chmod(replacement, old.st_mode & before.st_mode & 0777);
    const DroppedFile dropped(backup);
    if (rename(replacement, backup) == 0) return ERROR_SUCCESS;
    const DWORD error = ErrorOfName(errno, backup);
    if (renameat2(AT_FDCWD, replacement, AT_FDCWD, real, RENAME_EXCHANGE) == 0)
        chmod(real, old.st_mode & 0777);
    return error;
}

DWORD Replace(const char* replaced, const char* replacement, const char* backup) {
    struct stat old;
    if (const DWORD wrong = CheckName(replacement)) return wrong;
    if (const DWORD error = StatusToReplace(replaced, old)) return error;
    char real[PATH_MAX];
    if (!realpath(replaced, real)) return ErrorOfName(errno, replaced);
    if (const DWORD error = TakeOverRights(replacement, old)) return error;
    if (backup) return ReplaceAndKeep(replacement, real, backup);
    const DroppedFile dropped(real);
    if (rename(replacement, real) == 0) return ERROR_SUCCESS;
    return errno == EXDEV ? ReplaceAcross(replacement, real) : ErrorOfName(errno, replacement);
}

BOOL Answer(DWORD error) {
    return error == ERROR_SUCCESS ? TRUE : Fail(error);
}

// Whether ".." behind this name may lead elsewhere than to the folder that the name is in.
bool LeadsAway(const char* name) {
    const size_t length = std::strlen(name);
    struct stat status;
    return (length >= 3 && std::strcmp(name + length - 3, "/..") == 0) ||
           (lstat(name, &status) == 0 && S_ISLNK(status.st_mode));
}

// Takes "." and ".." and doubled slashes out of an absolute name, in place; the name means what it meant.
void Simplify(char* name) {
    char* out = name;
    for (const char* in = name; *in;) {
        while (*in == '/')
            ++in;
        const char* end = strchrnul(in, '/');
        const auto length = static_cast<size_t>(end - in);
        const bool up = length == 2 && in[0] == '.' && in[1] == '.';
        if (up) *out = 0;
        if (up && !LeadsAway(name)) {
            while (out > name && *--out != '/') {
            }
        } else if (length && !(length == 1 && in[0] == '.')) {
            *out++ = '/';
            std::memmove(out, in, length);
            out += length;
        }
        in = end;
    }
    if (out == name) *out++ = '/';
    *out = 0;
}

}  // namespace

}  // namespace tolvane::platform

using namespace tolvane::platform;

DWORD WINAPI GetFileAttributesA(LPCSTR name) {
    if (FaultStrikes("GetFileAttributesA", ERROR_ACCESS_DENIED)) return INVALID_FILE_ATTRIBUTES;
    struct stat status;
    const DWORD error = StatusOf(name, status);
    if (error == ERROR_SUCCESS) return AttributesOf(status);
    SetLastError(error);
    return INVALID_FILE_ATTRIBUTES;
}

// Only whether the file may be written can be changed; the owner gets the right to write back.
BOOL WINAPI SetFileAttributesA(LPCSTR name, DWORD attributes) {
    if (FaultStrikes("SetFileAttributesA", ERROR_ACCESS_DENIED)) return FALSE;
    struct stat status;
    if (const DWORD error = StatusOf(name, status)) return Fail(error);
    const bool read_only = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (read_only == IsReadOnly(status)) return TRUE;
    const mode_t mode = read_only ? status.st_mode & ~mode_t{0222} : status.st_mode | 0200;
    return Answer(chmod(name, mode & 07777) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno));
}

BOOL WINAPI DeleteFileA(LPCSTR name) {
    return FaultStrikes("DeleteFileA", ERROR_ACCESS_DENIED) ? FALSE : Answer(Remove(name));
}

BOOL WINAPI MoveFileA(LPCSTR from, LPCSTR to) {
    return FaultStrikes("MoveFileA", ERROR_ACCESS_DENIED) ? FALSE
                                                          : Answer(Move(from, to, MOVEFILE_COPY_ALLOWED));
}

BOOL WINAPI MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags) {
    return FaultStrikes("MoveFileExA", ERROR_ACCESS_DENIED) ? FALSE : Answer(Move(from, to, flags));
}

BOOL WINAPI CopyFileA(LPCSTR from, LPCSTR to, BOOL fail_if_exists) {
    return FaultStrikes("CopyFileA", ERROR_DISK_FULL) ? FALSE
                                                      : Answer(CopyWholeFile(from, to, fail_if_exists != 0));
}

BOOL WINAPI ReplaceFileA(LPCSTR replaced, LPCSTR replacement, LPCSTR backup, DWORD, LPVOID, LPVOID) {
    if (FaultStrikes("ReplaceFileA", ERROR_ACCESS_DENIED)) return FALSE;
    return Answer(Replace(replaced, replacement, backup));
}

DWORD WINAPI GetFullPathNameA(LPCSTR name, DWORD size, LPSTR buffer, LPSTR* file_part) {
    if (FaultStrikes("GetFullPathNameA", ERROR_INVALID_NAME)) return 0;
    char full[2 * PATH_MAX] = "";
    if (CheckName(name) != ERROR_SUCCESS || (*name != '/' && !getcwd(full, PATH_MAX)))
        return static_cast<DWORD>(Fail(ERROR_INVALID_NAME));
    std::strcat(std::strcat(full, "/"), name);
    Simplify(full);
    const auto length = static_cast<DWORD>(std::strlen(full));
    if (!buffer || length >= size) return length + 1;
    std::strcpy(buffer, full);
    char* last = std::strrchr(buffer, '/') + 1;
    if (file_part) *file_part = *last ? last : nullptr;
    return length;
}
