// What edits and recordings ask before they write: is there room.
#pragma once

#include <windows.h>

#include <cstdint>

#include "frame/text.h"

namespace tolvane {

// Bytes free for the caller on the temp folder's volume; 0 when the volume cannot be asked.
uint64_t GetFreeDiskSpace();

// The same question, asked again and again by a thread for which the unloading of the library waits: whoever unloads
// holds the loader's lock, so what the loader has to find is found beforehand.
class FreeSpaceQuery {
  public:
    void Prepare();
    uint64_t OfTempFolder();
    // Of the volume on which a file lies.
    uint64_t Around(const char* file);

  private:
    using Service = BOOL(WINAPI*)(LPCSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER);
    static Service Find();
    uint64_t Of(const char (&folder)[kPathSize]);
    uint64_t Extended(const char* volume);

    Service service_ = nullptr;
};

// 1 when the running system can count more than 2 GiB of free space (GetDiskFreeSpaceExA), else 0.
int HasExtendedDiskQuery();

// 1 when `path` is an existing folder, else 0.
int IsDirectory(const char* path);

}  // namespace tolvane
