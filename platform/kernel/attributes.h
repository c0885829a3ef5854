// What a file's status means in the system's attributes.
#ifndef TOLVANE_PLATFORM_KERNEL_ATTRIBUTES_H
#define TOLVANE_PLATFORM_KERNEL_ATTRIBUTES_H

#include <windows.h>

#include <sys/stat.h>

namespace tolvane::platform {

DWORD AttributesOf(const struct stat& status);

}  // namespace tolvane::platform
#endif
