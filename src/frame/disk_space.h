// What edits and recordings ask before they write: is there room.
#pragma once

#include <cstdint>

namespace tolvane {

// Bytes free for the caller on the temp folder's volume; 0 when the volume cannot be asked.
uint64_t GetFreeDiskSpace();

// 1 when the running system can count more than 2 GiB of free space (GetDiskFreeSpaceExA), else 0.
int HasExtendedDiskQuery();

// 1 when `path` is an existing folder, else 0.
int IsDirectory(const char* path);

}  // namespace tolvane
