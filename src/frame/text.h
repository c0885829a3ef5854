// Text that comes from outside: bounded when it enters.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>

#include "tolvane.h"

namespace tolvane {

inline constexpr size_t kPathSize = TOLVANE_MAX_PATH + 1;

inline bool IsEmpty(const char* text) {
    return !text || !*text;
}

// Whether a path fits a path buffer.
inline bool IsBounded(const char* path) {
    return memchr(path, 0, kPathSize) != nullptr;
}

// A path that fits a path buffer, and names something.
inline bool IsUsablePath(const char* path) {
    return !IsEmpty(path) && IsBounded(path);
}

// The whole name of what a usable path names now, whatever folder is the current one later. False where it does not fit.
bool CopyFullPath(char (&full)[kPathSize], const char* path);

// Copies a text into a buffer of `size` bytes, cut where it does not fit.
void CopyText(char* to, size_t size, const char* from);

// Removes white space at both ends of `text`, in place, whatever its length.
void TrimSpaces(char* text);

}  // namespace tolvane
