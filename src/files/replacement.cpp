#include "files/replacement.h"

#include <windows.h>

#include <algorithm>
#include <cstring>

#include "frame/handles.h"

namespace tolvane {

bool IsThere(const char* path) {
    return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

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

// Asked before the system is: from another volume a replacement could fail with the old file already gone.
bool AreOnOneVolume(const char* path, const char* other) {
    BY_HANDLE_FILE_INFORMATION a = {}, b = {};
    return Identify(path, &a) && Identify(other, &b) && a.dwVolumeSerialNumber == b.dwVolumeSerialNumber;
}

// What is not there can be put in place; what is there must be a file that nobody holds and that may be written.
bool CanBeReplaced(const char* path) {
    if (!IsThere(path)) return true;
    const FileHandle file = OpenExisting(path, GENERIC_WRITE | DELETE, 0);
    return file && GetFileType(file.Get()) == FILE_TYPE_DISK;
}

bool ReplaceWith(const char* target, const char* file) {
    return IsThere(target) && ReplaceFileA(target, file, nullptr, 0, nullptr, nullptr);
}

bool FolderOf(const char* path, char (&folder)[kPathSize]) {
    const char* end = path + strlen(path);
    const char* name = std::find_if(std::reverse_iterator(end), std::reverse_iterator(path), [](char c) {
                           return c == '/' || c == '\\' || c == ':';
                       }).base();
    CopyText(folder, static_cast<size_t>(name - path) + 1, path);
    return strlen(folder) <= MAX_PATH - 14;  // what GetTempFileNameA asks for
}

// A new file has the rights that any file of the user's has, unlike a temp file. One that takes an old file's place gets
// that one's rights with it, and is nobody else's until then.
bool MakeBeside(const char* target, char (&name)[kPathSize]) {
    char folder[kPathSize];
    if (!FolderOf(target, folder)) return false;
    if (IsThere(target)) return GetTempFileNameA(folder, "VMN", 0, name) != 0;
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
    char name[kPathSize];
    if (!CopyFullPath(target_, target) || !CanBeReplaced(target_) || !MakeBeside(target_, name)) return false;
    CopyText(path_, kPathSize, name);
    return true;
}

bool Replacement::Commit() {
    LetBeChanged();
    const bool was_there = IsThere(target_);
    const bool done = ReplaceWith(target_, path_) || MoveFileExA(path_, target_, MOVEFILE_REPLACE_EXISTING);
    if (done || (was_there && !IsThere(target_))) path_[0] = 0;
    return done;
}

// A copy of a file that may only be read is such a file too.
void Replacement::LetBeChanged() {
    SetFileAttributesA(path_, FILE_ATTRIBUTE_NORMAL);
}

Replacement::~Replacement() {
    if (!*path_) return;
    LetBeChanged();
    DeleteFileA(path_);
}

// In one step where that can be. Otherwise, and for a target that is not there yet, the file first takes the place of an
// empty one beside the target, and with it the rights of a new file.
bool PlaceFile(const char* file, const char* target) {
    char path[kPathSize];
    const bool in_one_step = CopyFullPath(path, target) && AreOnOneVolume(path, file) && CanBeReplaced(path);
    if (in_one_step && ReplaceWith(path, file)) return true;
    Replacement replacement;
    if (!replacement.Begin(target)) return false;
    const bool moved = ReplaceFileA(replacement.Path(), file, nullptr, 0, nullptr, nullptr) != 0;
    if (!moved && !CopyFileA(file, replacement.Path(), FALSE)) return false;
    if (!replacement.Commit()) return false;
    if (!moved) DeleteFileA(file);
    return true;
}

bool CanBecome(const char* kept, const char* target) {
    BY_HANDLE_FILE_INFORMATION a = {}, b = {};
    return Identify(target, &a) && Identify(kept, &b) && a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nNumberOfLinks == 1;
}

// A system that has moved the old file away and then cannot move the new one leaves nothing there.
bool PlaceFileKeepingOld(const char* file, const char* target, const char* kept) {
    char path[kPathSize];
    if (!CopyFullPath(path, target) || !CanBeReplaced(path) || !IsThere(path)) return false;
    if (ReplaceFileA(path, file, kept, 0, nullptr, nullptr)) return true;
    if (IsThere(path)) return false;
    if (MoveFileExA(kept, path, 0)) return false;  // the old file is back
    return MoveFileExA(file, path, 0);
}

}  // namespace tolvane
