#include "files/replacement.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "frame/handles.h"

namespace tolvane {

namespace {

constexpr int kMostTries = 64;

FileHandle OpenExisting(const char* path, DWORD access, DWORD share) {
    return FileHandle(CreateFileA(path, access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

bool Identify(const char* path, BY_HANDLE_FILE_INFORMATION* information) {
    if (!IsUsablePath(path)) return false;
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const FileHandle file = OpenExisting(path, 0, kShareAll);
    return file && GetFileInformationByHandle(file.Get(), information);
}

// What is not there can be put in place; what is there must be a file that nobody holds and that may be written.
bool CanBeReplaced(const char* path) {
    return GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES || OpenExisting(path, GENERIC_WRITE, 0);
}

bool FolderOf(const char* path, char (&folder)[kPathSize]) {
    const char* end = path + strlen(path);
    const char* name = std::find_if(std::reverse_iterator(end), std::reverse_iterator(path), [](char c) {
                           return c == '/' || c == '\\' || c == ':';
                       }).base();
    CopyText(folder, static_cast<size_t>(name - path) + 1, path);
    if (name == path) CopyText(folder, kPathSize, ".");
    return strlen(folder) <= MAX_PATH - 14;  // what GetTempFileNameA asks for
}

// Unlike a temp file, it gets the rights that any new file of the user's has.
bool MakeBeside(const char* target, char (&name)[kPathSize]) {
    char folder[kPathSize];
    if (!FolderOf(target, folder)) return false;
    UINT number = GetTickCount() ^ (GetCurrentThreadId() << 8);
    for (int i = 0; i < kMostTries; ++i, ++number) {
        const UINT unique = number & 0xFFFF ? number & 0xFFFF : 1;
        if (!GetTempFileNameA(folder, "VMN", unique, name)) return false;
        if (FileHandle(CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr))) return true;
        if (GetLastError() != ERROR_FILE_EXISTS) return false;
    }
    return false;
}

}  // namespace

bool IsSameFile(const char* path, const char* other) {
    BY_HANDLE_FILE_INFORMATION a = {}, b = {};
    return Identify(path, &a) && Identify(other, &b) && a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
}

bool Replacement::Begin(const char* target) {
    if (!IsUsablePath(target) || !CanBeReplaced(target)) return false;
    char name[kPathSize];
    if (!MakeBeside(target, name)) return false;
    CopyText(path_, kPathSize, name);
    CopyText(target_, kPathSize, target);
    return true;
}

bool Replacement::Commit() {
    const bool done = GetFileAttributesA(target_) == INVALID_FILE_ATTRIBUTES
                          ? MoveFileExA(path_, target_, MOVEFILE_REPLACE_EXISTING)
                          : ReplaceFileA(target_, path_, nullptr, 0, nullptr, nullptr);
    if (done) path_[0] = 0;
    return done;
}

Replacement::~Replacement() {
    if (*path_) DeleteFileA(path_);
}

// The file first takes the place of an empty one beside the target, and with it the rights of a new file.
bool PlaceFile(const char* file, const char* target) {
    Replacement replacement;
    if (!replacement.Begin(target)) return false;
    const bool moved = ReplaceFileA(replacement.Path(), file, nullptr, 0, nullptr, nullptr) != 0;
    if (!moved && !CopyFileA(file, replacement.Path(), FALSE)) return false;
    if (!replacement.Commit()) return false;
    if (!moved) DeleteFileA(file);
    return true;
}

}  // namespace tolvane
