// The terminal's part of the handle table.
#ifndef TOLVANE_PLATFORM_KERNEL_CONSOLE_H
#define TOLVANE_PLATFORM_KERNEL_CONSOLE_H

#include "platform/kernel/object.h"

namespace tolvane::platform {

// What a handle of GetStdHandle stands for, null for any other.
Object* StandardStream(HANDLE handle);

// Puts the terminal back as it was found. May be called from a signal's handler.
void RestoreTerminal();

}  // namespace tolvane::platform
#endif
