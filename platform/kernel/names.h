// File names as the services take them: at most 259 characters, never empty.
#ifndef TOLVANE_PLATFORM_KERNEL_NAMES_H
#define TOLVANE_PLATFORM_KERNEL_NAMES_H

#include <windows.h>

namespace tolvane::platform {

// ERROR_SUCCESS, or why `name` can name nothing.
DWORD CheckName(const char* name);

// The folder that a checked name lies in, "." where it names none.
void FolderOf(const char* name, char (&folder)[MAX_PATH]);

}  // namespace tolvane::platform
#endif
