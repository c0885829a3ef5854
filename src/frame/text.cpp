#include "frame/text.h"

#include <algorithm>

namespace tolvane {

namespace {

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

bool CopyFullPath(char (&full)[kPathSize], const char* path) {
    const DWORD length = IsUsablePath(path) ? GetFullPathNameA(path, kPathSize, full, nullptr) : 0;
    return length > 0 && length < kPathSize;
}

void CopyText(char* to, size_t size, const char* from) {
    size_t length = std::min(strlen(from), size - 1);
    memcpy(to, from, length);
    to[length] = 0;
}

void TrimSpaces(char* text) {
    const char* first = text;
    while (IsSpace(*first))
        ++first;
    size_t length = strlen(first);
    while (length > 0 && IsSpace(first[length - 1]))
        --length;
    memmove(text, first, length);
    text[length] = 0;
}

}  // namespace tolvane
